// Initialization of the COM library: counted per thread. A thread that did not initialize it shares the one of a thread that
// asked for the multithreaded kind, as on Windows.
#include "platform/com_library.h"

#include <atomic>

namespace {

// Threads that are initialized, and how many of them for multithreaded use.
std::atomic<long> initializedThreads{0};
std::atomic<long> multithreadedThreads{0};

struct ThreadState {
    unsigned count = 0;
    bool multithreaded = false;
    ThreadState() = default;
    ThreadState(const ThreadState&) = delete;
    ThreadState& operator=(const ThreadState&) = delete;
    // A thread that ends without giving back what it took.
    ~ThreadState() {
        if (count == 0) return;
        --initializedThreads;
        if (multithreaded) --multithreadedThreads;
    }
};

thread_local ThreadState thread;

}  // namespace

namespace platform {

bool IsComInitialized() { return thread.count != 0 || multithreadedThreads > 0; }

}  // namespace platform

WINOLEAPI CoInitialize(LPVOID pvReserved) { return CoInitializeEx(pvReserved, COINIT_APARTMENTTHREADED); }

WINOLEAPI CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit) {
    if (pvReserved) return E_INVALIDARG;
    const bool multithreaded = !(dwCoInit & COINIT_APARTMENTTHREADED);
    if (thread.count != 0 && thread.multithreaded != multithreaded) return RPC_E_CHANGED_MODE;
    if (thread.count++ != 0) return S_FALSE;
    thread.multithreaded = multithreaded;
    ++initializedThreads;
    if (multithreaded) ++multithreadedThreads;
    return S_OK;
}

WINOLEAPI_(void) CoUninitialize(void) {
    if (thread.count == 0 || --thread.count != 0) return;
    // The library is still there while unused modules go.
    if (initializedThreads == 1) CoFreeUnusedLibraries();
    --initializedThreads;
    if (thread.multithreaded) --multithreadedThreads;
}
