// Message texts of the system. Their wording is the system's, so only their form is checked.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace {

LONG LastError() { return static_cast<LONG>(GetLastError()); }

constexpr DWORD kSystem = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

TEST(Messages, SystemTexts) {
    for (const HRESULT code : {HRESULT{ERROR_FILE_NOT_FOUND}, HRESULT{ERROR_BAD_EXE_FORMAT}, E_FAIL, E_INVALIDARG,
                               E_OUTOFMEMORY, E_NOTIMPL, HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION)}) {
        SCOPED_TRACE(code);
        const auto id = static_cast<DWORD>(code);
        char text[512];
        const DWORD length = FormatMessageA(kSystem, nullptr, id, 0, text, sizeof text, nullptr);
        ASSERT_GT(length, 2u);
        EXPECT_EQ(std::string(text).size(), length);
        EXPECT_EQ(std::string(text + length - 2), "\r\n");
        char exact[512];
        EXPECT_EQ(FormatMessageA(kSystem, nullptr, id, 0, exact, length + 1, nullptr), length);
        EXPECT_EQ(FormatMessageA(kSystem, nullptr, id, 0, exact, length, nullptr), 0u);
        EXPECT_EQ(LastError(), ERROR_INSUFFICIENT_BUFFER);
        char* allocated = nullptr;
        EXPECT_EQ(FormatMessageA(kSystem | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, id, 0,
                                 reinterpret_cast<char*>(&allocated), 0, nullptr),
                  length);
        EXPECT_STREQ(allocated, text);
        EXPECT_FALSE(LocalFree(allocated));
    }
}

TEST(Messages, WhatIsNotThere) {
    char text[64];
    char* allocated = text;
    const HMODULE kernel = GetModuleHandleA("kernel32.dll");
    EXPECT_EQ(FormatMessageA(kSystem, nullptr, 0x80041234, 0, text, sizeof text, nullptr), 0u);
    EXPECT_EQ(LastError(), ERROR_MR_MID_NOT_FOUND);
    EXPECT_EQ(FormatMessageA(kSystem | FORMAT_MESSAGE_FROM_HMODULE, kernel, 0x80041234, 0, text, sizeof text, nullptr),
              0u);
    EXPECT_EQ(LastError(), ERROR_MR_MID_NOT_FOUND);
    EXPECT_EQ(FormatMessageA(kSystem | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, 0x80041234, 0,
                             reinterpret_cast<char*>(&allocated), 0, nullptr),
              0u);
    EXPECT_FALSE(allocated);
    EXPECT_EQ(FormatMessageA(FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, 5, 0, text, sizeof text, nullptr), 0u);
    EXPECT_EQ(LastError(), ERROR_INVALID_PARAMETER);
    EXPECT_GT(FormatMessageA(kSystem | FORMAT_MESSAGE_FROM_HMODULE, kernel, ERROR_ACCESS_DENIED, 0, text, sizeof text,
                             nullptr),
              2u);  // the module first, then the system
}

}  // namespace
