// Interruptions by the user. The signals of this system wait for a thread that calls the handlers, as Windows does: they
// run beside the program, and where none of them takes the matter over, the process ends as if there were none.
#include <windows.h>

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <vector>

#include "platform/last_error.h"

namespace {

struct {
    std::mutex lock;
    std::vector<PHANDLER_ROUTINE> routines;
    bool listening = false;
} handlers;

constexpr struct {
    int signal;
    DWORD event;
} kEvents[] = {{SIGINT, CTRL_C_EVENT}, {SIGHUP, CTRL_CLOSE_EVENT}, {SIGTERM, CTRL_CLOSE_EVENT}};

// What the parent has told the program to ignore stays ignored.
sigset_t ListenedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const auto& row : kEvents) {
        struct sigaction action;
        if (sigaction(row.signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            sigaddset(&signals, row.signal);
    }
    return signals;
}

bool IsTakenOver(DWORD event) {
    std::vector<PHANDLER_ROUTINE> routines;
    {
        const std::lock_guard hold(handlers.lock);
        routines.assign(handlers.routines.rbegin(), handlers.routines.rend());
    }
    return std::ranges::any_of(routines, [event](PHANDLER_ROUTINE routine) { return routine(event) != FALSE; });
}

void EndBy(int received) {
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, received);
    signal(received, SIG_DFL);
    kill(getpid(), received);
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
}

void* Listen(void*) {
    const sigset_t signals = ListenedSignals();
    for (int received = 0; sigwait(&signals, &received) == 0;) {
        const auto* const row = std::ranges::find(kEvents, received, [](const auto& r) { return r.signal; });
        if (row == std::end(kEvents) || !IsTakenOver(row->event)) EndBy(received);
    }
    return nullptr;
}

// Threads that are started later inherit that the signals are not theirs.
bool StartListening() {
    const sigset_t signals = ListenedSignals();
    sigset_t before;
    pthread_t thread;
    pthread_sigmask(SIG_BLOCK, &signals, &before);
    if (pthread_create(&thread, nullptr, &Listen, nullptr) == 0) return pthread_detach(thread) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return false;
}

}  // namespace

// The routine called first is the one added last. Without a routine (to ignore Ctrl-C) it is not offered.
BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE HandlerRoutine, BOOL Add) {
    if (!HandlerRoutine) return platform::Fail(ERROR_INVALID_PARAMETER);
    const std::lock_guard hold(handlers.lock);
    auto& routines = handlers.routines;
    if (!Add) {
        const auto last = std::find(routines.rbegin(), routines.rend(), HandlerRoutine);
        if (last == routines.rend()) return platform::Fail(ERROR_INVALID_PARAMETER);
        routines.erase(std::next(last).base());
        return TRUE;
    }
    if (!handlers.listening && !StartListening()) return platform::Fail(ERROR_NOT_ENOUGH_MEMORY);
    handlers.listening = true;
    routines.push_back(HandlerRoutine);
    return TRUE;
}
