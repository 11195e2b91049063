// What Base64, UU, XX and BinHex share: three bytes are a group of four characters, of 6 bits each.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>

namespace talvo {

inline constexpr uint32_t kGroupBytes = 3;
inline constexpr uint32_t kGroupCharacters = 4;

// The bytes of a group, from the low 24 bits.
constexpr std::array<BYTE, kGroupBytes> BytesOfGroup(uint32_t bits) noexcept {
    return {static_cast<BYTE>(bits >> 16), static_cast<BYTE>(bits >> 8), static_cast<BYTE>(bits)};
}

}  // namespace talvo
