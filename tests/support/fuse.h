// Decides which of the coming allocations of one kind fail. Shared by the two halves of AllocationFaults.
#pragma once

#include <atomic>
#include <cstddef>

namespace talvo::test {

// Allocations of a thread are let through while this is not 0.
inline thread_local int g_faultsPaused = 0;

class Fuse {
public:
    // The n-th from now fails; 0: none.
    void Set(size_t n, bool andAllLater) {
        Stop();
        struck_ = 0;
        andAllLater_ = andAllLater;
        left_ = n;
    }
    // What has failed stays readable.
    void Stop() { left_ = 0; }
    size_t Struck() const { return struck_; }

    bool Blows() {
        if (g_faultsPaused != 0) return false;
        size_t left = left_;
        do {
            if (left == 0) return false;
        } while (!left_.compare_exchange_weak(left, left == 1 && andAllLater_ ? 1 : left - 1));
        if (left != 1) return false;
        ++struck_;
        return true;
    }

private:
    std::atomic<size_t> left_ = 0;  // 0: nothing fails; 1: the next one does
    std::atomic<size_t> struck_ = 0;
    std::atomic<bool> andAllLater_ = false;
};

// The fuse of operator new.
Fuse& NewFuse();

}  // namespace talvo::test
