// Narrow and wide text, for the code pages that both sides have: UTF-8 and 1252.
#include "tests/platform/kit.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using Wide = std::basic_string<WCHAR>;

Wide Units(std::initializer_list<unsigned> units) {
    Wide text;
    for (const unsigned unit : units) text += static_cast<WCHAR>(unit);
    return text;
}

TEST(CodePage, NarrowToWide) {
    const struct {
        const char* name;
        UINT codePage;
        std::string_view narrow;
        Wide wide;
        bool valid = true;
    } rows[] = {
        {"two to four bytes", CP_UTF8, "\xC3\xA9\xF0\x9F\x98\x80\xE2\x82\xAC", Units({0xE9, 0xD83D, 0xDE00, 0x20AC})},
        {"limits", CP_UTF8, "\xED\x9F\xBF\xF4\x8F\xBF\xBF\xEE\x80\x80", Units({0xD7FF, 0xDBFF, 0xDFFF, 0xE000})},
        {"lone continuation", CP_UTF8, "a\x80z", Units({'a', 0xFFFD, 'z'}), false},
        {"broken off", CP_UTF8, "\xE2(\xC3", Units({0xFFFD, '(', 0xFFFD}), false},
        {"overlong", CP_UTF8, "\xC0\xAF\xE0\x80\xAF", Units({0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}), false},
        {"surrogate", CP_UTF8, "\xED\xA0\x80", Units({0xFFFD, 0xFFFD}), false},
        {"too high", CP_UTF8, "\xF4\x90\x80\x80\xF8", Units({0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}), false},
        {"1252", 1252, "a\x80\x9F\xA0\xFF", Units({'a', 0x20AC, 0x178, 0xA0, 0xFF})},
        {"1252 without character", 1252, "\x81\x8D\x8F\x90\x9D", Units({0x81, 0x8D, 0x8F, 0x90, 0x9D})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto convert = [&row](DWORD flags, WCHAR* target, int room) {
            SetLastError(0);
            return MultiByteToWideChar(row.codePage, flags, row.narrow.data(), static_cast<int>(row.narrow.size()),
                                       target, room);
        };
        const int expected = static_cast<int>(row.wide.size());
        WCHAR buffer[16] = {};
        EXPECT_EQ(convert(0, nullptr, 0), expected);
        EXPECT_EQ(convert(MB_PRECOMPOSED, buffer, expected), expected);
        EXPECT_EQ(Wide(buffer, row.wide.size()), row.wide);
        EXPECT_EQ(convert(0, buffer, expected - 1), 0);
        EXPECT_EQ(LastError(), ERROR_INSUFFICIENT_BUFFER);
        EXPECT_EQ(convert(MB_ERR_INVALID_CHARS, buffer, 16), row.valid ? expected : 0);
        EXPECT_EQ(LastError(), row.valid ? 0 : ERROR_NO_UNICODE_TRANSLATION);
    }
}

TEST(CodePage, WideToNarrow) {
    const struct {
        const char* name;
        UINT codePage;
        Wide wide;
        std::string narrow;
        BOOL usedDefault = FALSE;
    } rows[] = {
        {"one to four bytes", CP_UTF8, Units({'a', 0xE9, 0x20AC, 0xD83D, 0xDE00}),
         "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"half a pair", CP_UTF8, Units({'a', 0xD800, 'b', 0xDC00}),
         "a\xEF\xBF\xBD"
         "b\xEF\xBF\xBD",
         TRUE},
        {"1252", 1252, Units({'a', 0xE9, 0x20AC, 0x178, 0x81}), "a\xE9\x80\x9F\x81"},
        {"no character", 1252, Units({'a', 0x3B1, 'b'}), "a#b", TRUE},
        {"a pair is two", 1252, Units({0xD83D, 0xDE00}), "##", TRUE},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const bool utf8 = row.codePage == CP_UTF8;
        const DWORD flags = utf8 ? 0 : WC_NO_BEST_FIT_CHARS;
        const int length = static_cast<int>(row.wide.size());
        const int expected = static_cast<int>(row.narrow.size());
        char buffer[32] = {};
        BOOL used = 7;
        const auto convert = [&](DWORD extra, char* target, int size) {
            return WideCharToMultiByte(row.codePage, flags | extra, row.wide.data(), length, target, size,
                                       utf8 ? nullptr : "#", utf8 ? nullptr : &used);
        };
        EXPECT_EQ(convert(0, nullptr, 0), expected);
        EXPECT_EQ(convert(0, buffer, expected), expected);
        EXPECT_EQ(std::string(buffer, row.narrow.size()), row.narrow);
        EXPECT_EQ(convert(0, buffer, expected - 1), 0);
        EXPECT_EQ(LastError(), ERROR_INSUFFICIENT_BUFFER);
        if (!utf8) {
            EXPECT_EQ(used, row.usedDefault);
        } else if (row.usedDefault) {
            EXPECT_EQ(convert(WC_ERR_INVALID_CHARS, buffer, 32), 0);
            EXPECT_EQ(LastError(), ERROR_NO_UNICODE_TRANSLATION);
        }
    }
}

}  // namespace
