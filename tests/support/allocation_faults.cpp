// The spy keeps its own list of blocks, so that it depends on no platform's bookkeeping. Everything here that allocates
// pauses the faults of its thread first.
#include "tests/support/allocation_faults.h"

#include <objbase.h>

#include <mutex>
#include <unordered_set>

#include <gtest/gtest.h>

namespace talvo::test {
namespace {

constinit Fuse g_taskFuse;

class Spy final : public IMallocSpy {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool known = IsEqualIID(iid, __uuidof(IUnknown)) || IsEqualIID(iid, __uuidof(IMallocSpy));
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) override {
        if (g_taskFuse.Blows()) return 0;
        return size != 0 ? size : 1;  // 0 means failure here
    }
    STDMETHODIMP_(void*) PostAlloc(void* block) override { return Remember(block); }

    STDMETHODIMP_(void*) PreFree(void* block, BOOL) override {
        const std::lock_guard hold(lock_);
        blocks_.erase(block);
        return block;
    }
    STDMETHODIMP_(SIZE_T) PreRealloc(void* block, SIZE_T size, void** request, BOOL) override {
        *request = block;
        if (g_taskFuse.Blows()) return 0;
        t_moving = block;
        return size;
    }
    STDMETHODIMP_(void*) PostRealloc(void* moved, BOOL) override {
        if (!moved) return moved;
        bool known = false;
        {
            const std::lock_guard hold(lock_);
            known = blocks_.erase(t_moving) != 0;
        }
        return known ? Remember(moved) : moved;
    }

    STDMETHODIMP_(void) PostFree(BOOL) override {}
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) override { return block; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, BOOL) override { return size; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int answer) override { return answer; }
    STDMETHODIMP_(void) PreHeapMinimize() override {}
    STDMETHODIMP_(void) PostHeapMinimize() override {}

    void Forget() {
        const std::lock_guard hold(lock_);
        blocks_.clear();
    }
    size_t Live() {
        const std::lock_guard hold(lock_);
        return blocks_.size();
    }

private:
    void* Remember(void* block) {
        const FaultPause pause;
        const std::lock_guard hold(lock_);
        if (block) blocks_.insert(block);
        return block;
    }

    static thread_local void* t_moving;  // the block that this thread is reallocating
    std::mutex lock_;
    std::unordered_set<void*> blocks_;
};

thread_local void* Spy::t_moving = nullptr;

// Never destroyed: the platform may hold it until the last block that it has seen is freed.
Spy& TheSpy() {
    static Spy& spy = *new Spy;
    return spy;
}

// Where freed strings are kept for later they would count as alive.
void StopCachingStrings() {
    if (const auto stop = GetProcAddress(GetModuleHandleA("oleaut32.dll"), "SetOaNoCache")) {
        reinterpret_cast<void(WINAPI*)()>(reinterpret_cast<void*>(stop))();
    }
}

}  // namespace

AllocationFaults::AllocationFaults() {
    const FaultPause pause;
    StopCachingStrings();
    TheSpy().Forget();
    g_taskFuse.Set(0, false);
    NewFuse().Set(0, false);
    const HRESULT hr = CoRegisterMallocSpy(&TheSpy());
    // Still there after a leak that has been reported before.
    EXPECT_TRUE(hr == S_OK || hr == CO_E_OBJISREG) << hr;
}

AllocationFaults::~AllocationFaults() {
    Disarm();
    const FaultPause pause;
    const HRESULT hr = CoRevokeMallocSpy();
    EXPECT_EQ(Live(), 0u) << "task memory leaked";
    EXPECT_TRUE(hr == S_OK || hr == E_ACCESSDENIED) << hr;
}

void AllocationFaults::FailNth(size_t n, bool andAllLater, FaultKind kind) {
    (kind == FaultKind::New ? NewFuse() : g_taskFuse).Set(n, andAllLater);
}

void AllocationFaults::Disarm() {
    g_taskFuse.Stop();
    NewFuse().Stop();
}

size_t AllocationFaults::Struck() const { return g_taskFuse.Struck() + NewFuse().Struck(); }
size_t AllocationFaults::Live() const { return TheSpy().Live(); }

void ForEachFailingAllocation(const std::function<void(AllocationFaults&)>& story, FaultKind kind) {
    constexpr size_t kTooMany = 10'000;  // a story that never ends is a story that swallows failures
    AllocationFaults faults;
    story(faults);
    const size_t liveBefore = faults.Live();
    for (const bool andAllLater : {false, true}) {
        size_t n = 0;
        do {
            ++n;
            SCOPED_TRACE(testing::Message() << "failing allocation " << n << (andAllLater ? " and all later" : ""));
            faults.FailNth(n, andAllLater, kind);
            story(faults);
            faults.Disarm();
            EXPECT_EQ(faults.Live(), liveBefore) << "task memory leaked";
        } while (faults.Struck() != 0 && n != kTooMany && !testing::Test::HasFailure());
        EXPECT_NE(n, kTooMany);
    }
}

}  // namespace talvo::test
