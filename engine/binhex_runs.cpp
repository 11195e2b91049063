// The search for stretches without runs and for the ends of runs, eight bytes a step.
#include "engine/binhex_runs.h"

#include <bit>
#include <cstdint>

namespace talvo {
namespace {

constexpr size_t kWord = sizeof(uint64_t);
constexpr uint64_t kEach = 0x0101010101010101;

uint64_t Load(const BYTE* from) noexcept {
    uint64_t word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

// The top bit of every byte that is zero; above the first such byte, bits may be set by the borrow too.
uint64_t ZeroBytes(uint64_t word) noexcept { return (word - kEach) & ~word & 0x80 * kEach; }

// Bytes in front of the first one marked in memory order. 0 on big-endian machines: the caller then goes byte by byte.
size_t BytesBefore(uint64_t marks) noexcept {
    return std::endian::native == std::endian::little ? static_cast<size_t>(std::countr_zero(marks)) / 8 : 0;
}

}  // namespace

size_t PlainPrefix(ByteSpan bytes) noexcept {
    size_t count = 0;
    for (; bytes.size() - count > kWord; count += kWord) {
        const uint64_t word = Load(bytes.data() + count);
        const uint64_t next = Load(bytes.data() + count + 1);
        if (const uint64_t ends = ZeroBytes(word ^ next) | ZeroBytes(word ^ kRunMarker * kEach)) {
            count += BytesBefore(ends);
            break;
        }
    }
    while (count + 1 < bytes.size() && bytes[count] != kRunMarker && bytes[count] != bytes[count + 1]) ++count;
    return count;
}

size_t EqualPrefix(ByteSpan bytes, BYTE value) noexcept {
    size_t count = 0;
    while (bytes.size() - count >= kWord && Load(bytes.data() + count) == value * kEach) count += kWord;
    while (count != bytes.size() && bytes[count] == value) ++count;
    return count;
}

}  // namespace talvo
