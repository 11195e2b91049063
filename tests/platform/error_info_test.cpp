// What belongs to a thread, error information and the last error, and what threads share: locks and interlocked numbers.
#include "tests/platform/last_error.h"

#include <oleauto.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using Text = std::basic_string<OLECHAR>;

LPOLESTR Literal(const OLECHAR* text) { return const_cast<LPOLESTR>(text); }

IErrorInfo* MakeInfo(const OLECHAR* source) {
    ICreateErrorInfo* fill = nullptr;
    IErrorInfo* info = nullptr;
    EXPECT_EQ(CreateErrorInfo(&fill), S_OK);
    EXPECT_EQ(fill->SetSource(Literal(source)), S_OK);
    EXPECT_EQ(fill->QueryInterface(IID_PPV_ARGS(&info)), S_OK);
    fill->Release();
    return info;
}

Text Source(IErrorInfo* info) {
    BSTR text = Literal(OLESTR("garbage"));
    EXPECT_EQ(info->GetSource(&text), S_OK);
    Text result = text ? text : OLESTR("(none)");
    SysFreeString(text);
    return result;
}

void RunThreads(void (*work)(void*), void* argument) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) threads.emplace_back(work, argument);
    for (std::thread& thread : threads) thread.join();
}

TEST(ErrorInfo, KeepsWhatItIsGiven) {
    ICreateErrorInfo* fill = nullptr;
    IErrorInfo* info = nullptr;
    ASSERT_EQ(CreateErrorInfo(&fill), S_OK);
    ASSERT_EQ(fill->QueryInterface(IID_PPV_ARGS(&info)), S_OK);
    GUID guid = IID_IUnknown;
    DWORD context = 1;
    EXPECT_EQ(Source(info), OLESTR("(none)"));
    EXPECT_EQ(info->GetHelpContext(&context), S_OK);
    EXPECT_EQ(context, 0u);
    EXPECT_EQ(info->GetSource(nullptr), E_INVALIDARG);
    EXPECT_EQ(fill->SetGUID(IID_IDispatch), S_OK);
    for (const OLECHAR* source : {OLESTR("source"), OLESTR("other source")}) {
        EXPECT_EQ(fill->SetSource(Literal(source)), S_OK);
        EXPECT_EQ(Source(info), source);
    }
    EXPECT_EQ(info->GetGUID(&guid), S_OK);
    EXPECT_TRUE(guid == IID_IDispatch);
    IUnknown *one = nullptr, *two = nullptr;
    fill->QueryInterface(IID_PPV_ARGS(&one));
    info->QueryInterface(IID_PPV_ARGS(&two));
    EXPECT_EQ(one, two);
    for (IUnknown* reference : {one, two, static_cast<IUnknown*>(info)}) reference->Release();
    EXPECT_EQ(fill->Release(), 0u);
}

TEST(ErrorInfo, IsHandedOverOnce) {
    IErrorInfo* got = reinterpret_cast<IErrorInfo*>(1);
    EXPECT_EQ(SetErrorInfo(0, nullptr), S_OK);
    EXPECT_EQ(GetErrorInfo(0, &got), S_FALSE);
    EXPECT_FALSE(got);
    EXPECT_EQ(SetErrorInfo(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(GetErrorInfo(0, nullptr), E_INVALIDARG);
    IErrorInfo* first = MakeInfo(OLESTR("first"));
    IErrorInfo* second = MakeInfo(OLESTR("second"));
    EXPECT_EQ(SetErrorInfo(0, first), S_OK);
    EXPECT_EQ(SetErrorInfo(0, second), S_OK);
    EXPECT_EQ(first->Release(), 0u);  // the thread gave it up for the second
    EXPECT_EQ(GetErrorInfo(0, &got), S_OK);
    EXPECT_EQ(got, second);
    got->Release();
    EXPECT_EQ(second->Release(), 0u);
    EXPECT_EQ(GetErrorInfo(0, &got), S_FALSE);
}

TEST(ErrorInfo, BelongsToItsThread) {
    IErrorInfo* info = MakeInfo(OLESTR("shared"));
    SetErrorInfo(0, info);
    RunThreads(
        [](void* shared) {
            auto* const theirs = static_cast<IErrorInfo*>(shared);
            IErrorInfo* got = nullptr;
            EXPECT_EQ(GetErrorInfo(0, &got), S_FALSE);
            for (int round = 0; round < 200; ++round) {
                SetErrorInfo(0, theirs);
                EXPECT_EQ(Source(theirs), OLESTR("shared"));
                if (round % 2 && GetErrorInfo(0, &got) == S_OK) got->Release();
            }
            SetErrorInfo(0, theirs);  // released when the thread ends
        },
        info);
    IErrorInfo* got = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &got), S_OK);
    EXPECT_EQ(got, info);
    got->Release();
    EXPECT_EQ(info->Release(), 0u);
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
