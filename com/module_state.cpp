// The module's one state lives in static storage, built and destroyed by hand: a static object's destructor could run
// before the process detach that still needs it.
#include "com/module_state.h"

#include <oleauto.h>

#include <mutex>
#include <new>

#include "com/com_ptr.h"

namespace com {
namespace {

alignas(ModuleState) constinit unsigned char g_storage[sizeof(ModuleState)] = {};
constinit ModuleState* g_state = nullptr;

}  // namespace

void ModuleState::Start(HINSTANCE instance, const LibraryId& library) noexcept {
    g_state = ::new (static_cast<void*>(g_storage)) ModuleState(instance, library);
}

void ModuleState::Stop(bool releaseAll) noexcept {
    if (!releaseAll) return;
    for (CachedTypeInfo* cache = g_state->loaded_; cache; cache = cache->next) {
        if (ITypeInfo* const info = cache->info.exchange(nullptr)) info->Release();
    }
    g_state->~ModuleState();
    g_state = nullptr;
}

ModuleState& ModuleState::Get() noexcept { return *g_state; }

HRESULT ModuleState::LoadTypeInfo(CachedTypeInfo& cache, ITypeInfo** info) noexcept {
    *info = cache.info.load(std::memory_order_acquire);
    if (!*info) {
        std::lock_guard hold(typeInfoLock_);
        *info = cache.info.load(std::memory_order_relaxed);
        if (!*info) {
            ComPtr<ITypeLib> library;
            if (const HRESULT hr =
                    LoadRegTypeLib(library_.guid, library_.major, library_.minor, library_.locale, library.Put());
                FAILED(hr)) {
                return hr;
            }
            if (const HRESULT hr = library->GetTypeInfoOfGuid(*cache.iid, info); FAILED(hr)) return hr;
            cache.next = loaded_;
            loaded_ = &cache;
            cache.info.store(*info, std::memory_order_release);
        }
    }
    (*info)->AddRef();
    return S_OK;
}

}  // namespace com
