// The About box, driven from a second thread while it is shown.
#include <windows.h>
#include <commctrl.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

#include "tests/windows/control.h"

namespace talvo::test {
namespace {

constexpr DWORD kBlue = 0x0000FF, kPurple = 0x800080;
constexpr int kVersion = 201, kEmail = 207, kWeb = 208;
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

const std::string kOpensWeb = "open https://www.talvo.example;";

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

std::string ClassOf(HWND window) {
    char text[64] = "";
    GetClassNameA(window, text, sizeof text);
    return text;
}

// From dialog units: each number by itself, as the system places controls.
RECT Pixel(HWND box, RECT units) {
    MapDialogRect(box, &units);
    return units;
}

Pixels Look(HWND control) { return ScreenPixels(ScreenPlace(control)); }

// Whether the label is drawn in the colour: its underline alone is many pixels of it. Screens are slow.
bool HasColour(HWND link, DWORD colour) { return std::ranges::count(Look(link).Colours, colour) > 40; }
bool Shows(HWND link, DWORD colour) {
    return WaitUntil([&] { return HasColour(link, colour); });
}

void Focus(HWND box, int id) { SendMessageA(box, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(box, id)), TRUE); }

void Click(HWND link) {
    SendMessageA(link, WM_LBUTTONDOWN, 0, kOnLabel);
    SendMessageA(link, WM_LBUTTONUP, 0, kOnLabel);
}

struct BoxControl {
    int id;
    RECT place;  // x, y, width, height in dialog units
    const char* text;
};
const BoxControl kControls[] = {
    // in their order
    {IDCANCEL, {192, 169, 52, 14}, "Close"},
    {-1, {4, 24, 0, 0}, ""},  // the picture, of its own size
    {205, {4, 4, 240, 15}, "Talvo Binary Encoding"},
    {-1, {28, 24, 216, 8}, "TalvoBinaryEncoding ActiveX Control"},
    {-1, {28, 44, 32, 8}, "Version"},
    {kVersion, {64, 44, 180, 8}, "1.1.0.0"},
    {206, {4, 60, 240, 15}, "Talvo Software Technical Support"},
    {-1,
     {4, 81, 240, 20},
     "Our expert technical support staff will be pleased to help you with any support questions or issues."},
    {-1,
     {4, 105, 240, 30},
     "If you're short on time and can't solve your problem, please don't hesitate to contact us. You'll be surprised "
     "at how fast most queries are responded to during regular business hours!"},
    {-1, {4, 137, 80, 8}, "By email at:"},
    {-1, {4, 145, 80, 8}, "From our web site at:"},
    {-1, {4, 153, 80, 8}, "By phone at:"},
    {kEmail, {92, 137, 80, 8}, "support@talvo.example"},
    {kWeb, {92, 145, 124, 8}, "https://www.talvo.example"},
    {209, {92, 153, 56, 8}, "+1 555 0100"},
};

void ExpectAsDesigned(HWND box, HWND control, const BoxControl& row) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(GetDlgCtrlID(control), row.id);
    const bool isPicture = !*row.text;
    EXPECT_EQ(ClassOf(control), row.id == IDCANCEL ? "Button" : "Static");
    EXPECT_EQ(GetWindowLongA(control, GWL_STYLE) & 0xF, row.id == IDCANCEL ? BS_DEFPUSHBUTTON
                                                        : isPicture        ? SS_BITMAP
                                                                           : SS_LEFT);
    EXPECT_EQ((GetWindowLongA(control, GWL_EXSTYLE) & WS_EX_TRANSPARENT) != 0, isPicture);

    RECT place = ScreenPlace(control);
    const Pixels seen = ScreenPixels({place.left, place.top, place.left + 32, place.top + 32});
    MapWindowPoints(nullptr, box, reinterpret_cast<POINT*>(&place), 2);
    const RECT expected = Pixel(box, row.place);
    EXPECT_EQ(Show({place.left, place.top}), Show({expected.left, expected.top}));
    if (isPicture) {
        EXPECT_EQ(seen, Picture());
        return;
    }
    EXPECT_EQ(Show({place.right - place.left, place.bottom - place.top}), Show({expected.right, expected.bottom}));
    EXPECT_EQ(Text(control), row.text);
    LOGFONTA font{};
    GetObjectA(reinterpret_cast<HFONT>(SendMessageA(control, WM_GETFONT, 0, 0)), sizeof font, &font);
    const bool isTitle = row.id == 205 || row.id == 206;
    EXPECT_STREQ(font.lfFaceName, isTitle ? "Arial" : "Verdana");
    EXPECT_EQ(font.lfHeight, isTitle ? 18 : -11);
    EXPECT_EQ(font.lfWeight, isTitle ? FW_BOLD : FW_NORMAL);
}

// Adds the text of a tooltip.
BOOL CALLBACK AddTooltip(HWND window, LPARAM texts) {
    if (ClassOf(window) != TOOLTIPS_CLASSA) return TRUE;
    char text[256] = "";
    TTTOOLINFOA tool{};
    tool.cbSize = TTTOOLINFOA_V2_SIZE;
    SendMessageA(window, TTM_ENUMTOOLSA, 0, reinterpret_cast<LPARAM>(&tool));
    tool.lpszText = text;
    SendMessageA(window, TTM_GETTEXTA, 0, reinterpret_cast<LPARAM>(&tool));
    reinterpret_cast<std::vector<std::string>*>(texts)->emplace_back(text);
    return TRUE;
}

TEST_F(AboutBox, Layout) {
    Show([](HWND box) {
        RECT client;
        GetClientRect(box, &client);
        const RECT expected = Pixel(box, {0, 0, 247, 185});
        EXPECT_TRUE(EqualRect(&client, &expected));
        constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
        EXPECT_EQ(static_cast<DWORD>(GetWindowLongA(box, GWL_STYLE)) & (kStyle | WS_THICKFRAME), kStyle);
        EXPECT_TRUE(Shows(GetDlgItem(box, kEmail), kBlue));
        EXPECT_FALSE(HasColour(GetDlgItem(box, 209), kBlue));
        KeepPicture("about_box", ScreenPixels(ScreenPlace(box)));

        HWND control = GetWindow(box, GW_CHILD);
        for (const BoxControl& row : kControls) {
            ExpectAsDesigned(box, control, row);
            control = GetWindow(control, GW_HWNDNEXT);
        }
        EXPECT_EQ(control, nullptr);
        std::vector<std::string> tips;
        EnumThreadWindows(GetWindowThreadProcessId(box, nullptr), &AddTooltip, reinterpret_cast<LPARAM>(&tips));
        std::ranges::sort(tips);
        EXPECT_EQ(tips, (std::vector<std::string>{"https://www.talvo.example", "support@talvo.example"}));
    });
}

TEST_F(AboutBox, InTheMiddle) {
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
        });
    }
    DestroyWindow(owner);
}

TEST_F(AboutBox, LinksByMouse) {
    ASSERT_TRUE(shell_.Works());
    struct Step {
        UINT message;
        LPARAM place;
    };
    const LPARAM on = kOnLabel, off = MAKELPARAM(10, 60), beside = MAKELPARAM(180, 5);
    const struct {
        const char* name;
        std::vector<Step> steps;
        std::string opened;
    } kRows[] = {
        {"pressed and released", {{WM_LBUTTONDOWN, on}, {WM_LBUTTONUP, on}}, kOpensWeb},
        {"moved off, released", {{WM_LBUTTONDOWN, on}, {WM_MOUSEMOVE, off}, {WM_LBUTTONUP, off}}, ""},
        {"moved off and back", {{WM_LBUTTONDOWN, on}, {WM_MOUSEMOVE, off}, {WM_LBUTTONUP, on}}, kOpensWeb},
        {"released only", {{WM_LBUTTONUP, on}}, ""},
        {"beside the label", {{WM_LBUTTONDOWN, beside}, {WM_LBUTTONUP, on}}, ""},
        {"capture lost", {{WM_LBUTTONDOWN, on}, {WM_CANCELMODE, 0}, {WM_LBUTTONUP, on}}, ""},
        {"other button", {{WM_RBUTTONDOWN, on}, {WM_RBUTTONUP, on}}, ""},
    };
    Show([&](HWND box) {
        const HWND link = GetDlgItem(box, kWeb);
        for (const auto& row : kRows) {
            for (const Step& step : row.steps) {
                SendMessageA(link, step.message, 0, step.place);
                GUITHREADINFO thread{};
                thread.cbSize = sizeof thread;
                GetGUIThreadInfo(GetWindowThreadProcessId(box, nullptr), &thread);
                const bool captured =
                    step.message == WM_MOUSEMOVE || (step.message == WM_LBUTTONDOWN && step.place == on);
                EXPECT_EQ(thread.hwndCapture == link, captured) << row.name;
                EXPECT_TRUE(!captured || thread.hwndFocus == link) << row.name;
            }
            EXPECT_EQ(TakeOpened(), row.opened) << row.name;
        }
        Click(GetDlgItem(box, kEmail));
        EXPECT_EQ(TakeOpened(),
                  "open mailto:support@talvo.example?subject=Talvo%20Binary%20Encoding%201.1%20Support%20Question;");
    });
}

// A hand over the label and nowhere else; a rectangle around it while it has the focus.
TEST_F(AboutBox, PointerAndFocus) {
    Show([](HWND box) {
        const HWND link = GetDlgItem(box, kWeb);
        for (const bool over : {true, false}) {
            POINT point{over ? 10 : 190, 5};
            ClientToScreen(link, &point);
            ASSERT_TRUE(WaitUntil([&] {
                POINT now{};
                return SetCursorPos(point.x, point.y) && GetCursorPos(&now) && now.x == point.x && now.y == point.y;
            }));
            EXPECT_EQ(
                SendMessageA(link, WM_SETCURSOR, reinterpret_cast<WPARAM>(link), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE)),
                over);
            CURSORINFO shown{};
            shown.cbSize = sizeof shown;
            GetCursorInfo(&shown);
            EXPECT_EQ(shown.hCursor == LoadCursorA(nullptr, IDC_HAND), over);
        }
        EXPECT_TRUE(Shows(link, kBlue));
        const Pixels before = Look(link);
        Focus(box, kWeb);
        EXPECT_TRUE(WaitUntil([&] { return !(Look(link) == before); }));
        Focus(box, IDCANCEL);
        EXPECT_TRUE(WaitUntil([&] { return Look(link) == before; }));
    });
}

// Keys go the way of typed ones, through the dialog's message loop.
TEST_F(AboutBox, Keyboard) {
    const struct {
        const char* name;
        int focus;
        WPARAM key;
        std::string opened;
        bool closes;
    } kRows[] = {
        {"Enter on a link", kWeb, VK_RETURN, kOpensWeb, false}, {"Space on a link", kWeb, VK_SPACE, kOpensWeb, false},
        {"a letter on a link", kWeb, 'A', "", false},           {"Escape on a link", kWeb, VK_ESCAPE, "", true},
        {"Enter on the button", IDCANCEL, VK_RETURN, "", true}, {"Escape on the button", IDCANCEL, VK_ESCAPE, "", true},
    };
    for (const auto& row : kRows) {
        Show([&](HWND box) {
            const HWND control = GetDlgItem(box, row.focus);
            Focus(box, row.focus);
            PostMessageA(control, WM_KEYDOWN, row.key, 1);
            PostMessageA(control, WM_KEYUP, row.key, static_cast<LPARAM>(0xC0000001));
            const DWORD start = GetTickCount();
            std::string opened;
            WaitUntil([&] {
                opened += TakeOpened();
                return row.closes ? !IsWindow(box) : !opened.empty() || GetTickCount() - start > 300;
            });
            EXPECT_EQ(opened, row.opened) << row.name;
            EXPECT_EQ(IsWindow(box) == FALSE, row.closes) << row.name;
        });
    }
}

// The user's colours for links are read from a registry of the test's own.
TEST_F(AboutBox, ColoursBeforeAndAfterTheVisit) {
    constexpr const char* kOwn = "TalvoTestOfColours";
    constexpr DWORD kRed = 0xFF0000, kGreen = 0x008000;
    const struct {
        const char* link;
        const char* visited;
        INT_PTR shell;
        DWORD before, after;
    } kRows[] = {
        {nullptr, nullptr, 33, kBlue, kPurple},  {"255,0,0", "0,128,0", 33, kRed, kGreen},
        {"255,0,0", nullptr, 33, kRed, kPurple}, {"red", "0,128,256", 33, kBlue, kPurple},
        {"255,0,0", "0,128,0", 32, kRed, kRed},  {nullptr, nullptr, SE_ERR_NOASSOC, kBlue, kBlue},
    };
    HKEY own = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, kOwn, &own);
    RegOverridePredefKey(HKEY_CURRENT_USER, own);
    for (const auto& row : kRows) {
        for (const auto& [name, text] : {std::pair{"Anchor Color", row.link}, {"Anchor Color Visited", row.visited}}) {
            constexpr const char* kKey = "Software\\Microsoft\\Internet Explorer\\Settings";
            RegDeleteKeyValueA(HKEY_CURRENT_USER, kKey, name);
            if (text)
                RegSetKeyValueA(HKEY_CURRENT_USER, kKey, name, REG_SZ, text, static_cast<DWORD>(std::strlen(text) + 1));
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
    const int windows = CountWindows();
    ASSERT_GT(objects, 0);
    for (int i = 0; i < 100; ++i) once();
    EXPECT_EQ(CountDrawingObjects(), objects);
    EXPECT_EQ(CountWindows(), windows);
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
