// The resources that only a Windows module has and no other test looks at: pictures and the version.
#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {
namespace {

TEST(WindowsResources, BitmapsHaveSixteenColours) {
    const struct {
        WORD id;
        LONG width, height;
    } kRows[] = {{101, 16, 15}, {201, 32, 32}};
    const HMODULE module = Module::Get().Handle();
    for (const auto& row : kRows) {
        const HRSRC place = FindResourceA(module, MAKEINTRESOURCEA(row.id), RT_BITMAP);
        const auto* const header = static_cast<const BITMAPINFOHEADER*>(LockResource(LoadResource(module, place)));
        ASSERT_TRUE(header) << row.id;
        EXPECT_EQ(header->biWidth, row.width) << row.id;
        EXPECT_EQ(header->biHeight, row.height) << row.id;
        EXPECT_EQ(header->biBitCount, 4) << row.id;
    }
}

TEST(WindowsResources, Version) {
    const char* const path = Module::Get().Path().c_str();
    std::vector<BYTE> data(GetFileVersionInfoSizeA(path, nullptr));
    ASSERT_TRUE(GetFileVersionInfoA(path, 0, static_cast<DWORD>(data.size()), data.data()));
    UINT size = 0;
    VS_FIXEDFILEINFO* fixed = nullptr;
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\", reinterpret_cast<void**>(&fixed), &size));
    EXPECT_EQ(fixed->dwFileType, DWORD{VFT_DLL});
    char* text = nullptr;
    EXPECT_TRUE(
        VerQueryValueA(data.data(), "\\StringFileInfo\\040904B0\\FileVersion", reinterpret_cast<void**>(&text), &size));
    EXPECT_STREQ(text, "1.1.0.0");
}

}  // namespace
}  // namespace talvo::test
