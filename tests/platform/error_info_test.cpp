// Error information per thread, and what threads share: critical sections and interlocked numbers.
#include <windows.h>

#include <oleauto.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

LONG LastError() { return static_cast<LONG>(GetLastError()); }

using Text = std::basic_string<OLECHAR>;

LPOLESTR Literal(const OLECHAR* text) { return const_cast<LPOLESTR>(text); }

IErrorInfo* MakeInfo(const OLECHAR* description) {
    ICreateErrorInfo* fill = nullptr;
    IErrorInfo* info = nullptr;
    EXPECT_EQ(CreateErrorInfo(&fill), S_OK);
    EXPECT_EQ(fill->SetDescription(Literal(description)), S_OK);
    EXPECT_EQ(fill->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)), S_OK);
    fill->Release();
    return info;
}

Text TakeDescription(IErrorInfo* info) {
    BSTR text = nullptr;
    EXPECT_EQ(info->GetDescription(&text), S_OK);
    Text result = text ? text : OLESTR("");
    SysFreeString(text);
    return result;
}

TEST(ErrorInfo, KeepsWhatItIsGiven) {
    ICreateErrorInfo* fill = nullptr;
    IErrorInfo* info = nullptr;
    ASSERT_EQ(CreateErrorInfo(&fill), S_OK);
    ASSERT_EQ(fill->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)), S_OK);
    BSTR text = Literal(OLESTR("garbage"));
    GUID guid = IID_IUnknown;
    DWORD context = 1;
    EXPECT_EQ(info->GetSource(&text), S_OK);
    EXPECT_FALSE(text);
    EXPECT_EQ(info->GetHelpContext(&context), S_OK);
    EXPECT_EQ(context, 0u);
    EXPECT_EQ(info->GetSource(nullptr), E_INVALIDARG);
    EXPECT_EQ(fill->SetGUID(IID_IDispatch), S_OK);
    EXPECT_EQ(fill->SetSource(Literal(OLESTR("source"))), S_OK);
    EXPECT_EQ(fill->SetSource(Literal(OLESTR("other source"))), S_OK);
    EXPECT_EQ(fill->SetHelpFile(Literal(OLESTR("help"))), S_OK);
    EXPECT_EQ(fill->SetHelpContext(42), S_OK);
    EXPECT_EQ(info->GetGUID(&guid), S_OK);
    EXPECT_TRUE(guid == IID_IDispatch);
    EXPECT_EQ(info->GetSource(&text), S_OK);
    EXPECT_EQ(Text(text), OLESTR("other source"));
    SysFreeString(text);
    IUnknown *one = nullptr, *two = nullptr;
    fill->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&one));
    info->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&two));
    EXPECT_EQ(one, two);
    one->Release();
    two->Release();
    info->Release();
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
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([info] {
            IErrorInfo* got = nullptr;
            EXPECT_EQ(GetErrorInfo(0, &got), S_FALSE);
            for (int round = 0; round < 200; ++round) {
                SetErrorInfo(0, info);
                EXPECT_EQ(TakeDescription(info), OLESTR("shared"));
                if (round % 2 && GetErrorInfo(0, &got) == S_OK) got->Release();
            }
            SetErrorInfo(0, info);  // released when the thread ends
        });
    }
    for (std::thread& thread : threads) thread.join();
    IErrorInfo* got = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &got), S_OK);
    EXPECT_EQ(got, info);
    got->Release();
    EXPECT_EQ(info->Release(), 0u);
}

TEST(CriticalSection, EntersAgainAndKeepsOthersOut) {
    CRITICAL_SECTION section;
    ASSERT_TRUE(InitializeCriticalSectionAndSpinCount(&section, 100));
    const auto othersGetIn = [&section] {
        bool entered = false;
        std::thread([&] {
            entered = TryEnterCriticalSection(&section);
            if (entered) LeaveCriticalSection(&section);
        }).join();
        return entered;
    };
    EnterCriticalSection(&section);
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    LeaveCriticalSection(&section);
    EXPECT_FALSE(othersGetIn());
    LeaveCriticalSection(&section);
    EXPECT_TRUE(othersGetIn());
    DeleteCriticalSection(&section);
}

TEST(CriticalSection, CountsWithInterlockedNumbers) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    LONG interlocked = 0, added = 0;
    int guarded = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 5000; ++round) {
                EnterCriticalSection(&section);
                ++guarded;
                LeaveCriticalSection(&section);
                InterlockedIncrement(&interlocked);
                InterlockedExchangeAdd(&added, 3);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    DeleteCriticalSection(&section);
    EXPECT_EQ(guarded, 20000);
    EXPECT_EQ(interlocked, 20000);
    EXPECT_EQ(added, 60000);
    EXPECT_EQ(InterlockedDecrement(&interlocked), 19999);
    EXPECT_EQ(InterlockedExchange(&interlocked, 5), 19999);
    EXPECT_EQ(InterlockedCompareExchange(&interlocked, 7, 6), 5);
    EXPECT_EQ(InterlockedCompareExchange(&interlocked, 7, 5), 5);
    EXPECT_EQ(interlocked, 7);
}

TEST(LastError, BelongsToItsThread) {
    std::atomic<int> step = 0;
    LONG inThread = 77;
    SetLastError(77);
    std::thread other([&] {
        while (step != 1) {}
        inThread = LastError();
        SetLastError(5);
        step = 2;
    });
    SetLastError(77);  // starting a thread may change it
    step = 1;
    while (step != 2) {}
    EXPECT_EQ(LastError(), 77);
    other.join();
    EXPECT_EQ(inThread, 0);
}

}  // namespace
