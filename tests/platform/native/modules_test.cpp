// Modules of this system: loading, entry, resources, message tables.
#include "tests/platform/last_error.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string SamplePath() { return (fs::read_symlink("/proc/self/exe").parent_path() / SAMPLE_MODULE).string(); }

template <class Function>
Function* Get(HMODULE module, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

class Modules : public testing::Test {
protected:
    void SetUp() override {
        module_ = LoadLibraryA(SAMPLE_MODULE);  // beside the program
        ASSERT_TRUE(module_);
    }
    void TearDown() override {
        if (module_) {
            EXPECT_TRUE(FreeLibrary(module_));
        }
    }
    HMODULE module_ = nullptr;
};

TEST_F(Modules, EntryIsToldOfBothEnds) {
    int detachments = 0;
    EXPECT_EQ(Get<HINSTANCE()>(module_, "SampleInstance")(), module_);
    Get<void(int*)>(module_, "SampleLog")(&detachments);
    EXPECT_EQ(LoadLibraryA(SamplePath().c_str()), module_);
    EXPECT_TRUE(FreeLibrary(module_));
    EXPECT_EQ(detachments, 0);  // still loaded once
    EXPECT_TRUE(FreeLibrary(module_));
    EXPECT_EQ(detachments, 1);
    EXPECT_FALSE(GetModuleHandleA(SAMPLE_MODULE));
    module_ = nullptr;
}

TEST_F(Modules, NamesAndHandles) {
    std::string backslashes = SamplePath();
    for (char& c : backslashes) c = c == '/' ? '\\' : c;
    EXPECT_EQ(GetModuleHandleA(backslashes.c_str()), module_);
    EXPECT_FALSE(GetProcAddress(module_, "GetACP"));  // it uses the stand-in, but does not offer it
    char name[1024];
    const DWORD length = GetModuleFileNameA(module_, name, sizeof name);
    EXPECT_EQ(name, SamplePath());
    EXPECT_EQ(GetModuleFileNameA(module_, name, length), length);
    EXPECT_EQ(LastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(GetModuleHandleA("OleAut32"), GetModuleHandleA("kernel32.dll")) << "the stand-in is all of them";

    const fs::path text = fs::temp_directory_path() / "talvo_no_module.so";
    std::ofstream(text) << "no module";
    EXPECT_FALSE(LoadLibraryA(text.c_str()));
    EXPECT_EQ(LastError(), ERROR_BAD_EXE_FORMAT);
    fs::remove(text);
    EXPECT_FALSE(LoadLibraryA("no_such_module.dll"));
    EXPECT_EQ(LastError(), ERROR_MOD_NOT_FOUND);
}

TEST_F(Modules, Resources) {
    const struct {
        const char16_t* name;
        const char16_t* type;
        std::string content;
        LONG error;
    } rows[] = {
        {MAKEINTRESOURCEW(102), u"REGISTRY", "script", 0},
        {u"#102", u"registry", "script", 0},
        {MAKEINTRESOURCEW(103), u"REGISTRY", "", ERROR_RESOURCE_NAME_NOT_FOUND},
        {MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16), "", ERROR_RESOURCE_TYPE_NOT_FOUND},
    };
    for (const auto& row : rows) {
        const HRSRC found = FindResourceW(module_, row.name, row.type);
        EXPECT_EQ(Error(found != nullptr), row.error);
        const auto* data = static_cast<const char*>(LockResource(LoadResource(module_, found)));
        EXPECT_EQ(std::string(data ? data : "", SizeofResource(module_, found)), row.content);
    }
}

TEST_F(Modules, MessageTable) {
    const DWORD module = FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS;
    const DWORD both = module | FORMAT_MESSAGE_FROM_SYSTEM;
    const struct {
        DWORD flags;
        DWORD id;
        std::string text;
    } rows[] = {
        {module, 0x80044001, "Invalid character in the data.\r\n"},
        {both, 2, "Ours before the system's.\r\n"},
        {module, 3, ""},
        {both, 0x80004003, "Invalid pointer\r\n"},
        {both, 0x8007007B,
         "The filename, directory name, or "
         "volume label syntax is incorrect.\r\n"},
    };
    for (const auto& row : rows) {
        char text[512] = {};
        EXPECT_EQ(FormatMessageA(row.flags, module_, row.id, 0, text, sizeof text, nullptr), row.text.size());
        EXPECT_EQ(text, row.text);
    }
}

}  // namespace
