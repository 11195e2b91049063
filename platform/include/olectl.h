// Self registration of a module.
#include <windows.h>
#include <ole2.h>

#ifndef TALVO_PLATFORM_OLECTL_H
#define TALVO_PLATFORM_OLECTL_H

#include <ocidl.h>

STDAPI DllRegisterServer(void);
STDAPI DllUnregisterServer(void);

#endif
