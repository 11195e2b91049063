// Hexadecimal digits and the classes of characters, for hexadecimal text and for the escapes of quoted-printable text.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>

namespace talvo {

inline constexpr char kHexDigits[] = "0123456789ABCDEF";

// A digit's class is its value, 0 to 15; these are the others.
enum HexClass : uint8_t { kHexBlank = 16, kHexLineBreak, kHexInvalid };

constexpr std::array<uint8_t, 256> MakeHexClasses() noexcept {
    std::array<uint8_t, 256> classes{};
    classes.fill(kHexInvalid);
    for (uint8_t value = 0; value < 16; ++value) classes[static_cast<BYTE>(kHexDigits[value])] = value;
    for (uint8_t value = 10; value < 16; ++value) classes[static_cast<BYTE>('a' + value - 10)] = value;
    classes['\t'] = classes['\f'] = classes[' '] = kHexBlank;
    classes['\n'] = classes['\r'] = kHexLineBreak;
    return classes;
}

inline constexpr std::array<uint8_t, 256> kHexClasses = MakeHexClasses();

}  // namespace talvo
