// Blocks in use in all heaps of the process, and handles that are valid: Wine's own counts of both do not move.
#include "tests/soak/measure.h"

#include <windows.h>

#include <cstdint>

namespace talvo::test {
namespace {

size_t BytesInUse(HANDLE heap) {
    size_t bytes = 0;
    PROCESS_HEAP_ENTRY entry = {};
    HeapLock(heap);
    while (HeapWalk(heap, &entry)) {
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
    }
    HeapUnlock(heap);
    return bytes;
}

}  // namespace

Holding Measure() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    size_t bytes = 0;
    for (DWORD i = 0; i < count && i < 64; ++i) bytes += BytesInUse(heaps[i]);
    size_t handles = 0;
    constexpr uintptr_t kStep = 4;  // handles are multiples of it, the lowest free one is given out
    constexpr uintptr_t kHighest = 0x10000;
    for (uintptr_t handle = kStep; handle < kHighest; handle += kStep) {
        DWORD flags = 0;
        handles += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != 0;
    }
    return {bytes / 1024, handles};
}

}  // namespace talvo::test
