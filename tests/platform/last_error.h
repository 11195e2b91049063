// What a call of the kernel library said when it failed, in the type of the constants.
#pragma once

#include <windows.h>

inline LONG LastError() { return static_cast<LONG>(GetLastError()); }

// 0 for a call that succeeded.
inline LONG Error(BOOL done) { return done ? 0 : LastError(); }
