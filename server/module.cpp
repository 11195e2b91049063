// Start and stop of the module, and its four exports.
#include <windows.h>
#include <objbase.h>
#include <olectl.h>

#include "TalvoBinaryEncoding.h"
#include "com/module_state.h"
#include "server/class_factory.h"
#include "server/registration.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID processEnds) {
    constexpr LCID kEnglishUnitedStates = 1033;  // of the type library, as the IDL says
    const com::LibraryId library{LIBID_TalvoBinaryEncodingLib, TALVO_VERSION_MAJOR, TALVO_VERSION_MINOR,
                                 kEnglishUnitedStates};
    if (reason == DLL_PROCESS_ATTACH) {
        com::ModuleState::Start(instance, library);
        DisableThreadLibraryCalls(instance);
    } else if (reason == DLL_PROCESS_DETACH) {
        if (!processEnds) talvo::ReleaseClassFactories();
        com::ModuleState::Stop(!processEnds);
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* object) {
    return talvo::GetClassObject(clsid, iid, object);
}

STDAPI DllCanUnloadNow() { return com::ModuleState::Get().InUse() ? S_FALSE : S_OK; }

STDAPI DllRegisterServer() { return talvo::RegisterModule(); }

STDAPI DllUnregisterServer() { return talvo::UnregisterModule(); }
