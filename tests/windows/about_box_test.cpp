// The About box, driven from a second thread while it is shown.
#include <windows.h>
#include <commctrl.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

#include "tests/windows/user_interface.h"

namespace talvo::test {
namespace {

constexpr DWORD kBlue = 0x0000FF, kPurple = 0x800080;
constexpr int kVersion = 201, kProduct = 205, kSupport = 206, kEmail = 207, kWeb = 208, kPhone = 209;
constexpr LPARAM kOnLabel = MAKELPARAM(10, 5);

// What the shell was asked for; it answers as told.
std::mutex g_shellLock;
std::string g_opened;
INT_PTR g_shellAnswer = 42;

HINSTANCE WINAPI FakeShellExecute(HWND, const char* verb, const char* target, const char*, const char*, INT show) {
    std::lock_guard hold(g_shellLock);
    g_opened += std::string(verb) + " " + target + (show == SW_SHOWNORMAL ? ";" : " in another way;");
    return reinterpret_cast<HINSTANCE>(g_shellAnswer);
}

std::string TakeOpened() {
    std::lock_guard hold(g_shellLock);
    return std::exchange(g_opened, "");
}

constexpr const char* kOpensWeb = "open https://www.talvo.example;";

HWND FindBox() {
    const HWND box = FindWindowA("#32770", "About Talvo Binary Encoding");
    return box && IsWindowVisible(box) ? box : nullptr;
}

class AboutBox : public testing::Test {
protected:
    // Shows the box; `drive` runs meanwhile on another thread.
    void Show(const std::function<void(HWND)>& drive) {
        std::thread driver([&] {
            if (!WaitUntil([] { return FindBox() != nullptr; })) {
                ADD_FAILURE() << "the box does not appear";
                return;
            }
            const HWND box = FindBox();
            SendMessageA(box, WM_NULL, 0, 0);
            UpdateWindow(box);
            drive(box);
            if (IsWindow(box)) SendMessageA(box, WM_COMMAND, IDCANCEL, 0);
        });
        EXPECT_EQ(Name(component_->AboutBox()), "S_OK");
        driver.join();
    }

    com::ComPtr<DTalvoBinaryEncoding> component_ = Create<DTalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
    ImportHook shell_{"shell32.dll", "ShellExecuteA", &FakeShellExecute};
};

std::string Text(HWND window) {
    char text[512];
    GetWindowTextA(window, text, sizeof text);
    return text;
}

Pixels Look(HWND control) { return ScreenPixels(ScreenPlace(control)); }

// Whether the label is drawn in the colour: its underline alone is many pixels of it. Screens are slow.
bool HasColour(HWND link, DWORD colour) { return std::ranges::count(Look(link).Colours, colour) > 40; }
bool Shows(HWND link, DWORD colour) {
    return WaitUntil([&] { return HasColour(link, colour); });
}

void Click(HWND link) {
    SendMessageA(link, WM_LBUTTONDOWN, 0, kOnLabel);
    SendMessageA(link, WM_LBUTTONUP, 0, kOnLabel);
}

// The texts that the tooltips of the box show.
std::vector<std::string> Tooltips(HWND box) {
    std::vector<std::string> texts;
    for (HWND tip = nullptr; (tip = FindWindowExA(nullptr, tip, TOOLTIPS_CLASSA, nullptr));) {
        if (GetWindow(tip, GW_OWNER) != box) continue;
        char text[256] = "";
        TTTOOLINFOA tool{};
        tool.cbSize = TTTOOLINFOA_V2_SIZE;
        SendMessageA(tip, TTM_ENUMTOOLSA, 0, reinterpret_cast<LPARAM>(&tool));
        tool.lpszText = text;
        SendMessageA(tip, TTM_GETTEXTA, 0, reinterpret_cast<LPARAM>(&tool));
        texts.emplace_back(text);
    }
    std::ranges::sort(texts);
    return texts;
}

// Places and texts are the resource's. The module adds the titles' font, the version, the links and their tooltips, and
// puts the box over its owner or the screen.
TEST_F(AboutBox, Contents) {
    const HWND owner =
        CreateWindowA("Static", "owner", WS_POPUP, 300, 200, 500, 400, nullptr, nullptr, nullptr, nullptr);
    for (const bool owned : {false, true}) {
        if (owned) ShowWindow(owner, SW_SHOW), SetActiveWindow(owner);
        Show([&](HWND box) {
            RECT over = ScreenPlace(owner);
            if (!owned) SystemParametersInfoA(SPI_GETWORKAREA, 0, &over, 0);
            const RECT place = ScreenPlace(box);
            EXPECT_EQ(GetWindow(box, GW_OWNER), owned ? owner : nullptr);
            EXPECT_LE(std::abs((place.left + place.right) - (over.left + over.right)), 2);
            EXPECT_LE(std::abs((place.top + place.bottom) - (over.top + over.bottom)), 2);
            EXPECT_TRUE(Shows(GetDlgItem(box, kEmail), kBlue));
            EXPECT_FALSE(HasColour(GetDlgItem(box, kPhone), kBlue));
            if (!owned) KeepPicture("about_box", ScreenPixels(place));
            for (const int id : {kProduct, kSupport}) {
                LOGFONTA font{};
                GetObjectA(reinterpret_cast<HFONT>(SendDlgItemMessageA(box, id, WM_GETFONT, 0, 0)), sizeof font, &font);
                EXPECT_STREQ(font.lfFaceName, "Arial") << id;
                EXPECT_EQ(font.lfHeight, 18) << id;
                EXPECT_EQ(font.lfWeight, FW_BOLD) << id;
            }
            EXPECT_EQ(Text(GetDlgItem(box, kVersion)), "1.1.0.0");
            EXPECT_TRUE(ShowsPicture(GetDlgItem(box, -1)));
            EXPECT_EQ(Tooltips(box), (std::vector<std::string>{"https://www.talvo.example", "support@talvo.example"}));
        });
    }
    DestroyWindow(owner);
}

// A hand over the label and nowhere else; a press holds the mouse until it is let go of or taken away.
TEST_F(AboutBox, LinksByMouse) {
    ASSERT_TRUE(shell_.Works());
    const LPARAM off = MAKELPARAM(10, 60), beside = MAKELPARAM(190, 5);
    const struct {
        UINT message;
        LPARAM place;
        bool holds;
        const char* opens = "";
    } kSteps[] = {
        {WM_LBUTTONDOWN, kOnLabel, true}, {WM_MOUSEMOVE, off, true},
        {WM_LBUTTONUP, off, false},       {WM_LBUTTONDOWN, beside, false},
        {WM_LBUTTONUP, kOnLabel, false},  {WM_LBUTTONDOWN, kOnLabel, true},
        {WM_CANCELMODE, 0, false},        {WM_LBUTTONUP, kOnLabel, false},
        {WM_LBUTTONDOWN, kOnLabel, true}, {WM_LBUTTONUP, kOnLabel, false, kOpensWeb},
    };
    Show([&](HWND box) {
        const HWND link = GetDlgItem(box, kWeb);
        for (const auto& step : kSteps) {
            SCOPED_TRACE(&step - kSteps);
            SendMessageA(link, step.message, 0, step.place);
            GUITHREADINFO thread{};
            thread.cbSize = sizeof thread;
            GetGUIThreadInfo(GetWindowThreadProcessId(box, nullptr), &thread);
            EXPECT_EQ(thread.hwndCapture == link, step.holds);
            EXPECT_EQ(thread.hwndFocus, link);
            EXPECT_EQ(TakeOpened(), step.opens);
        }
        Click(GetDlgItem(box, kEmail));
        EXPECT_EQ(TakeOpened(),
                  "open mailto:support@talvo.example?subject=Talvo%20Binary%20Encoding%201.1%20Support%20Question;");
        for (const LPARAM place : {kOnLabel, beside}) {
            POINT point{LOWORD(place), HIWORD(place)};
            ClientToScreen(link, &point);
            const auto lParam = MAKELPARAM(HTCLIENT, WM_MOUSEMOVE);
            EXPECT_TRUE(WaitUntil([&] {
                return SetCursorPos(point.x, point.y) &&
                       SendMessageA(link, WM_SETCURSOR, reinterpret_cast<WPARAM>(link), lParam) == (place == kOnLabel);
            }));
            CURSORINFO shown{};
            shown.cbSize = sizeof shown;
            GetCursorInfo(&shown);
            EXPECT_EQ(shown.hCursor == LoadCursorA(nullptr, IDC_HAND), place == kOnLabel);
        }
    });
}

// A rectangle shows the focus. Keys go the way of typed ones, through the dialog's message loop.
TEST_F(AboutBox, LinksByKeyboard) {
    Show([](HWND box) {
        const HWND link = GetDlgItem(box, kWeb);
        EXPECT_TRUE(Shows(link, kBlue));
        const Pixels before = Look(link);
        for (const int focused : {kWeb, IDCANCEL, kWeb}) {
            SendMessageA(box, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(box, focused)), TRUE);
            EXPECT_TRUE(WaitUntil([&] { return (Look(link) == before) == (focused == IDCANCEL); }));
        }
        const auto type = [&](WPARAM key) {
            PostMessageA(link, WM_KEYDOWN, key, 1);
            PostMessageA(link, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
        };
        std::string opened;
        for (const WPARAM key : {WPARAM{'A'}, WPARAM{VK_RETURN}, WPARAM{VK_SPACE}}) type(key);
        EXPECT_TRUE(WaitUntil([&] { return (opened += TakeOpened()) == std::string(kOpensWeb) + kOpensWeb; }))
            << opened;
        EXPECT_TRUE(IsWindow(box));
        type(VK_ESCAPE);
        EXPECT_TRUE(WaitUntil([&] { return !IsWindow(box); }));
    });
}

// The user's colours for links are read from a registry of the test's own.
TEST_F(AboutBox, ColoursBeforeAndAfterTheVisit) {
    constexpr const char* kOwn = "TalvoTestOfColours";
    constexpr DWORD kRed = 0xFF0000, kGreen = 0x008000;
    const struct {
        bool theirs;
        INT_PTR shell;
        DWORD before, after;
    } kRows[] = {{false, 33, kBlue, kPurple}, {true, 33, kRed, kGreen}, {true, 32, kRed, kRed}};
    HKEY own = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, kOwn, &own);
    RegOverridePredefKey(HKEY_CURRENT_USER, own);
    for (const auto& row : kRows) {
        constexpr const char* kKey = "Software\\Microsoft\\Internet Explorer\\Settings";
        if (row.theirs) {
            RegSetKeyValueA(HKEY_CURRENT_USER, kKey, "Anchor Color", REG_SZ, "255,0,0", 8);
            RegSetKeyValueA(HKEY_CURRENT_USER, kKey, "Anchor Color Visited", REG_SZ, "0,128,0", 8);
        }
        g_shellAnswer = row.shell;
        Show([&](HWND box) {
            SCOPED_TRACE(&row - kRows);
            const HWND link = GetDlgItem(box, kWeb);
            EXPECT_TRUE(Shows(link, row.before));
            if (&row == kRows) KeepPicture("link_before", Look(link));
            SendMessageA(link, WM_CHAR, VK_SPACE, 0);
            EXPECT_EQ(TakeOpened(), kOpensWeb);
            EXPECT_TRUE(Shows(link, row.after));
            if (&row == kRows) KeepPicture("link_after", Look(link));
            EXPECT_TRUE(row.after == row.before || !HasColour(link, row.before));
            EXPECT_TRUE(Shows(GetDlgItem(box, kEmail), row.before));  // each link has a visit of its own
        });
    }
    g_shellAnswer = 42;
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegCloseKey(own);
    RegDeleteTreeA(HKEY_CURRENT_USER, kOwn);
}

TEST_F(AboutBox, NothingIsLeftBehind) {
    const auto once = [&] { Show([](HWND box) { Click(GetDlgItem(box, kWeb)); }); };
    once();
    const int objects = CountDrawingObjects();
    ASSERT_GT(objects, 0);
    for (int i = 0; i < 100; ++i) once();
    EXPECT_EQ(CountDrawingObjects(), objects);
    TakeOpened();
}

INT_PTR WINAPI NoDialog(HINSTANCE, LPCWSTR, HWND, DLGPROC, LPARAM) { return -1; }
HFONT WINAPI NoFont(int, int, int, int, int, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, LPCWSTR) {
    return nullptr;
}
HFONT WINAPI NoLinkFont(const LOGFONTA*) { return nullptr; }
DWORD WINAPI NoVersion(LPCWSTR, DWORD*) { return 0; }
HWND WINAPI NoWindow(DWORD, LPCSTR, LPCSTR, DWORD, int, int, int, int, HWND, HMENU, HINSTANCE, void*) {
    return nullptr;
}
LSTATUS WINAPI NoKey(HKEY, LPCSTR, DWORD, REGSAM, HKEY*) { return ERROR_ACCESS_DENIED; }

TEST_F(AboutBox, WhateverFails) {
    {
        const ImportHook none("user32.dll", "DialogBoxParamW", &NoDialog);
        ASSERT_TRUE(none.Works());
        EXPECT_EQ(component_->AboutBox(), S_OK);
    }
    const ImportHook hooks[] = {{"gdi32.dll", "CreateFontW", &NoFont},
                                {"gdi32.dll", "CreateFontIndirectA", &NoLinkFont},
                                {"version.dll", "GetFileVersionInfoSizeW", &NoVersion},
                                {"user32.dll", "CreateWindowExA", &NoWindow},
                                {"advapi32.dll", "RegOpenKeyExA", &NoKey}};
    for (const ImportHook& hook : hooks) EXPECT_TRUE(hook.Works());
    Show([](HWND box) {
        EXPECT_EQ(Text(GetDlgItem(box, kVersion)), "0.0.0.0");
        SendMessageA(GetDlgItem(box, kWeb), WM_MOUSEMOVE, 0, kOnLabel);
        SendMessageA(GetDlgItem(box, kWeb), WM_CHAR, VK_RETURN, 0);
        EXPECT_EQ(TakeOpened(), kOpensWeb);
    });
}

// Run by itself, without a screen.
TEST(DISABLED_NoScreen, TheBoxIsAnsweredAllTheSame) {
    OnUiThread([] {
        EXPECT_EQ(CreateWindowA("Static", "", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr), nullptr);
        const auto component = Create<DTalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
        EXPECT_EQ(component->AboutBox(), S_OK);
        SIZEL size{};
        EXPECT_EQ(As<IOleObject>(component)->GetExtent(DVASPECT_CONTENT, &size), S_OK);
        EXPECT_EQ(size.cx, 847);
    });
}

}  // namespace
}  // namespace talvo::test
