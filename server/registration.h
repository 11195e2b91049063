// What registering and unregistering the module does.
#pragma once

#include <windows.h>

namespace talvo {

// Runs every class's script, stopping at the first failure, then registers the type library. The first failure's code.
HRESULT RegisterModule() noexcept;

// Runs every class's script the other way and unregisters the type library; a failure stops nothing. S_OK.
HRESULT UnregisterModule() noexcept;

}  // namespace talvo
