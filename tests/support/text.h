// Text of the system's as narrow text, and back. Texts of tests are ASCII but where a test is about others.
#pragma once

#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <string>
#include <string_view>

#include "com/unique.h"

namespace talvo::test {

using WideText = std::basic_string<WCHAR>;

inline WideText Widen(std::string_view ascii) { return WideText(ascii.begin(), ascii.end()); }

// "?" for what is not ASCII.
inline std::string Narrow(std::basic_string_view<WCHAR> text) {
    std::string narrow;
    for (const WCHAR character : text) narrow += character < 0x80 ? static_cast<char>(character) : '?';
    return narrow;
}

inline std::string Narrow(const com::UniqueBstr& text) { return Narrow({text.Get(), SysStringLen(text.Get())}); }

inline com::UniqueBstr Bstr(std::string_view ascii) {
    const WideText wide = Widen(ascii);
    return com::UniqueBstr(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
}

// {...}, in capitals.
inline std::string GuidText(REFGUID guid) {
    WCHAR text[64];
    const int length = StringFromGUID2(guid, text, 64);  // with its terminator
    return length > 0 ? Narrow({text, static_cast<size_t>(length - 1)}) : "";
}

}  // namespace talvo::test
