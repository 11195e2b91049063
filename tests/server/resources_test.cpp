// What the module carries beside its code, on every platform: the type library, the registration scripts, the messages.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {
namespace {

std::string_view Resource(const WCHAR* type, WORD id) {
    const HMODULE module = Module::Get().Handle();
    const HRSRC place = FindResourceW(module, MAKEINTRESOURCEW(id), type);
    const HGLOBAL loaded = place ? LoadResource(module, place) : nullptr;
    const void* const data = loaded ? LockResource(loaded) : nullptr;
    return data ? std::string_view(static_cast<const char*>(data), SizeofResource(module, place)) : std::string_view();
}

TEST(Resources, RegistrationScriptsAndTypeLibraryOnly) {
    for (WORD id = 100; id < 110; ++id) {
        const bool script = id >= 102 && id <= 108;
        EXPECT_EQ(Resource(OLESTR("REGISTRY"), id).find("HKCR") == 0, script) << id;
    }
    EXPECT_GT(Resource(OLESTR("TYPELIB"), 1).size(), 1000u);
    EXPECT_EQ(Resource(OLESTR("TYPELIB"), 2).size(), 0u);
}

std::string MessageOf(HRESULT code, DWORD size) {
    char text[512];
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS,
                                        Module::Get().Handle(), static_cast<DWORD>(code), 0, text, size, nullptr);
    return std::string(text, length);
}

TEST(Resources, MessageOfEachResultCodeEndsInALineBreak) {
    const struct {
        const char* name;
        HRESULT code;
        std::string text;
    } kRows[] = {
#define RESULT_CODE(name, value, text) {#name, static_cast<HRESULT>(value), text "\r\n"},
#include "server/results/result_codes.def"
#undef RESULT_CODE
        {"the number that is not used", static_cast<HRESULT>(0x80044018), ""},
        {"a warning without an error's number", 0x00044008, ""},
        {"another facility", static_cast<HRESULT>(0x80074001), ""},
    };
    for (const auto& row : kRows) EXPECT_EQ(MessageOf(row.code, 512), row.text) << row.name;
}

}  // namespace
}  // namespace talvo::test
