// The search for stretches without runs, eight bytes a step.
#include "engine/binhex_runs.h"

#include <cstdint>

namespace talvo {
namespace {

constexpr uint64_t kEach = 0x0101010101010101;

uint64_t Load(const BYTE* from) noexcept {
    uint64_t word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

bool HasZeroByte(uint64_t word) noexcept { return ((word - kEach) & ~word & 0x80 * kEach) != 0; }

}  // namespace

size_t PlainPrefix(ByteSpan bytes) noexcept {
    size_t count = 0;
    for (; bytes.size() - count > sizeof(uint64_t); count += sizeof(uint64_t)) {
        const uint64_t word = Load(bytes.data() + count);
        const uint64_t next = Load(bytes.data() + count + 1);
        if (HasZeroByte(word ^ next) || HasZeroByte(word ^ kRunMarker * kEach)) break;
    }
    while (count + 1 < bytes.size() && bytes[count] != kRunMarker && bytes[count] != bytes[count + 1]) ++count;
    return count;
}

}  // namespace talvo
