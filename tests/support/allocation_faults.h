// Makes allocations fail on purpose and finds what leaks: the task allocator through its spy, operator new through the
// replacement that this helper brings into the test program (natively it reaches the shared libraries too).
#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>

#include "tests/support/fuse.h"

namespace talvo::test {

enum class FaultKind { TaskMemory, New };

// While one exists, task memory, strings and arrays of the whole process are counted and can be made to fail. One at a
// time; its end reports blocks that were made meanwhile and are still alive. Threads may allocate as they like.
class AllocationFaults {
public:
    AllocationFaults();
    ~AllocationFaults();
    AllocationFaults(const AllocationFaults&) = delete;
    AllocationFaults& operator=(const AllocationFaults&) = delete;

    // The n-th allocation or reallocation from now (1: the next) fails, `andAllLater` ones too. Replaces the order
    // given before for this kind.
    void FailNth(size_t n, bool andAllLater = false, FaultKind kind = FaultKind::TaskMemory);
    // Nothing fails any more, of either kind.
    void Disarm();
    // Allocations that have failed since the last FailNth.
    size_t Struck() const;
    // Blocks of task memory made since construction and not freed.
    size_t Live() const;
};

template <int Step>
class FaultScope {
public:
    FaultScope() { g_faultsPaused += Step; }
    ~FaultScope() { g_faultsPaused -= Step; }
    FaultScope(const FaultScope&) = delete;
    FaultScope& operator=(const FaultScope&) = delete;
};
// Lets everything that its thread allocates succeed, uncounted by FailNth: for what a story allocates for itself.
using FaultPause = FaultScope<1>;
// Within a pause: faults again, for the call that a story is about.
using FaultsHere = FaultScope<-1>;

// Runs `story` once untouched (what is loaded once and kept is loaded then), then again and again with its first,
// second, ... allocation failing, alone and with all that follow, until a run meets no failure. After each run nothing
// that was allocated in it may be alive. The story checks its own results; Struck() tells it whether a failure came,
// and Disarm() ends the failing for what it wants to see working afterwards.
void ForEachFailingAllocation(const std::function<void(AllocationFaults&)>& story,
                              FaultKind kind = FaultKind::TaskMemory);

}  // namespace talvo::test
