// Committed private memory and handles.
#include "tests/soak/measure.h"

#include <windows.h>
#include <psapi.h>

namespace talvo::test {

Holding Measure() {
    HeapCompact(GetProcessHeap(), 0);
    PROCESS_MEMORY_COUNTERS memory = {};
    DWORD handles = 0;
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    return {memory.PagefileUsage / 1024, handles};
}

}  // namespace talvo::test
