// Result codes by name, so that a failed comparison can be read.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace talvo::test {

// "berBusy", "E_POINTER", or the number.
std::string Name(HRESULT code);
// Back from a name; E_FAIL for what is none.
HRESULT CodeOf(std::string_view name);
// The description that error information carries for a code: the module's own text or the system's.
std::string MessageText(HRESULT code);

inline std::string CodeName(HRESULT code) { return Name(code); }

}  // namespace talvo::test
