// The 6-bit alphabet of BinHex 4.0 and the decoder's classes of characters.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>

namespace talvo {

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

}  // namespace talvo
