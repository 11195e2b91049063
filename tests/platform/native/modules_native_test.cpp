// Modules of this system, and the class objects of those that are servers: loading, life, message tables.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "tests/platform/kit.h"
#include "tests/platform/sample_module/sample_module.h"
#include "tests/support/registry_view.h"

namespace {

using namespace talvo::test;

bool IsLoaded() { return GetModuleHandleA(SAMPLE_MODULE) != nullptr; }

std::string SamplePath() { return Narrow(Beside(SAMPLE_MODULE)); }

TEST(Modules, NamesAndMessages) {
    const HMODULE module = LoadLibraryA(SAMPLE_MODULE);  // beside the program
    EXPECT_EQ(LoadLibraryA(SamplePath().c_str()), module);
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_TRUE(IsLoaded()) << "once";
    EXPECT_FALSE(GetProcAddress(module, "GetACP"));  // it uses the stand-in, but does not offer it
    char name[1024];
    const DWORD length = GetModuleFileNameA(module, name, sizeof name);
    EXPECT_EQ(name, SamplePath());
    EXPECT_EQ(GetModuleFileNameA(module, name, length), length);
    EXPECT_EQ(LastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(GetModuleHandleA("OleAut32"), GetModuleHandleA("kernel32.dll")) << "the stand-in is all of them";
    EXPECT_FALSE(LoadLibraryA("/dev/null"));
    EXPECT_EQ(LastError(), ERROR_BAD_EXE_FORMAT);

    const DWORD own = FORMAT_MESSAGE_FROM_HMODULE, both = own | FORMAT_MESSAGE_FROM_SYSTEM;
    const struct {
        DWORD flags;
        DWORD id;
        std::string text;
    } rows[] = {
        {both, 2, "Ours before the system's.\r\n"},
        {own, 3, ""},
        {both, 0x80004003, "Invalid pointer\r\n"},
        {both, 0x8007007B, "The filename, directory name, or volume label syntax is incorrect.\r\n"},
    };
    for (const auto& row : rows) {
        char text[512] = {};
        EXPECT_EQ(
            FormatMessageA(row.flags | FORMAT_MESSAGE_IGNORE_INSERTS, module, row.id, 0, text, sizeof text, nullptr),
            row.text.size());
        EXPECT_EQ(text, row.text);
    }
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_FALSE(IsLoaded());
}

// The sample as the server of its class.
class ClassObjects : public testing::Test {
protected:
    void SetUp() override { SetText(kServer, SamplePath()); }
    void TearDown() override { DeleteTree(HKEY_CLASSES_ROOT, kClass); }

    static HRESULT Create(IUnknown** created) {
        return CoCreateInstance(kSampleClass, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(created));
    }
    static HRESULT Try() {
        IUnknown* created = nullptr;
        const HRESULT hr = Create(&created);
        if (created) created->Release();
        return hr;
    }

    const std::string kClass = "CLSID\\" + GuidText(kSampleClass), kServer = kClass + "\\InprocServer32";
};

TEST_F(ClassObjects, InitializationCounts) {
    EXPECT_EQ(Try(), CO_E_NOTINITIALIZED);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
    EXPECT_EQ(Try(), S_OK);
    CoUninitialize();
    EXPECT_EQ(Try(), CO_E_NOTINITIALIZED);
    EXPECT_FALSE(IsLoaded()) << "the last one unloads what is unused";
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    std::thread([] { EXPECT_EQ(Try(), S_OK) << "shares what another thread initialized"; }).join();
    CoUninitialize();
}

TEST_F(ClassObjects, ServerStaysWhileItIsUsed) {
    ASSERT_EQ(CoInitialize(nullptr), S_OK);
    IUnknown* created = nullptr;
    ASSERT_EQ(Create(&created), S_OK);
    CoFreeUnusedLibraries();
    EXPECT_TRUE(IsLoaded());
    created->Release();
    EXPECT_TRUE(IsLoaded()) << "until it is asked to go";
    CoFreeUnusedLibraries();
    EXPECT_FALSE(IsLoaded());
    EXPECT_EQ(Try(), S_OK) << "it can be loaded again";
    CoFreeUnusedLibraries();
    const struct {
        std::string file;
        HRESULT code;
    } rows[] = {{"no_module.so", CO_E_DLLNOTFOUND}, {"kernel32.dll", CO_E_ERRORINDLL}, {"", REGDB_E_CLASSNOTREG}};
    for (const auto& row : rows) {
        SetText(kServer, row.file);
        EXPECT_EQ(Try(), row.code) << row.file;
    }
    CoUninitialize();
}

}  // namespace
