// The resources that only a Windows module has: pictures, the About box, the version.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {
namespace {

// `type` is one of the system's, RT_...
std::vector<BYTE> Resource(const char* type, WORD id) {
    const HMODULE module = Module::Get().Handle();
    const HRSRC place = FindResourceA(module, MAKEINTRESOURCEA(id), type);
    const auto* const data = place ? static_cast<const BYTE*>(LockResource(LoadResource(module, place))) : nullptr;
    return data ? std::vector<BYTE>(data, data + SizeofResource(module, place)) : std::vector<BYTE>();
}

TEST(WindowsResources, BitmapsHaveSixteenColours) {
    const struct {
        WORD id;
        LONG width, height;
    } kRows[] = {{101, 16, 15}, {201, 32, 32}};
    for (const auto& row : kRows) {
        const std::vector<BYTE> data = Resource(RT_BITMAP, row.id);
        BITMAPINFOHEADER header{};
        ASSERT_GT(data.size(), sizeof header) << row.id;
        std::memcpy(&header, data.data(), sizeof header);
        EXPECT_EQ(header.biWidth, row.width) << row.id;
        EXPECT_EQ(header.biHeight, row.height) << row.id;
        EXPECT_EQ(header.biBitCount, 4) << row.id;
        const auto rowBytes = static_cast<size_t>((row.width + 7) / 8 * 4);
        EXPECT_EQ(data.size(), sizeof header + 16 * sizeof(RGBQUAD) + rowBytes * static_cast<size_t>(row.height));
    }
}

// Reads an extended dialog template.
class Template {
public:
    explicit Template(std::vector<BYTE> data) : data_(std::move(data)) {}

    template <class T>
    T Take() {
        T value{};
        if (at_ + sizeof value <= data_.size()) std::memcpy(&value, &data_[at_], sizeof value);
        at_ += sizeof value;
        return value;
    }
    // A text, or "#number".
    std::string TakeText() {
        std::string text;
        for (WORD character; (character = Take<WORD>()) != 0 && at_ < data_.size();) {
            if (character == 0xFFFF) return "#" + std::to_string(Take<WORD>());
            text += static_cast<char>(character);
        }
        return text;
    }
    // x, y, width, height
    std::string TakePlace() {
        std::string text;
        for (int i = 0; i < 4; ++i) text += (i ? "," : "") + std::to_string(Take<short>());
        return text;
    }
    void AlignToControl() { at_ = (at_ + 3) / 4 * 4; }
    bool AtEnd() const { return at_ == data_.size(); }

private:
    std::vector<BYTE> data_;
    size_t at_ = 0;
};

TEST(WindowsResources, AboutBox) {
    Template box(Resource(RT_DIALOG, 202));
    ASSERT_EQ(box.Take<DWORD>(), 0xFFFF0001u);  // extended, first version
    box.Take<DWORD>();
    box.Take<DWORD>();
    EXPECT_EQ(box.Take<DWORD>() & ~DWORD{DS_SETFONT}, DWORD{WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME});
    const WORD count = box.Take<WORD>();
    EXPECT_EQ(box.TakePlace(), "0,0,247,185");
    for (const char* expected : {"", "", "About Talvo Binary Encoding"}) EXPECT_EQ(box.TakeText(), expected);
    EXPECT_EQ(box.Take<WORD>(), 8);
    box.Take<DWORD>();
    EXPECT_EQ(box.TakeText(), "Verdana");

    constexpr const char* kButton = "#128";
    constexpr const char* kStatic = "#130";
    struct Control {
        DWORD id;
        std::string kind, place, text;
    };
    const Control kControls[] = {
        {IDCANCEL, kButton, "192,169,52,14", "Close"},
        {0xFFFFFFFF, "STATIC", "4,24,18,20", "#201"},
        {205, kStatic, "4,4,240,15", "Talvo Binary Encoding"},
        {0xFFFFFFFF, kStatic, "28,24,216,8", "TalvoBinaryEncoding ActiveX Control"},
        {0xFFFFFFFF, kStatic, "28,44,32,8", "Version"},
        {201, kStatic, "64,44,180,8", "0.0.0.0"},
        {206, kStatic, "4,60,240,15", "Talvo Software Technical Support"},
        {0xFFFFFFFF, kStatic, "4,81,240,20",
         "Our expert technical support staff will be pleased to help you with any support questions or issues."},
        {0xFFFFFFFF, kStatic, "4,105,240,30",
         "If you're short on time and can't solve your problem, please don't hesitate to contact us. You'll be "
         "surprised at how fast most queries are responded to during regular business hours!"},
        {0xFFFFFFFF, kStatic, "4,137,80,8", "By email at:"},
        {0xFFFFFFFF, kStatic, "4,145,80,8", "From our web site at:"},
        {0xFFFFFFFF, kStatic, "4,153,80,8", "By phone at:"},
        {207, kStatic, "92,137,80,8", "support@talvo.example"},
        {208, kStatic, "92,145,124,8", "https://www.talvo.example"},
        {209, kStatic, "92,153,56,8", "+1 555 0100"},
    };
    EXPECT_EQ(count, std::size(kControls));
    for (const Control& row : kControls) {
        box.AlignToControl();
        box.Take<DWORD>();
        const DWORD extended = box.Take<DWORD>();
        const DWORD style = box.Take<DWORD>();
        const std::string place = box.TakePlace();
        EXPECT_EQ(box.Take<DWORD>(), row.id) << row.text;
        EXPECT_EQ(place, row.place) << row.text;
        EXPECT_EQ(box.TakeText(), row.kind) << row.text;
        EXPECT_EQ(box.TakeText(), row.text);
        EXPECT_EQ(box.Take<WORD>(), 0) << "data of the control, " << row.text;
        const DWORD type = row.kind == kButton ? BS_DEFPUSHBUTTON : row.text == "#201" ? SS_BITMAP : SS_LEFT;
        EXPECT_EQ(style & 0xF, type) << row.text;
        EXPECT_EQ((extended & WS_EX_TRANSPARENT) != 0, type == SS_BITMAP) << row.text;
    }
    EXPECT_TRUE(box.AtEnd());
}

TEST(WindowsResources, Version) {
    std::vector<BYTE> data(GetFileVersionInfoSizeA(Module::Get().Path().c_str(), nullptr));
    ASSERT_TRUE(!data.empty() &&
                GetFileVersionInfoA(Module::Get().Path().c_str(), 0, static_cast<DWORD>(data.size()), data.data()));
    UINT size = 0;
    VS_FIXEDFILEINFO* fixed = nullptr;
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\", reinterpret_cast<void**>(&fixed), &size));
    EXPECT_EQ(fixed->dwFileVersionMS, 0x00010001u);
    EXPECT_EQ(fixed->dwFileVersionLS, 0u);
    EXPECT_EQ(fixed->dwFileType, DWORD{VFT_DLL});
    const std::map<std::string, std::string> kTexts = {{"FileDescription", "Talvo Binary Encoding"},
                                                       {"ProductName", "Talvo Binary Encoding"},
                                                       {"FileVersion", "1.1.0.0"},
                                                       {"ProductVersion", "1.1.0.0"},
                                                       {"OriginalFilename", "TalvoBinaryEncoding.dll"}};
    for (const auto& [name, text] : kTexts) {
        char* found = nullptr;
        EXPECT_TRUE(VerQueryValueA(data.data(), ("\\StringFileInfo\\040904B0\\" + name).c_str(),
                                   reinterpret_cast<void**>(&found), &size));
        EXPECT_STREQ(found, text.c_str()) << name;
    }
}

}  // namespace
}  // namespace talvo::test
