// The last-error value of a thread, and how error numbers of this system become Windows codes. Internal.
#pragma once

#include <windows.h>

namespace platform {

DWORD WindowsError(int errnoValue);

// Sets the last error and returns FALSE, for `return Fail(...)`.
BOOL Fail(DWORD error);
BOOL FailWithErrno();

}  // namespace platform
