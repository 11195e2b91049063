// Text of the system's as narrow text, and back.
#pragma once

#include <windows.h>
#include <objbase.h>

#include <string>
#include <string_view>

#include "com/unique.h"

namespace talvo::test {

using WideText = std::basic_string<WCHAR>;

WideText Widen(std::string_view ascii);
std::string Narrow(std::basic_string_view<WCHAR> text);  // "?" for what is not ASCII
std::string Narrow(const com::UniqueBstr& text);
com::UniqueBstr Bstr(std::string_view ascii);
std::string GuidText(REFGUID guid);  // {...}, in capitals

}  // namespace talvo::test
