// The task allocator. Strings and arrays come from it too, so that one IMallocSpy sees every block that may cross an
// interface. Blocks are plain malloc blocks: the sanitizers see their exact ends.
#include <objbase.h>

#include <malloc.h>
#include <stdint.h>
#include <stdlib.h>

#include <atomic>
#include <mutex>
#include <new>
#include <unordered_set>

namespace {

// Larger requests cannot succeed; sanitizers would end the process instead of failing them.
constexpr SIZE_T kTooLarge = SIZE_T{1} << 40;

void* RawAlloc(SIZE_T size) { return size < kTooLarge ? malloc(size ? size : 1) : nullptr; }

void* RawRealloc(void* block, SIZE_T size) { return size < kTooLarge ? realloc(block, size) : nullptr; }

// The observer of all calls, and the blocks that were allocated before its eyes: it is told of each whether it knows
// it, and stays until the last of them is freed. Never destroyed, as blocks may be freed while the process ends.
struct SpyPost {
    std::recursive_mutex lock;
    std::atomic<IMallocSpy*> spy = nullptr;
    bool revoked = false;
    std::unordered_set<void*> known;
};

SpyPost& Post() {
    static SpyPost& post = *new SpyPost;
    return post;
}

// Holds the post for the length of one call if there is an observer; costs one load if there is none.
class Observed {
public:
    Observed() : post_(Post()) {
        if (!post_.spy.load(std::memory_order_acquire)) return;
        lock_ = std::unique_lock(post_.lock);
        spy_ = post_.spy.load(std::memory_order_relaxed);
    }
    explicit operator bool() const { return spy_; }
    IMallocSpy* operator->() const { return spy_; }

    bool Knows(void* block) const { return post_.known.count(block) != 0; }
    bool Forget(void* block) { return post_.known.erase(block) != 0; }
    void Remember(void* block) {
        try {
            if (block) post_.known.insert(block);
        } catch (const std::bad_alloc&) {  // then the observer does not know this block: allowed, and said at its end
        }
    }
    void LeaveIfRevoked() {
        if (!post_.revoked || !post_.known.empty()) return;
        post_.revoked = false;
        post_.spy = nullptr;
        spy_->Release();
    }

private:
    SpyPost& post_;
    std::unique_lock<std::recursive_mutex> lock_;
    IMallocSpy* spy_ = nullptr;
};

class TaskAllocator final : public IMalloc {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        const bool known = riid == IID_IUnknown || riid == IID_IMalloc;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }  // one for the process, never destroyed
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP_(void*) Alloc(SIZE_T size) override {
        Observed spy;
        if (!spy) return RawAlloc(size);
        const SIZE_T actual = spy->PreAlloc(size);
        if (actual == 0 && size != 0) return nullptr;
        void* block = spy->PostAlloc(RawAlloc(actual));
        spy.Remember(block);
        return block;
    }

    STDMETHODIMP_(void*) Realloc(void* block, SIZE_T size) override {
        if (!block) return Alloc(size);
        if (size == 0) return Free(block), nullptr;
        Observed spy;
        if (!spy) return RawRealloc(block, size);
        const bool known = spy.Knows(block);
        void* request = block;
        const SIZE_T actual = spy->PreRealloc(block, size, &request, known);
        if (actual == 0) return nullptr;
        void* moved = spy->PostRealloc(RawRealloc(request, actual), known);
        if (moved && known) {
            spy.Forget(block);
            spy.Remember(moved);
        }
        return moved;
    }

    STDMETHODIMP_(void) Free(void* block) override {
        if (!block) return;
        Observed spy;
        if (!spy) return free(block);
        const bool known = spy.Forget(block);
        free(spy->PreFree(block, known));
        spy->PostFree(known);
        spy.LeaveIfRevoked();
    }

    STDMETHODIMP_(SIZE_T) GetSize(void* block) override {
        if (!block) return SIZE_MAX;
        Observed spy;
        if (!spy) return malloc_usable_size(block);
        const bool known = spy.Knows(block);
        return spy->PostGetSize(malloc_usable_size(spy->PreGetSize(block, known)), known);
    }

    // -1: cannot tell. Only an observer's blocks are known by address.
    STDMETHODIMP_(int) DidAlloc(void* block) override {
        Observed spy;
        if (!spy || !block) return -1;
        const bool known = spy.Knows(block);
        spy->PreDidAlloc(block, known);
        return spy->PostDidAlloc(block, known, known ? 1 : -1);
    }

    STDMETHODIMP_(void) HeapMinimize() override {
        Observed spy;
        if (spy) spy->PreHeapMinimize();
        malloc_trim(0);
        if (spy) spy->PostHeapMinimize();
    }
};

TaskAllocator taskAllocator;

}  // namespace

LPVOID CoTaskMemAlloc(SIZE_T cb) { return taskAllocator.Alloc(cb); }

LPVOID CoTaskMemRealloc(LPVOID pv, SIZE_T cb) { return taskAllocator.Realloc(pv, cb); }

void CoTaskMemFree(LPVOID pv) { taskAllocator.Free(pv); }

HRESULT CoGetMalloc(DWORD dwMemContext, LPMALLOC* ppMalloc) {
    if (!ppMalloc) return E_INVALIDARG;
    const bool task = dwMemContext == MEMCTX_TASK;
    *ppMalloc = task ? &taskAllocator : nullptr;
    return task ? S_OK : E_INVALIDARG;
}

HRESULT CoRegisterMallocSpy(LPMALLOCSPY pMallocSpy) {
    if (!pMallocSpy) return E_INVALIDARG;
    SpyPost& post = Post();
    const std::lock_guard hold(post.lock);
    if (post.spy.load()) return CO_E_OBJISREG;
    void* spy = nullptr;
    if (FAILED(pMallocSpy->QueryInterface(IID_IMallocSpy, &spy))) return E_INVALIDARG;
    post.spy = static_cast<IMallocSpy*>(spy);
    return S_OK;
}

HRESULT CoRevokeMallocSpy() {
    Observed spy;
    if (!spy) return CO_E_OBJNOTREG;
    Post().revoked = true;
    if (!Post().known.empty()) return E_ACCESSDENIED;
    spy.LeaveIfRevoked();
    return S_OK;
}
