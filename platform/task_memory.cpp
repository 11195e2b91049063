// The task allocator. Strings and arrays come from it too, so that one IMallocSpy sees every block that may cross an
// interface. Blocks are plain malloc blocks: the sanitizers see their exact ends.
#include <objbase.h>

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

// The observer of all calls, and the blocks that were allocated while it was registered; of every other block it is told
// that it has not seen it. It stays until the last of its own is freed. Never destroyed, as blocks may be freed while the
// process ends.
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

}  // namespace

LPVOID CoTaskMemAlloc(SIZE_T cb) {
    Observed spy;
    if (!spy) return RawAlloc(cb);
    const SIZE_T actual = spy->PreAlloc(cb);
    if (actual == 0 && cb != 0) return nullptr;
    void* block = spy->PostAlloc(RawAlloc(actual));
    spy.Remember(block);
    return block;
}

LPVOID CoTaskMemRealloc(LPVOID pv, SIZE_T cb) {
    if (!pv) return CoTaskMemAlloc(cb);
    if (cb == 0) return CoTaskMemFree(pv), nullptr;
    Observed spy;
    if (!spy) return RawRealloc(pv, cb);
    const bool known = spy.Knows(pv);
    void* request = pv;
    const SIZE_T actual = spy->PreRealloc(pv, cb, &request, known);
    if (actual == 0) return nullptr;
    void* moved = spy->PostRealloc(RawRealloc(request, actual), known);
    if (moved && known) {
        spy.Forget(pv);
        spy.Remember(moved);
    }
    return moved;
}

void CoTaskMemFree(LPVOID pv) {
    if (!pv) return;
    Observed spy;
    if (!spy) return free(pv);
    const bool known = spy.Forget(pv);
    free(spy->PreFree(pv, known));
    spy->PostFree(known);
    spy.LeaveIfRevoked();
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
