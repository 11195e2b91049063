// The alphabets of the formats, and what each character is to a decoder.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace talvo {

// Base64 (RFC 4648, section 4).
inline constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// A digit's class is its value, 0 to 63; these are the others.
enum Base64Class : uint8_t { kBase64Pad = 64, kBase64Blank, kBase64LineBreak, kBase64Invalid };

constexpr std::array<uint8_t, 256> MakeBase64Classes() noexcept {
    std::array<uint8_t, 256> classes{};
    classes.fill(kBase64Invalid);
    for (uint8_t value = 0; value < 64; ++value) classes[static_cast<BYTE>(kBase64Alphabet[value])] = value;
    classes['='] = kBase64Pad;
    classes['\t'] = classes['\f'] = classes[' '] = kBase64Blank;
    classes['\n'] = classes['\r'] = kBase64LineBreak;
    return classes;
}

inline constexpr std::array<uint8_t, 256> kBase64Classes = MakeBase64Classes();

// UU and XX.
// A digit's class is its value, 0 to 63; these are the others.
enum UuXxClass : uint8_t { kUuXxBlank = 64, kUuXxLineBreak, kUuXxInvalid };

using UuXxDigits = std::array<char, 64>;
using UuXxClasses = std::array<uint8_t, 256>;

// Value + 0x20, but for 0 the grave accent: a blank would be lost at the end of a line.
constexpr UuXxDigits MakeUuDigits() noexcept {
    UuXxDigits digits{'`'};
    for (size_t value = 1; value < digits.size(); ++value) digits[value] = static_cast<char>(value + 0x20);
    return digits;
}

constexpr UuXxDigits MakeXxDigits() noexcept {
    constexpr char kText[] = "+-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    UuXxDigits digits{};
    for (size_t value = 0; value < digits.size(); ++value) digits[value] = kText[value];
    return digits;
}

constexpr UuXxClasses MakeUuXxClasses(const UuXxDigits& digits, uint8_t space) noexcept {
    UuXxClasses classes{};
    classes.fill(kUuXxInvalid);
    for (size_t value = 0; value < digits.size(); ++value) {
        classes[static_cast<BYTE>(digits[value])] = static_cast<uint8_t>(value);
    }
    classes['\t'] = classes['\f'] = kUuXxBlank;
    classes['\n'] = classes['\r'] = kUuXxLineBreak;
    classes[' '] = space;
    return classes;
}

inline constexpr UuXxDigits kUuDigits = MakeUuDigits();
inline constexpr UuXxDigits kXxDigits = MakeXxDigits();
inline constexpr UuXxClasses kUuClasses = MakeUuXxClasses(kUuDigits, 0);  // other programs write value 0 as a blank
inline constexpr UuXxClasses kXxClasses = MakeUuXxClasses(kXxDigits, kUuXxBlank);

// BinHex 4.0.
// Ascending codes, without the characters that were easily mistaken for others or lost on the way.
inline constexpr char kBinHexAlphabet[] = "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
static_assert(sizeof kBinHexAlphabet == 64 + 1);

// A digit's class is its value, 0 to 63; these are the others.
enum BinHexClass : uint8_t { kBinHexDelimiter = 64, kBinHexBlank, kBinHexInvalid };

constexpr std::array<uint8_t, 256> MakeBinHexClasses() noexcept {
    std::array<uint8_t, 256> classes{};
    classes.fill(kBinHexInvalid);
    for (uint8_t value = 0; value < 64; ++value) classes[static_cast<BYTE>(kBinHexAlphabet[value])] = value;
    classes[':'] = kBinHexDelimiter;
    classes['\t'] = classes['\n'] = classes['\f'] = classes['\r'] = classes[' '] = kBinHexBlank;
    return classes;
}

inline constexpr std::array<uint8_t, 256> kBinHexClasses = MakeBinHexClasses();

// Hexadecimal text, and the escapes of quoted-printable text.
inline constexpr char kHexaDigits[] = "0123456789ABCDEF";

// A digit's class is its value, 0 to 15; these are the others.
enum HexaClass : uint8_t { kHexaBlank = 16, kHexaLineBreak, kHexaInvalid };

constexpr std::array<uint8_t, 256> MakeHexaClasses() noexcept {
    std::array<uint8_t, 256> classes{};
    classes.fill(kHexaInvalid);
    for (uint8_t value = 0; value < 16; ++value) classes[static_cast<BYTE>(kHexaDigits[value])] = value;
    for (uint8_t value = 10; value < 16; ++value) classes[static_cast<BYTE>('a' + value - 10)] = value;
    classes['\t'] = classes['\f'] = classes[' '] = kHexaBlank;
    classes['\n'] = classes['\r'] = kHexaLineBreak;
    return classes;
}

inline constexpr std::array<uint8_t, 256> kHexaClasses = MakeHexaClasses();

// Quoted-printable.
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
