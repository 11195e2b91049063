// Of the control interfaces none is used here; generated headers include this name.
#include <windows.h>
#include <ole2.h>

#ifndef TALVO_PLATFORM_OCIDL_H
#define TALVO_PLATFORM_OCIDL_H

#include <oaidl.h>

#endif
