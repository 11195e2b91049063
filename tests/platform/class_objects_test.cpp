// The life of class objects: initialization by thread, loading, unloading.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/platform/probe.h"

namespace {

using probe::GuidText;
using probe::SetText;

bool IsLoaded() { return GetModuleHandleA("probe_module.dll") != nullptr; }

class ClassObjects : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(CoInitialize(nullptr), S_OK);
        SetText(server_, probe::Narrow(probe::Beside("probe_module.dll")));
        // Any thread may create: otherwise creation is handed to a thread that waits for the others here.
        SetText(server_, "Both", "ThreadingModel");
    }
    void TearDown() override {
        CoFreeUnusedLibraries();
        CoUninitialize();
        probe::DeleteTree(HKEY_CLASSES_ROOT, "CLSID\\" + GuidText(probe::kClass));
    }

    static HRESULT Create() {
        IUnknown* created = reinterpret_cast<IUnknown*>(1);
        const HRESULT hr = CoCreateInstance(probe::kClass, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&created));
        EXPECT_EQ(created != nullptr, SUCCEEDED(hr));
        if (SUCCEEDED(hr)) created->Release();
        return hr;
    }

    const std::string server_ = "CLSID\\" + GuidText(probe::kClass) + "\\InprocServer32";
};

TEST_F(ClassObjects, InitializationCounts) {
    std::thread([] {
        EXPECT_EQ(Create(), CO_E_NOTINITIALIZED);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
        CoUninitialize();
        EXPECT_EQ(Create(), S_OK);
        CoUninitialize();
        EXPECT_EQ(Create(), CO_E_NOTINITIALIZED);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        std::thread([] { EXPECT_EQ(Create(), S_OK) << "shares what another thread initialized"; }).join();
        CoUninitialize();
    }).join();
}

TEST_F(ClassObjects, ServerStaysWhileItIsUsed) {
    // A server that any thread may use is kept for some minutes by the real library; one for a single thread is not.
    HKEY key = nullptr;
    ASSERT_EQ(probe::OpenKey(HKEY_CLASSES_ROOT, server_, &key, KEY_SET_VALUE), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteValueW(key, OLESTR("ThreadingModel")), ERROR_SUCCESS);
    RegCloseKey(key);
    IUnknown* created = nullptr;
    ASSERT_EQ(CoCreateInstance(probe::kClass, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&created)), S_OK);
    CoFreeUnusedLibraries();
    EXPECT_TRUE(IsLoaded());
    created->Release();
    CoFreeUnusedLibraries();
    EXPECT_FALSE(IsLoaded());
    EXPECT_EQ(Create(), S_OK) << "it can be loaded again";
    EXPECT_TRUE(IsLoaded()) << "and stays until it is asked to go";
}

TEST_F(ClassObjects, ManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
            for (int n = 0; n < 50; ++n) EXPECT_EQ(Create(), S_OK);
            CoUninitialize();
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
