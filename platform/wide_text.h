// Text helpers of the stand-in's own files: strict conversion between UTF-8 and UTF-16, and the case folding under which
// registry and type library names are equal. Everything else about text is in code_page.cpp.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace platform {

// False when the text is not well formed; `out` is then unspecified. May throw std::bad_alloc.
[[nodiscard]] bool Widen(std::string_view text, std::u16string& out);
[[nodiscard]] bool Narrow(std::u16string_view text, std::string& out);

// One unit to one unit, so positions and lengths survive: Latin, Greek and Cyrillic capitals.
inline char16_t FoldCase(char16_t c) {
    const auto within = [c](char16_t first, char16_t last) { return c >= first && c <= last; };
    if (within(u'a', u'z') || (within(0x00E0, 0x00FE) && c != 0x00F7) || within(0x03B1, 0x03C1) ||
        within(0x03C3, 0x03CB) || within(0x0430, 0x044F)) {
        return static_cast<char16_t>(c - 0x20);
    }
    if (within(0x0450, 0x045F)) return static_cast<char16_t>(c - 0x50);
    if (within(0x0100, 0x012F) || within(0x014A, 0x0177)) return static_cast<char16_t>(c & ~1);
    return c;
}

std::u16string Folded(std::u16string_view text);
bool SameName(std::u16string_view a, std::u16string_view b);

}  // namespace platform
