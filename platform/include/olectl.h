// Self registration of a module.
#include <windows.h>
#include <ole2.h>

#ifndef TALVO_PLATFORM_OLECTL_H
#define TALVO_PLATFORM_OLECTL_H

#include <ocidl.h>

#define SELFREG_E_FIRST MAKE_SCODE(SEVERITY_ERROR, FACILITY_ITF, 0x0200)
#define SELFREG_E_LAST MAKE_SCODE(SEVERITY_ERROR, FACILITY_ITF, 0x020F)
#define SELFREG_E_TYPELIB (SELFREG_E_FIRST + 0)
#define SELFREG_E_CLASS (SELFREG_E_FIRST + 1)

STDAPI DllRegisterServer(void);
STDAPI DllUnregisterServer(void);

#endif
