// The control's and the About box's rules that need no user interface.
#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "server/control/about_logic.h"
#include "server/control/extent.h"
#include "tests/support/module/module_fixture.h"

namespace talvo::test {
namespace {

TEST(ControlLogic, Extents) {
    for (const auto& [pixelsPerInch, length] : {std::pair{96, 847}, {120, 677}, {144, 564}, {192, 423}, {0, 847}}) {
        EXPECT_EQ(HimetricOfPixels(32, pixelsPerInch), length) << pixelsPerInch;
    }
}

TEST(ControlLogic, PersistedForm) {
    const PersistedForm form = WriteForm({847, 0x7FFFFFFF});
    EXPECT_EQ(std::vector<int>(form.begin(), form.end()),
              (std::vector<int>{1, 0, 0, 0, 0x4F, 0x03, 0, 0, 0xFF, 0xFF, 0xFF, 0x7F}));
    const struct {
        const char* name;
        size_t size, changed;
        BYTE byte;
        HRESULT code;
    } kRows[] = {{"as written", 12, 0, 1, S_OK},
                 {"with more behind it", 13, 0, 1, S_OK},
                 {"one byte missing", 11, 0, 1, STG_E_READFAULT},
                 {"nothing", 0, 0, 1, STG_E_READFAULT},
                 {"a later form", 12, 0, 2, STG_E_INVALIDHEADER},
                 {"too wide", 12, 7, 0x80, DISP_E_OVERFLOW},
                 {"too high", 12, 11, 0xFF, DISP_E_OVERFLOW}};
    for (const auto& row : kRows) {
        std::vector<BYTE> bytes(form.begin(), form.end());
        bytes.push_back(0xEE);
        bytes[row.changed] = row.byte;
        bytes.resize(row.size);
        Extent extent{5, 6};
        EXPECT_EQ(Name(ReadForm(bytes, extent)), Name(row.code)) << row.name;
        EXPECT_EQ(extent, (row.code == S_OK ? Extent{847, 0x7FFFFFFF} : Extent{5, 6})) << row.name;
    }
}

TEST(ControlLogic, Properties) {
    const com::UniqueBstr words = Bstr("wide"), digits = Bstr("500");
    const auto text = [](const com::UniqueBstr& of) { return reinterpret_cast<UINT_PTR>(of.Get()); };
    const struct {
        const char* name;
        VARTYPE type;
        ULONGLONG bits;
        HRESULT code;
        LONG length;  // 99 from before
    } kRows[] = {
        {"none", VT_EMPTY, 0, S_OK, 99},
        {"unsigned", VT_UI4, 0x7FFFFFFF, S_OK, 0x7FFFFFFF},
        {"digits", VT_BSTR, text(digits), S_OK, 500},
        {"words", VT_BSTR, text(words), DISP_E_TYPEMISMATCH, 99},
        {"negative", VT_I4, 0xFFFFFFFB, DISP_E_OVERFLOW, 99},
        {"huge", VT_UI4, 0x80000000, DISP_E_OVERFLOW, 99},
        {"beyond 32 bits", VT_UI8, 0x100000001, DISP_E_OVERFLOW, 99},
        {"an object", VT_UNKNOWN, 0, DISP_E_TYPEMISMATCH, 99},
        {"null", VT_NULL, 0, DISP_E_TYPEMISMATCH, 99},
    };
    for (const auto& row : kRows) {
        VARIANT value{};
        V_VT(&value) = row.type;
        V_UI8(&value) = row.bits;
        LONG length = 99;
        EXPECT_EQ(Name(ReadProperty(value, length)), Name(row.code)) << row.name;
        EXPECT_EQ(length, row.length) << row.name;
    }
}

TEST(ControlLogic, Colours) {
    constexpr int kNone = -1;
    const struct {
        const char* text;
        int colour;  // 0xBBGGRR
    } kRows[] = {{"255,0,0", 0x0000FF},     {"0,128,0", 0x008000}, {"1,2,3", 0x030201}, {" 7 , 8,9 ", 0x090807},
                 {"000,00,0", 0},           {"255,0", kNone},      {"", kNone},         {",,", kNone},
                 {"1,2,3,4", kNone},        {"1,2,", kNone},       {"256,0,0", kNone},  {"-1,0,0", kNone},
                 {"1;2;3", kNone},          {"1,2,3x", kNone},     {"0x1,2,3", kNone},  {"1 1,2,3", kNone},
                 {"99999999999,0,0", kNone}};
    for (const auto& row : kRows) {
        const auto colour = ParseColour(row.text);
        EXPECT_EQ(colour ? static_cast<int>(*colour) : kNone, row.colour) << row.text;
    }
}

TEST(ControlLogic, Links) {
    LinkState link;
    for (const bool on : {false, true}) {
        for (const bool off : {false, true}) {
            EXPECT_EQ(link.Press(on), on);
            EXPECT_EQ(link.Release(off), on && off);
            EXPECT_FALSE(link.Release(true));
        }
    }
    link.Press(true);
    link.LoseMouse();
    EXPECT_FALSE(link.Release(true));

    EXPECT_EQ(link.CurrentColour(), Colour(0, 0, 255));
    EXPECT_FALSE(link.Opened(32));
    EXPECT_EQ(link.CurrentColour(), Colour(0, 0, 255));
    EXPECT_TRUE(link.Opened(33));
    EXPECT_FALSE(link.Opened(33));
    EXPECT_EQ(link.CurrentColour(), Colour(128, 0, 128));
    link.SetColours(std::nullopt, Colour(0, 128, 0));
    EXPECT_EQ(link.CurrentColour(), Colour(0, 128, 0));
}

TEST(ControlLogic, Versions) {
    EXPECT_STREQ(FormatVersion(0x00010001, 0x00660000).data(), "1.1.102.0");
    EXPECT_STREQ(FormatVersion(0xFFFFFFFF, 0xFFFFFFFF).data(), "65535.65535.65535.65535");
}

TEST(ControlLogic, Places) {
    const Area work{0, 20, 1000, 720};
    const struct {
        const char* name;
        LONG width, height;
        Area over, place;
    } kRows[] = {{"in the middle", 200, 100, {300, 300, 700, 500}, {400, 350, 600, 450}},
                 {"beyond the left and upper edge", 200, 100, {-300, 0, 100, 40}, {0, 20, 200, 120}},
                 {"beyond the right and lower edge", 200, 100, {950, 700, 1000, 720}, {800, 620, 1000, 720}},
                 {"too large", 1200, 900, {0, 20, 1000, 720}, {0, 20, 1200, 920}}};
    for (const auto& row : kRows) EXPECT_EQ(Centre(row.width, row.height, row.over, work), row.place) << row.name;
}

}  // namespace
}  // namespace talvo::test
