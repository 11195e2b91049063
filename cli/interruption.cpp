// The system calls the handler on a thread of its own. The handler keeps the lock, so no more output follows its message.
#include "cli/interruption.h"

#include <windows.h>

#include <chrono>

#include "cli/messages.h"

namespace talvo {
namespace {

constexpr std::chrono::seconds kPatience(2);  // a write may wait for a reader that never reads

std::timed_mutex busy;
Output* watched = nullptr;

BOOL WINAPI Interrupted(DWORD) {
    // Waits on the system clock: gcc's thread sanitizer does not know the wait on the steady one.
    if (!busy.try_lock_until(std::chrono::system_clock::now() + kPatience)) return FALSE;
    if (watched) {
        for (const std::string& message : watched->Abandon()) Say("interrupted: " + message);
    }
    return FALSE;
}

}  // namespace

Interruption::Interruption(Output& output) {
    SetConsoleCtrlHandler(&Interrupted, TRUE);
    const std::lock_guard hold(busy);
    watched = &output;
}

Interruption::~Interruption() {
    const std::lock_guard hold(busy);
    watched = nullptr;
    SetConsoleCtrlHandler(&Interrupted, FALSE);
}

std::unique_lock<std::timed_mutex> Interruption::Pause() { return std::unique_lock(busy); }

}  // namespace talvo
