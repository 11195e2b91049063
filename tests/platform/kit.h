// What several tests of the stand-in need: the last error, and what lies beside the test program.
#pragma once

#include <windows.h>

#include "tests/support/text.h"

// In the type of the constants.
inline LONG LastError() { return static_cast<LONG>(GetLastError()); }

// 0 for a call that succeeded.
inline LONG Error(BOOL done) { return done ? 0 : LastError(); }

// The full name of a file beside the test program.
inline talvo::test::WideText Beside(const char* name) {
    OLECHAR path[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, path, 1024);
    talvo::test::WideText text(path, length);
    text.resize(text.find_last_of(OLESTR("/\\")) + 1);
    return text + talvo::test::Widen(name);
}
