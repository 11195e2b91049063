// UU and XX written a second time, as plainly as possible, and names in the code page of this machine.
#pragma once

#include <bitset>
#include <string>
#include <string_view>

#include "com/unique.h"
#include "engine/session.h"

namespace talvo::test {

constexpr auto kUU = FormatKind::UU, kXX = FormatKind::XX;

inline std::string_view UuXxDigitsOf(FormatKind kind) {
    return kind == kUU ? "`!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_"
                       : "+-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
}

// Data lines of `lineBytes` bytes, without header and footer; no line break behind the last.
inline std::string NaiveLines(FormatKind kind, std::string_view bytes, size_t lineBytes, std::string_view lineBreak) {
    const std::string_view digits = UuXxDigitsOf(kind);
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += lineBytes) {
        const std::string_view line = bytes.substr(at, lineBytes);
        std::string bits;
        for (const char c : line) bits += std::bitset<8>(static_cast<unsigned char>(c)).to_string();
        while (bits.size() % 24 != 0) bits += '0';
        text.append(at == 0 ? "" : lineBreak) += digits[line.size()];
        for (size_t i = 0; i < bits.size(); i += 6) text += digits[std::stoul(bits.substr(i, 6), nullptr, 2)];
    }
    return text;
}

inline com::UniqueBstr WideName(std::u16string_view name) {
    com::UniqueBstr wide(SysAllocStringLen(nullptr, static_cast<UINT>(name.size())));
    for (size_t i = 0; i < name.size(); ++i) wide.Get()[i] = static_cast<OLECHAR>(name[i]);
    return wide;
}

inline std::u16string TextOf(const com::UniqueBstr& name) {
    const BSTR text = name.Get();
    return text ? std::u16string(text, text + SysStringLen(text)) : u"(null)";
}

// An accented letter and a dash, as both code pages that these tests meet have them.
constexpr std::u16string_view kAccented = u"\u00E9t\u00E9 \u2013 1";
inline std::string NarrowAccented() {
    return GetACP() == CP_UTF8 ? "\xC3\xA9t\xC3\xA9 \xE2\x80\x93 1" : "\xE9t\xE9 \x96 1";
}

}  // namespace talvo::test
