// What belongs to a thread, error information and the last error, and what threads share: locks and interlocked numbers.
#include "tests/platform/last_error.h"

#include <oleauto.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

IErrorInfo* MakeInfo() {
    ICreateErrorInfo* fill = nullptr;
    IErrorInfo* info = nullptr;
    EXPECT_EQ(CreateErrorInfo(&fill), S_OK);
    EXPECT_EQ(fill->QueryInterface(IID_PPV_ARGS(&info)), S_OK);
    fill->Release();
    return info;
}

void RunThreads(void (*work)(void*), void* argument) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) threads.emplace_back(work, argument);
    for (std::thread& thread : threads) thread.join();
}

TEST(ErrorInfo, BelongsToItsThread) {
    IErrorInfo* info = MakeInfo();
    SetErrorInfo(0, info);
    RunThreads(
        [](void* shared) {
            auto* const theirs = static_cast<IErrorInfo*>(shared);
            IErrorInfo* got = nullptr;
            EXPECT_EQ(GetErrorInfo(0, &got), S_FALSE);
            for (int round = 0; round < 200; ++round) {
                SetErrorInfo(0, theirs);
                if (round % 2 && GetErrorInfo(0, &got) == S_OK) got->Release();
            }
            SetErrorInfo(0, theirs);  // released when the thread ends
        },
        info);
    IErrorInfo* got = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &got), S_OK);
    EXPECT_EQ(got, info);
    got->Release();
    IErrorInfo* second = MakeInfo();
    EXPECT_EQ(SetErrorInfo(0, info), S_OK);
    EXPECT_EQ(SetErrorInfo(0, second), S_OK);
    EXPECT_EQ(info->Release(), 0u);  // the thread gave it up for the second
    EXPECT_EQ(SetErrorInfo(0, nullptr), S_OK);
    EXPECT_EQ(second->Release(), 0u);
}

TEST(LastError, BelongsToItsThread) {
    SetLastError(77);
    RunThreads(
        [](void*) {
            EXPECT_EQ(LastError(), 0);
            SetLastError(5);
        },
        nullptr);
    EXPECT_NE(LastError(), 5);  // though what starts and joins a thread may change it
}

struct Shared {
    CRITICAL_SECTION section;
    int guarded = 0;
    LONG interlocked = 0;
};

TEST(CriticalSection, KeepsOthersOutUntilItIsLeftAsOftenAsEntered) {
    Shared shared;
    InitializeCriticalSection(&shared.section);
    RunThreads(
        [](void* argument) {
            auto& all = *static_cast<Shared*>(argument);
            for (int round = 0; round < 5000; ++round) {
                EnterCriticalSection(&all.section);
                EnterCriticalSection(&all.section);
                LeaveCriticalSection(&all.section);
                ++all.guarded;
                LeaveCriticalSection(&all.section);
                for (int i = 0; i < 2; ++i) InterlockedIncrement(&all.interlocked);
                InterlockedDecrement(&all.interlocked);
            }
        },
        &shared);
    DeleteCriticalSection(&shared.section);
    EXPECT_EQ(shared.guarded, 20000);
    EXPECT_EQ(shared.interlocked, 20000);
    EXPECT_EQ(InterlockedDecrement(&shared.interlocked), 19999);
    EXPECT_EQ(InterlockedIncrement(&shared.interlocked), 20000);
    EXPECT_EQ(InterlockedCompareExchange(&shared.interlocked, 7, 6), 20000);
    EXPECT_EQ(InterlockedCompareExchange(&shared.interlocked, 7, 20000), 20000);
    EXPECT_EQ(shared.interlocked, 7);
}

}  // namespace
