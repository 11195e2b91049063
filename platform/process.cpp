// Time.
#include <windows.h>

#include <time.h>

ULONGLONG GetTickCount64() {
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec / 1000000);
}
