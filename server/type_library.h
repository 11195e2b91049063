// Registration of the module's type library.
#pragma once

#include <windows.h>

#include <string>

namespace talvo {

using WidePath = std::basic_string<WCHAR>;

// The library in the module's resources, or the file of the same name ending in ".tlb". May throw bad_alloc.
HRESULT RegisterModuleTypeLibrary(const WidePath& modulePath);
// Success as well where the platform cannot unregister a library.
HRESULT UnregisterModuleTypeLibrary(const WidePath& modulePath);

// The help directory that goes with a module: "Help" beside the module's folder when it is there, else the module's
// folder.
WidePath HelpDirectory(const WidePath& modulePath);

}  // namespace talvo
