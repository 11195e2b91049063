// Modules by name, their functions and file names, and the message texts of the system.
#include "tests/platform/last_error.h"

#include <oleauto.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

TEST(Module, SystemLibrariesAreLoaded) {
    for (const char* name : {"oleaut32.dll", "OLEAUT32.DLL", "OleAut32", "ole32.dll", "kernel32.dll", "advapi32.dll"}) {
        SCOPED_TRACE(name);
        const HMODULE module = GetModuleHandleA(name);
        ASSERT_TRUE(module);
        EXPECT_EQ(LoadLibraryA(name), module);
        EXPECT_TRUE(FreeLibrary(module));
        EXPECT_EQ(GetModuleHandleA(name), module);
        EXPECT_FALSE(GetProcAddress(module, "NoSuchFunction"));
        EXPECT_EQ(LastError(), ERROR_PROC_NOT_FOUND);
        EXPECT_FALSE(GetProcAddress(module, "strtok"));  // of a library that it merely uses
    }
    using Length = UINT(WINAPI*)(BSTR);
    const FARPROC found = GetProcAddress(GetModuleHandleA("oleaut32.dll"), "SysStringLen");
    ASSERT_TRUE(found);
    BSTR text = SysAllocString(OLESTR("abc"));
    EXPECT_EQ(reinterpret_cast<Length>(reinterpret_cast<void*>(found))(text), 3u);
    SysFreeString(text);
}

TEST(Module, WhatIsNotThere) {
    EXPECT_FALSE(GetModuleHandleA("no_such_module.dll"));
    EXPECT_EQ(LastError(), ERROR_MOD_NOT_FOUND);
    EXPECT_FALSE(LoadLibraryA("no_such_module.dll"));
    EXPECT_EQ(LastError(), ERROR_MOD_NOT_FOUND);
    EXPECT_FALSE(LoadLibraryW(OLESTR("no_such_folder\\no_such_module.dll")));
    EXPECT_EQ(LastError(), ERROR_MOD_NOT_FOUND);
    EXPECT_FALSE(FreeLibrary(nullptr));
    EXPECT_FALSE(FindResourceW(GetModuleHandleA(nullptr), OLESTR("NONE"), OLESTR("NONE")));
    EXPECT_EQ(LastError(), ERROR_RESOURCE_DATA_NOT_FOUND);
}

TEST(Module, FileNameOfTheProgram) {
    char name[MAX_PATH * 4] = {};
    WCHAR wide[MAX_PATH * 4] = {};
    const DWORD length = GetModuleFileNameA(nullptr, name, sizeof name);
    ASSERT_EQ(length, strlen(name));
    EXPECT_TRUE(std::filesystem::path(name).is_absolute());
    EXPECT_TRUE(std::filesystem::exists(name));
    EXPECT_EQ(GetModuleFileNameW(GetModuleHandleA(nullptr), wide, ARRAYSIZE(wide)), length);
    EXPECT_EQ(wide[length - 1], static_cast<WCHAR>(name[length - 1]));
    char small[5] = {};
    EXPECT_EQ(GetModuleFileNameA(nullptr, small, sizeof small), sizeof small);
    EXPECT_EQ(LastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(GetModuleFileNameA(nullptr, name, length), length);
    EXPECT_EQ(LastError(), ERROR_INSUFFICIENT_BUFFER);
}

// The wording is the system's, so only the form is checked.
TEST(Messages, SystemTexts) {
    constexpr DWORD kSystem = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    const auto format = [](DWORD flags, HMODULE module, DWORD id, char* text, DWORD size) {
        return FormatMessageA(flags, module, id, 0, text, size, nullptr);
    };
    char text[512], exact[512];
    for (const HRESULT code : {HRESULT{ERROR_FILE_NOT_FOUND}, HRESULT{ERROR_BAD_EXE_FORMAT}, E_FAIL, E_INVALIDARG,
                               E_OUTOFMEMORY, E_NOTIMPL, HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION)}) {
        SCOPED_TRACE(code);
        const auto id = static_cast<DWORD>(code);
        const DWORD length = format(kSystem, nullptr, id, text, sizeof text);
        ASSERT_GT(length, 2u);
        EXPECT_EQ(std::string(text).size(), length);
        EXPECT_EQ(std::string(text + length - 2), "\r\n");
        EXPECT_EQ(format(kSystem, nullptr, id, exact, length + 1), length);
        EXPECT_EQ(format(kSystem, nullptr, id, exact, length), 0u);
        EXPECT_EQ(LastError(), ERROR_INSUFFICIENT_BUFFER);
    }
    const HMODULE kernel = GetModuleHandleA("kernel32.dll");
    constexpr DWORD kBoth = kSystem | FORMAT_MESSAGE_FROM_HMODULE;  // the module first
    const struct {
        DWORD flags;
        DWORD id;
        LONG error;
    } rows[] = {{kSystem, 0x80041234, ERROR_MR_MID_NOT_FOUND},
                {kBoth, 0x80041234, ERROR_MR_MID_NOT_FOUND},
                {FORMAT_MESSAGE_IGNORE_INSERTS, 5, ERROR_INVALID_PARAMETER},
                {kBoth, ERROR_ACCESS_DENIED, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(Error(format(row.flags, kernel, row.id, text, sizeof text) != 0), row.error) << row.id;
    }
}

}  // namespace
