// Where Wine differs from Windows, a row is excused there and nowhere else: the test says so and skips itself, and the
// table of the test run counts it.
#pragma once

#include <windows.h>

namespace talvo::test {

inline bool UnderWine() { return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr; }

}  // namespace talvo::test
