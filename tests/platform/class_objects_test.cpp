// Class objects and their names: initialization, creation by class, errors of registration, unloading.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/platform/probe.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/wine.h"

namespace {

using probe::Text;

constexpr GUID kOther = {0x583a3514, 0x73f0, 0x4318, {0xb5, 0xa6, 0x3f, 0xea, 0x8a, 0x72, 0x6a, 0xe6}};

Text InBraces(REFGUID guid) {
    OLECHAR text[39];
    StringFromGUID2(guid, text, 39);
    return text;
}

void Register(const Text& key, const Text& value, const OLECHAR* valueName = nullptr) {
    HKEY opened = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr),
              0);
    EXPECT_EQ(RegSetValueExW(opened, valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                             static_cast<DWORD>((value.size() + 1) * sizeof(OLECHAR))),
              0);
    RegCloseKey(opened);
}

bool IsLoaded() { return GetModuleHandleW(probe::Beside("probe_module.dll").c_str()) != nullptr; }

class ClassObjects : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(CoInitialize(nullptr), S_OK);
        Register(server_, probe::Beside("probe_module.dll"));
        for (const GUID& clsid : {probe::kClass, kOther}) {
            // Any thread may create: otherwise creation is handed to a thread that waits for the others here.
            Register(OLESTR("CLSID\\") + InBraces(clsid) + OLESTR("\\InprocServer32"), OLESTR("Both"),
                     OLESTR("ThreadingModel"));
        }
    }
    void TearDown() override {
        CoFreeUnusedLibraries();
        CoUninitialize();
        for (const GUID& clsid : {probe::kClass, kOther}) {
            RegDeleteTreeW(HKEY_CLASSES_ROOT, (OLESTR("CLSID\\") + InBraces(clsid)).c_str());
        }
        for (const OLECHAR* name : {OLESTR("Probe.Test.1"), OLESTR("Probe.Bad")}) {
            RegDeleteTreeW(HKEY_CLASSES_ROOT, name);
        }
    }

    static HRESULT Create(REFCLSID clsid, DWORD context = CLSCTX_INPROC_SERVER, IUnknown* outer = nullptr) {
        IUnknown* created = reinterpret_cast<IUnknown*>(1);
        const HRESULT hr = CoCreateInstance(clsid, outer, context, IID_IUnknown, reinterpret_cast<void**>(&created));
        EXPECT_EQ(created != nullptr, SUCCEEDED(hr));
        if (SUCCEEDED(hr)) created->Release();
        return hr;
    }

    const Text server_ = OLESTR("CLSID\\") + InBraces(probe::kClass) + OLESTR("\\InprocServer32");
};

TEST_F(ClassObjects, InitializationCounts) {
    std::thread([] {
        EXPECT_EQ(Create(probe::kClass), CO_E_NOTINITIALIZED);
        IClassFactory* factory = nullptr;
        EXPECT_EQ(CoGetClassObject(probe::kClass, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)),
                  CO_E_NOTINITIALIZED);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
        CoUninitialize();
        EXPECT_EQ(Create(probe::kClass), S_OK);
        CoUninitialize();
        EXPECT_EQ(Create(probe::kClass), CO_E_NOTINITIALIZED);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        std::thread([] { EXPECT_EQ(Create(probe::kClass), S_OK) << "shares what another thread initialized"; }).join();
        CoUninitialize();
    }).join();
}

TEST_F(ClassObjects, WhatCanBeWrong) {
    const Text other = OLESTR("CLSID\\") + InBraces(kOther);
    const struct {
        const char* name;
        Text key;
        Text value;
        HRESULT code;
    } steps[] = {
        {"server without a name", other, OLESTR("a class"), REGDB_E_CLASSNOTREG},
        {"server that does not know the class", other + OLESTR("\\InprocServer32"), probe::Beside("probe_module.dll"),
         CLASS_E_CLASSNOTAVAILABLE},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        Register(step.key, step.value);
        EXPECT_EQ(static_cast<DWORD>(Create(kOther)), static_cast<DWORD>(step.code));
    }
}

TEST_F(ClassObjects, Arguments) {
    EXPECT_EQ(Create(probe::kClass, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER), S_OK);
    probe::Probe outer;
    EXPECT_EQ(Create(probe::kClass, CLSCTX_INPROC_SERVER, &outer), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(CoCreateInstance(probe::kClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(CoGetClassObject(probe::kClass, CLSCTX_INPROC_SERVER, nullptr, IID_IUnknown, nullptr), E_INVALIDARG);
    void* none = this;
    EXPECT_EQ(CoCreateInstance(probe::kClass, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &none), E_NOINTERFACE);
    EXPECT_FALSE(none);
}

TEST_F(ClassObjects, NoServerOfTheKindAskedFor) {
    if (talvo::test::UnderWine() && sizeof(void*) == 4) GTEST_SKIP() << "32-bit Wine reports a key that is missing";
    EXPECT_EQ(Create(probe::kClass, CLSCTX_LOCAL_SERVER), REGDB_E_CLASSNOTREG);
}

TEST_F(ClassObjects, ServerStaysWhileItIsUsed) {
    // A server that any thread may use is kept for some minutes by the real library; one for a single thread is not.
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, server_.c_str(), 0, KEY_SET_VALUE, &key), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteValueW(key, OLESTR("ThreadingModel")), ERROR_SUCCESS);
    RegCloseKey(key);
    IClassFactory* factory = nullptr;
    IUnknown* created = nullptr;
    ASSERT_EQ(CoGetClassObject(probe::kClass, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)), S_OK);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&created)), S_OK);
    CoFreeUnusedLibraries();
    EXPECT_TRUE(IsLoaded());
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    created->Release();
    CoFreeUnusedLibraries();
    EXPECT_TRUE(IsLoaded());
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory->Release();
    CoFreeUnusedLibraries();
    EXPECT_FALSE(IsLoaded());
    EXPECT_EQ(Create(probe::kClass), S_OK) << "it can be loaded again";
    EXPECT_TRUE(IsLoaded()) << "and stays until it is asked to go";
}

TEST_F(ClassObjects, ManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
            for (int n = 0; n < 50; ++n) EXPECT_EQ(Create(probe::kClass), S_OK);
            CoUninitialize();
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST_F(ClassObjects, Names) {
    const Text id = InBraces(probe::kClass);
    Register(OLESTR("Probe.Test.1\\CLSID"), id);
    Register(OLESTR("Probe.Bad\\CLSID"), OLESTR("{not an identifier}"));
    Register(OLESTR("CLSID\\") + id + OLESTR("\\ProgID"), OLESTR("Probe.Test.1"));
    const struct {
        const OLECHAR* name;
        HRESULT code;
    } rows[] = {
        {OLESTR("Probe.Test.1"), S_OK},
        {OLESTR("PROBE.test.1"), S_OK},
        {OLESTR("Probe.Bad"), CO_E_CLASSSTRING},
        {OLESTR("Probe.None"), CO_E_CLASSSTRING},
        {nullptr, E_INVALIDARG},
    };
    for (const auto& row : rows) {
        CLSID clsid = kOther;
        EXPECT_EQ(CLSIDFromProgID(row.name, &clsid), row.code);
        EXPECT_EQ(clsid == probe::kClass, row.code == S_OK);
    }
    LPOLESTR name = nullptr;
    ASSERT_EQ(ProgIDFromCLSID(probe::kClass, &name), S_OK);
    EXPECT_TRUE(Text(name) == OLESTR("Probe.Test.1"));
    CoTaskMemFree(name);
    EXPECT_EQ(ProgIDFromCLSID(kOther, &name), REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(name);
    EXPECT_EQ(ProgIDFromCLSID(probe::kClass, nullptr), E_INVALIDARG);
}

}  // namespace
