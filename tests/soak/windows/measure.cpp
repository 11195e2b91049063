// Bytes in use in all heaps of the process: the system's own count does not move under Wine. Nor does that of handles,
// which the same code opens and closes on Linux, where they are counted.
#include "tests/soak/measure.h"

#include <windows.h>

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
    return {bytes / 1024, 0};
}

}  // namespace talvo::test
