// The alphabets of UU and XX, and the decoder's classes of characters.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "engine/session.h"

namespace talvo {

// The value of a length character fits 6 bits as well, so a line has 63 bytes at most.
inline constexpr uint32_t kUuXxMaxLineBytes = 63;

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

// All that differs between the two formats inside their steps.
struct UuXxAlphabet {
    const UuXxDigits& Digits;
    const UuXxClasses& Classes;
    void (*EncodeGroups)(BYTE* out, const BYTE* in, size_t groups) noexcept;
    size_t (*DecodeGroups)(BYTE* out, const BYTE* in, size_t groups) noexcept;
};

// XX for XX, else UU.
const UuXxAlphabet& UuXxAlphabetOf(FormatKind kind) noexcept;

}  // namespace talvo
