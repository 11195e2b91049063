// What belongs to a thread, error information and the last error, and what threads share: locks.
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

TEST(CriticalSection, IsLeftAsOftenAsEntered) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    static int guarded = 0;
    RunThreads(
        [](void* lock) {
            for (int round = 0; round < 2000; ++round) {
                for (int i = 0; i < 2; ++i) EnterCriticalSection(static_cast<CRITICAL_SECTION*>(lock));
                LeaveCriticalSection(static_cast<CRITICAL_SECTION*>(lock));
                ++guarded;
                LeaveCriticalSection(static_cast<CRITICAL_SECTION*>(lock));
            }
        },
        &section);
    DeleteCriticalSection(&section);
    EXPECT_EQ(guarded, 8000);
}

}  // namespace
