// One thread waits until another raises it, once. std::binary_semaphore would do, but hangs with the library of mingw's
// gcc 12 on 32-bit Windows.
#pragma once

#include <condition_variable>
#include <mutex>

namespace talvo::test {

class Signal {
public:
    void Raise() {
        const std::lock_guard hold(lock_);
        raised_ = true;
        changed_.notify_all();
    }
    void Await() {
        std::unique_lock hold(lock_);
        changed_.wait(hold, [this] { return raised_; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool raised_ = false;
};

}  // namespace talvo::test
