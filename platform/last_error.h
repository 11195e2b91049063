// The last-error value of a thread, and how error numbers of this system become Windows codes. Internal.
#pragma once

#include <windows.h>

#include <new>

namespace platform {

DWORD WindowsError(int errnoValue);

// Sets the last error and returns FALSE, for `return Fail(...)`.
BOOL Fail(DWORD error);
BOOL FailWithErrno();

// Runs `work`, in which the standard containers may throw: no exception leaves a call of the system.
template <class Work>
auto OrOutOfMemory(Work work, decltype(work()) failure = E_OUTOFMEMORY) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return failure;
    }
}

}  // namespace platform
