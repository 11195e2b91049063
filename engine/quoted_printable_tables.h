// The characters that quoted-printable text shows as themselves: those that survive gateways to other character sets.
#pragma once

#include <windows.h>

#include <array>
#include <string_view>

namespace talvo {

// A byte that is none of these becomes an escape, "=" and two digits. A blank stays itself, but must not end a line.
constexpr std::array<bool, 256> MakeQuotedPrintableLiterals() noexcept {
    std::array<bool, 256> literals{};
    for (char c = 'A'; c <= 'Z'; ++c)
        literals[static_cast<BYTE>(c)] = literals[static_cast<BYTE>(c - 'A' + 'a')] = true;
    for (const char c : std::string_view("\t %&'()*+,-./0123456789:;<>?_")) literals[static_cast<BYTE>(c)] = true;
    return literals;
}

inline constexpr std::array<bool, 256> kQuotedPrintableLiterals = MakeQuotedPrintableLiterals();

constexpr bool IsBlank(BYTE c) noexcept { return c == ' ' || c == '\t'; }

}  // namespace talvo
