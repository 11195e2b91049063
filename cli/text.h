// Texts for people. They are in the system's code page, as those of the file calls.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string>
#include <string_view>

namespace talvo {

std::string Narrow(BSTR wide);

// "1 byte", "2 bytes"
std::string Counted(unsigned long long count, std::string_view what);
// At least `least` digits, with capital letters above 9.
std::string InBase(unsigned base, unsigned long long value, size_t least);

}  // namespace talvo
