// Eight bytes a step: the CRC is linear, so a block's CRC is the sum of what each of its bytes contributes, and that
// depends on the byte and its distance from the end of the block only.
#include "engine/crc16.h"

#include <array>
#include <cstddef>

namespace talvo {
namespace {

constexpr size_t kBlock = 8;
// [zeros][byte]: CRC of the byte and that many zero bytes after it.
using Contributions = std::array<std::array<uint16_t, 256>, kBlock>;

constexpr uint16_t OneByte(unsigned crc) noexcept {
    crc <<= 8;
    for (int bit = 0; bit < 8; ++bit) crc = crc & 0x8000 ? crc << 1 ^ 0x1021 : crc << 1;
    return static_cast<uint16_t>(crc);
}

constexpr Contributions MakeContributions() noexcept {
    Contributions table{};
    for (unsigned byte = 0; byte < 256; ++byte) table[0][byte] = OneByte(byte);
    for (size_t zeros = 1; zeros < kBlock; ++zeros) {
        for (size_t byte = 0; byte < 256; ++byte) {
            const unsigned crc = table[zeros - 1][byte];
            table[zeros][byte] = static_cast<uint16_t>(crc << 8 ^ table[0][crc >> 8]);
        }
    }
    return table;
}

constexpr Contributions kTable = MakeContributions();

}  // namespace

uint16_t Crc16(ByteSpan bytes, uint16_t start) noexcept {
    unsigned crc = start;
    for (; bytes.size() >= kBlock; bytes = bytes.subspan(kBlock)) {
        // What came before counts as if it were added to the first two bytes.
        crc = kTable[7][bytes[0] ^ crc >> 8] ^ kTable[6][bytes[1] ^ (crc & 0xFF)] ^ kTable[5][bytes[2]] ^
              kTable[4][bytes[3]] ^ kTable[3][bytes[4]] ^ kTable[2][bytes[5]] ^ kTable[1][bytes[6]] ^
              kTable[0][bytes[7]];
    }
    for (const BYTE byte : bytes) crc = (crc << 8 & 0xFFFF) ^ kTable[0][crc >> 8 ^ byte];
    return static_cast<uint16_t>(crc);
}

}  // namespace talvo
