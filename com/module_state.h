// What the module keeps for all its objects: its instance, the count of live objects and server locks, its lock, and
// the type information that its dispatch interfaces have loaded. It exists from process attach to process detach.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <atomic>

#include "com/lock.h"

namespace com {

// Type information of one dispatch interface; loaded on first use, released when the module stops. Static storage only.
struct CachedTypeInfo {
    const IID* iid;
    std::atomic<ITypeInfo*> info = nullptr;
    CachedTypeInfo* next = nullptr;
};

// A registered type library: what LoadRegTypeLib needs to find it.
struct LibraryId {
    GUID guid;
    WORD major;
    WORD minor;
    LCID locale;
};

class ModuleState {
public:
    // Process attach and detach. `releaseAll` is false when the whole process ends: other modules may be gone then.
    static void Start(HINSTANCE instance, const LibraryId& library) noexcept;
    static void Stop(bool releaseAll) noexcept;
    static ModuleState& Get() noexcept;

    HINSTANCE Instance() const noexcept { return instance_; }

    // Every live object and every server lock counts one. Interlocked.
    void AddLock() noexcept { InterlockedIncrement(&locks_); }
    void ReleaseLock() noexcept { InterlockedDecrement(&locks_); }
    bool InUse() const noexcept { return InterlockedCompareExchange(&locks_, 0, 0) != 0; }

    // Guards what objects and classes share beyond one object; each room says what that is. Held for a moment, and the
    // innermost lock: no other one is taken under it, and no foreign code is called.
    CriticalSection& SharedLock() noexcept { return sharedLock_; }

    // A new reference to the interface's type information from the registered library; the platform's code on failure.
    HRESULT LoadTypeInfo(CachedTypeInfo& cache, ITypeInfo** info) noexcept;

private:
    ModuleState(HINSTANCE instance, const LibraryId& library) noexcept : instance_(instance), library_(library) {}

    HINSTANCE instance_;
    LibraryId library_;
    mutable LONG volatile locks_ = 0;
    CriticalSection sharedLock_;
    CriticalSection typeInfoLock_;
    CachedTypeInfo* loaded_ = nullptr;
};

// Counts its owner among the module's live objects.
class LiveObject {
public:
    LiveObject() noexcept { ModuleState::Get().AddLock(); }
    ~LiveObject() { ModuleState::Get().ReleaseLock(); }
    LiveObject(const LiveObject&) = delete;
    LiveObject& operator=(const LiveObject&) = delete;
};

}  // namespace com
