// Modules by name, their functions and file names; environment and time.
#include <windows.h>

#include <oleauto.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

LONG LastError() { return static_cast<LONG>(GetLastError()); }

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
    EXPECT_FALSE(FindResourceA(GetModuleHandleA(nullptr), "NONE", "NONE"));
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

}  // namespace
