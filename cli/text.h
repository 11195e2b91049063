// Text of the command, in the system's code page, to and from the strings of interfaces.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string>
#include <string_view>

#include "com/unique.h"

namespace talvo {

std::string Narrow(BSTR wide);
// Null when there is no memory.
com::UniqueBstr Wide(std::string_view narrow);

// "1 byte", "2 bytes"
std::string Counted(unsigned long long count, std::string_view what);
// At least `digits` digits, capital letters.
std::string Hexadecimal(unsigned long long value, size_t digits);

}  // namespace talvo
