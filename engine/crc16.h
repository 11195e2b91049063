// CRC-16/XMODEM: polynomial 0x1021, start value 0, most significant bit first, nothing inverted.
#pragma once

#include <cstdint>

#include "engine/session.h"

namespace talvo {

// `crc` is the CRC of what comes before.
uint16_t Crc16(ByteSpan bytes, uint16_t crc = 0) noexcept;

}  // namespace talvo
