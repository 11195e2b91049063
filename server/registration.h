// What registering and unregistering the module does.
#pragma once

#include <windows.h>

#include <string>

namespace talvo {

using WidePath = std::basic_string<WCHAR>;

// Runs every class's script, stopping at the first failure, then registers the type library. The first failure's code.
HRESULT RegisterModule() noexcept;

// Runs every class's script the other way and unregisters the type library; a failure stops nothing. S_OK.
HRESULT UnregisterModule() noexcept;

// The help directory that goes with a module, for its type library: "Help" beside the module's folder when it is there,
// else the module's folder. May throw bad_alloc.
WidePath HelpDirectory(const WidePath& modulePath);

}  // namespace talvo
