// Locks and time. CRITICAL_SECTION over a recursive mutex that lives inside it: entering allocates nothing and cannot fail, and tools
// that watch mutexes (thread sanitizer) understand it.
#include <windows.h>

#include <pthread.h>
#include <time.h>

#include <new>

namespace {

static_assert(sizeof(pthread_mutex_t) <= sizeof(CRITICAL_SECTION));
static_assert(alignof(pthread_mutex_t) <= alignof(CRITICAL_SECTION));

pthread_mutex_t* Mutex(CRITICAL_SECTION* section) {
    return std::launder(reinterpret_cast<pthread_mutex_t*>(section->Reserved));
}

}  // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (lpCriticalSection->Reserved) pthread_mutex_t, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection) { pthread_mutex_destroy(Mutex(lpCriticalSection)); }

void EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) { pthread_mutex_lock(Mutex(lpCriticalSection)); }

void LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection) { pthread_mutex_unlock(Mutex(lpCriticalSection)); }

// Windows counts the time that the machine was suspended, too.
ULONGLONG GetTickCount64() {
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec / 1000000);
}
