// Bytes in use in all heaps of the process, and handles that are valid: the system's own counts of both do not move under
// Wine.
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

// Handles are multiples of 4 and the lowest free one is given out, so that none follows a long row of free ones.
size_t ValidHandles() {
    size_t valid = 0;
    for (uintptr_t handle = 4, free = 0; free < 1024; handle += 4) {
        DWORD flags = 0;
        const bool found = GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags);
        valid += found;
        free = found ? 0 : free + 1;
    }
    return valid;
}

}  // namespace

Holding Measure() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    size_t bytes = 0;
    for (DWORD i = 0; i < count && i < 64; ++i) bytes += BytesInUse(heaps[i]);
    return {bytes / 1024, ValidHandles()};
}

}  // namespace talvo::test
