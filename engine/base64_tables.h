// The Base64 alphabet (RFC 4648, section 4) and the decoder's classes of characters.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace talvo {

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

}  // namespace talvo
