// Everything of COM and automation.
#include <windows.h>

#ifndef TALVO_PLATFORM_OLE2_H
#define TALVO_PLATFORM_OLE2_H

#include <objbase.h>
#include <winerror.h>

#include <oleauto.h>

#endif
