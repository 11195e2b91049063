// Environment and time.
#include <windows.h>

#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "platform/last_error.h"

// The length without the terminator if it fits, else the size needed with it.
DWORD GetEnvironmentVariableA(LPCSTR lpName, LPSTR lpBuffer, DWORD nSize) {
    const char* value = getenv(lpName);
    if (!value) return platform::Fail(ERROR_ENVVAR_NOT_FOUND), 0;
    const size_t size = strlen(value) + 1;
    if (size > nSize) return static_cast<DWORD>(size);
    memcpy(lpBuffer, value, size);
    return static_cast<DWORD>(size - 1);
}

ULONGLONG GetTickCount64() {
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec / 1000000);
}

void Sleep(DWORD dwMilliseconds) {
    timespec left = {dwMilliseconds / 1000, static_cast<long>(dwMilliseconds % 1000) * 1000000};
    while (nanosleep(&left, &left) != 0) {}
}
