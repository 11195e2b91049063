// Class objects: made once a class, kept by the class table.
#include "server/class_factory.h"

#include <algorithm>
#include <mutex>
#include <new>

#include "com/module_state.h"
#include "com/unique.h"
#include "server/class_table.h"

namespace talvo {

HRESULT ClassFactory::QueryInterface(REFIID iid, void** object) noexcept {
    if (!object) return E_POINTER;
    const bool known = IsEqualIID(iid, __uuidof(IUnknown)) || IsEqualIID(iid, __uuidof(IClassFactory));
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG ClassFactory::AddRef() noexcept {
    const LONG count = InterlockedIncrement(&references_);
    if (count == 2) com::ModuleState::Get().AddLock();
    return static_cast<ULONG>(count);
}

ULONG ClassFactory::Release() noexcept {
    const LONG count = InterlockedDecrement(&references_);
    if (count == 1) com::ModuleState::Get().ReleaseLock();
    if (count == 0) {
        this->~ClassFactory();
        com::TaskFree(this);
    }
    return static_cast<ULONG>(count);
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (outer && !IsEqualIID(iid, __uuidof(IUnknown))) return CLASS_E_NOAGGREGATION;
    return entry_.Create(outer, iid, object);
}

HRESULT ClassFactory::LockServer(BOOL lock) noexcept {
    com::ModuleState& module = com::ModuleState::Get();
    lock ? module.AddLock() : module.ReleaseLock();
    return S_OK;
}

HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    const auto classes = Classes();
    const auto entry =
        std::find_if(classes.begin(), classes.end(), [&](const auto& row) { return IsEqualCLSID(*row.Class, clsid); });
    if (entry == classes.end()) return CLASS_E_CLASSNOTAVAILABLE;

    std::lock_guard hold(com::ModuleState::Get().SharedLock());
    if (!entry->Factory) {
        void* const place = com::TaskAlloc(sizeof(ClassFactory));
        if (!place) return E_OUTOFMEMORY;
        entry->Factory = ::new (place) ClassFactory(*entry);
    }
    return entry->Factory->QueryInterface(iid, object);
}

void ReleaseClassFactories() noexcept {
    for (ClassEntry& entry : Classes()) {
        if (entry.Factory) entry.Factory->Release();
        entry.Factory = nullptr;
    }
}

}  // namespace talvo
