// The About box, driven from a second thread while it is shown.
#include <windows.h>
#include <commctrl.h>
#include <shellapi.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "tests/windows/user_interface.h"

namespace talvo::test {
namespace {

constexpr DWORD kBlue = 0x0000FF, kPurple = 0x800080;
constexpr int kEmail = 207, kWeb = 208;

// What the shell was asked for; it answers as told.
std::mutex g_shellLock;
std::string g_opened;
std::atomic<INT_PTR> g_shellAnswer = 42;

HINSTANCE WINAPI FakeShellExecute(HWND, const char* verb, const char* target, const char*, const char*, INT show) {
    std::lock_guard hold(g_shellLock);
    g_opened += std::string(verb) + " " + target + (show == SW_SHOWNORMAL ? ";" : " in another way;");
    return reinterpret_cast<HINSTANCE>(g_shellAnswer.load());
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
    // Shows the box over `owner`, which is made when it is asked for; `drive` runs meanwhile on this thread. False when
    // the box is not closed after it.
    void Show(const std::function<void(HWND)>& drive, bool withOwner = false) {
        std::atomic<HRESULT> result = E_PENDING;
        std::thread shower([&] {
            OnUiThread([&] {
                const HWND owner = withOwner ? CreateWindowA("Static", "owner", WS_POPUP | WS_VISIBLE, 300, 200, 500,
                                                             400, nullptr, nullptr, nullptr, nullptr)
                                             : nullptr;
                if (owner) SetActiveWindow(owner);
                const auto component = Create<DTalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
                result = component->AboutBox();
                if (owner) DestroyWindow(owner);
            });
        });
        if (WaitUntil([&] { return FindBox() != nullptr; })) {
            const HWND box = FindBox();
            SendMessageA(box, WM_NULL, 0, 0);
            UpdateWindow(box);
            drive(box);
            if (IsWindow(box)) SendMessageA(box, WM_COMMAND, IDCANCEL, 0);
        } else {
            ADD_FAILURE() << "the box does not appear";
        }
        shower.join();
        EXPECT_EQ(Name(result), "S_OK");
    }

    ImportHook shell_{"shell32.dll", "ShellExecuteA", &FakeShellExecute};
};

std::string Text(HWND window) {
    char text[512];
    GetWindowTextA(window, text, sizeof text);
    return text;
}

LOGFONTA FontOf(HWND control) {
    LOGFONTA font{};
    GetObjectA(reinterpret_cast<HFONT>(SendMessageA(control, WM_GETFONT, 0, 0)), sizeof font, &font);
    return font;
}

LPARAM At(int x, int y) { return MAKELPARAM(x, y); }

Pixels Look(HWND control) { return ScreenPixels(ScreenPlace(control)); }

// Whether the label is drawn in the colour: its underline alone is many pixels of it. Screens are slow.
bool HasColour(HWND link, DWORD colour) { return Look(link).Count(colour) > 40; }
bool Shows(HWND link, DWORD colour) {
    return WaitUntil([&] { return HasColour(link, colour); });
}

TEST_F(AboutBox, Layout) {
    Show([](HWND box) {
        const struct {
            int id;
            const char* text;
            RECT place;  // x, y, width, height in dialog units
            const char* face;
            LONG height, weight;
        } kRows[] = {
            {IDCANCEL, "Close", {192, 169, 52, 14}, "Verdana", -11, FW_NORMAL},
            {201, "1.1.0.0", {64, 44, 180, 8}, "Verdana", -11, FW_NORMAL},
            {205, "Talvo Binary Encoding", {4, 4, 240, 15}, "Arial", 18, FW_BOLD},
            {206, "Talvo Software Technical Support", {4, 60, 240, 15}, "Arial", 18, FW_BOLD},
            {kEmail, "support@talvo.example", {92, 137, 80, 8}, "Verdana", -11, FW_NORMAL},
            {kWeb, "https://www.talvo.example", {92, 145, 124, 8}, "Verdana", -11, FW_NORMAL},
            {209, "+1 555 0100", {92, 153, 56, 8}, "Verdana", -11, FW_NORMAL},
        };
        for (const auto& row : kRows) {
            const HWND control = GetDlgItem(box, row.id);
            RECT expected = row.place;
            MapDialogRect(box, &expected);  // each number by itself, as the system places controls
            expected.right += expected.left;
            expected.bottom += expected.top;
            RECT place = ScreenPlace(control);
            MapWindowPoints(nullptr, box, reinterpret_cast<POINT*>(&place), 2);
            EXPECT_TRUE(EqualRect(&place, &expected)) << row.text << place.left << "," << place.top;
            EXPECT_EQ(Text(control), row.text);
            const LOGFONTA font = FontOf(control);
            EXPECT_STREQ(font.lfFaceName, row.face) << row.text;
            EXPECT_EQ(font.lfHeight, row.height) << row.text;
            EXPECT_EQ(font.lfWeight, row.weight) << row.text;
        }
        RECT client;
        RECT expected{0, 0, 247, 185};
        GetClientRect(box, &client);
        MapDialogRect(box, &expected);
        EXPECT_TRUE(EqualRect(&client, &expected));
        // The picture, at the place that the layout gives it.
        RECT picture{4, 24, 4, 24};
        MapDialogRect(box, &picture);
        MapWindowPoints(box, nullptr, reinterpret_cast<POINT*>(&picture), 2);
        EXPECT_EQ(ScreenPixels({picture.left, picture.top, picture.left + 32, picture.top + 32}), Picture());
        EXPECT_TRUE(Shows(GetDlgItem(box, kEmail), kBlue));
        EXPECT_FALSE(HasColour(GetDlgItem(box, 209), kBlue));
        KeepPicture("about_box", ScreenPixels(ScreenPlace(box)));
    });
}

TEST_F(AboutBox, Place) {
    RECT work{};
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    for (const bool withOwner : {false, true}) {
        Show(
            [&](HWND box) {
                const RECT place = ScreenPlace(box);
                const HWND owner = GetWindow(box, GW_OWNER);
                EXPECT_EQ(owner != nullptr, withOwner);
                const RECT over = owner ? ScreenPlace(owner) : work;
                EXPECT_LE(std::abs((place.left + place.right) - (over.left + over.right)), 2);
                EXPECT_LE(std::abs((place.top + place.bottom) - (over.top + over.bottom)), 2);
            },
            withOwner);
    }
}

// Adds the text of a tooltip.
BOOL CALLBACK AddTooltip(HWND window, LPARAM texts) {
    char text[256] = "";
    GetClassNameA(window, text, sizeof text);
    if (std::strcmp(text, TOOLTIPS_CLASSA) != 0) return TRUE;
    TTTOOLINFOA tool{};
    tool.cbSize = TTTOOLINFOA_V2_SIZE;
    SendMessageA(window, TTM_ENUMTOOLSA, 0, reinterpret_cast<LPARAM>(&tool));
    tool.lpszText = text;
    SendMessageA(window, TTM_GETTEXTA, 0, reinterpret_cast<LPARAM>(&tool));
    *reinterpret_cast<std::string*>(texts) += std::string(text) + ";";
    return TRUE;
}

TEST_F(AboutBox, Tooltips) {
    Show([](HWND box) {
        std::string texts;
        EnumThreadWindows(GetWindowThreadProcessId(box, nullptr), &AddTooltip, reinterpret_cast<LPARAM>(&texts));
        EXPECT_TRUE(texts == "support@talvo.example;https://www.talvo.example;" ||
                    texts == "https://www.talvo.example;support@talvo.example;")
            << texts;
    });
}

TEST_F(AboutBox, LinksByMouse) {
    ASSERT_TRUE(shell_.Works());
    struct Step {
        UINT message;
        LPARAM place;
    };
    const LPARAM on = At(10, 5), off = At(10, 60), beside = At(180, 5);
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
        SendMessageA(GetDlgItem(box, kEmail), WM_LBUTTONDOWN, 0, on);
        SendMessageA(GetDlgItem(box, kEmail), WM_LBUTTONUP, 0, on);
        EXPECT_EQ(TakeOpened(),
                  "open mailto:support@talvo.example?subject=Talvo%20Binary%20Encoding%201.1%20Support%20Question;");
    });
}

TEST_F(AboutBox, HandOverTheLabelOnly) {
    Show([](HWND box) {
        const HWND link = GetDlgItem(box, kWeb);
        for (const bool over : {true, false}) {
            POINT point{over ? 10 : 190, 5};
            ClientToScreen(link, &point);
            ASSERT_TRUE(WaitUntil([&] {
                POINT now{};
                return SetCursorPos(point.x, point.y) && GetCursorPos(&now) && now.x == point.x && now.y == point.y;
            }));
            EXPECT_EQ(SendMessageA(link, WM_SETCURSOR, reinterpret_cast<WPARAM>(link), At(HTCLIENT, WM_MOUSEMOVE)),
                      over);
            CURSORINFO shown{};
            shown.cbSize = sizeof shown;
            GetCursorInfo(&shown);
            EXPECT_EQ(shown.hCursor == LoadCursorA(nullptr, IDC_HAND), over);
        }
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
            SendMessageA(box, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control), TRUE);
            PostMessageA(control, WM_KEYDOWN, row.key, 1);
            PostMessageA(control, WM_KEYUP, row.key, static_cast<LPARAM>(0xC0000001));
            if (row.closes) {
                EXPECT_TRUE(WaitUntil([&] { return !IsWindow(box); })) << row.name;
            } else {
                const DWORD start = GetTickCount();
                std::string opened;
                WaitUntil([&] { return !(opened += TakeOpened()).empty() || GetTickCount() - start > 300; });
                EXPECT_EQ(opened, row.opened) << row.name;
                EXPECT_TRUE(IsWindow(box)) << row.name;
            }
        });
    }
}

TEST_F(AboutBox, FocusRectangleComesAndGoes) {
    Show([](HWND box) {
        const HWND link = GetDlgItem(box, kWeb);
        const auto focus = [&](int id) {
            SendMessageA(box, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(box, id)), TRUE);
        };
        EXPECT_TRUE(Shows(link, kBlue));
        const Pixels before = Look(link);
        focus(kWeb);
        EXPECT_TRUE(WaitUntil([&] { return !(Look(link) == before); }));
        focus(IDCANCEL);
        EXPECT_TRUE(WaitUntil([&] { return Look(link) == before; }));
    });
}

// The user's colours for links; afterwards they are as they were.
class ColourSettings {
public:
    ColourSettings() {
        DWORD disposition = 0;
        RegCreateKeyExA(HKEY_CURRENT_USER, kKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_, &disposition);
        isNew_ = disposition == REG_CREATED_NEW_KEY;
        for (int i = 0; i < 2; ++i) {
            DWORD size = sizeof old_[i];
            had_[i] = RegQueryValueExA(key_, kNames[i], nullptr, nullptr, reinterpret_cast<BYTE*>(old_[i]), &size) == 0;
        }
    }
    ~ColourSettings() {
        Set(had_[0] ? old_[0] : nullptr, had_[1] ? old_[1] : nullptr);
        RegCloseKey(key_);
        if (isNew_) RegDeleteKeyA(HKEY_CURRENT_USER, kKey);
    }
    void Set(const char* link, const char* visited) {
        const char* const values[] = {link, visited};
        for (int i = 0; i < 2; ++i) {
            RegDeleteValueA(key_, kNames[i]);
            if (values[i])
                RegSetValueExA(key_, kNames[i], 0, REG_SZ, reinterpret_cast<const BYTE*>(values[i]),
                               static_cast<DWORD>(std::strlen(values[i]) + 1));
        }
    }

private:
    static constexpr const char* kKey = "Software\\Microsoft\\Internet Explorer\\Settings";
    static constexpr const char* kNames[] = {"Anchor Color", "Anchor Color Visited"};
    HKEY key_ = nullptr;
    bool isNew_ = false, had_[2] = {};
    char old_[2][64] = {};
};

TEST_F(AboutBox, ColoursBeforeAndAfterTheVisit) {
    ColourSettings settings;
    constexpr DWORD kRed = 0xFF0000, kGreen = 0x008000;
    const struct {
        const char* link;
        const char* visited;
        INT_PTR shell;
        DWORD before, after;
    } kRows[] = {
        {nullptr, nullptr, 33, kBlue, kPurple},     {"255,0,0", "0,128,0", 33, kRed, kGreen},
        {"255,0", "0,128,0,0", 33, kBlue, kPurple}, {"255,0,0", nullptr, 33, kRed, kPurple},
        {"red", "0,128,256", 33, kBlue, kPurple},   {"", "-1,0,0", 33, kBlue, kPurple},
        {"255,0,0", "0,128,0", 32, kRed, kRed},     {nullptr, nullptr, SE_ERR_NOASSOC, kBlue, kBlue},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << (row.link ? row.link : "none") << " "
                                        << (row.visited ? row.visited : "none"));
        settings.Set(row.link, row.visited);
        g_shellAnswer = row.shell;
        Show([&](HWND box) {
            const HWND link = GetDlgItem(box, kWeb);
            EXPECT_TRUE(Shows(link, row.before));
            if (!row.link && row.shell == 33) KeepPicture("link_before", Look(link));
            SendMessageA(link, WM_CHAR, VK_SPACE, 0);
            EXPECT_EQ(TakeOpened(), kOpensWeb);
            EXPECT_TRUE(Shows(link, row.after));
            if (!row.link && row.shell == 33) KeepPicture("link_after", Look(link));
            EXPECT_TRUE(row.after == row.before || !HasColour(link, row.before));
            EXPECT_TRUE(Shows(GetDlgItem(box, kEmail), row.before));  // each link has a visit of its own
        });
    }
    g_shellAnswer = 42;
}

TEST_F(AboutBox, NothingIsLeftBehind) {
    const auto once = [&](HWND box) {
        const HWND link = GetDlgItem(box, kWeb);
        SendMessageA(link, WM_LBUTTONDOWN, 0, At(10, 5));
        SendMessageA(link, WM_LBUTTONUP, 0, At(10, 5));
    };
    Show(once);
    OnUiThread([&] {
        const auto component = Create<DTalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
        const auto show = [&] {
            std::thread closer([&] {
                if (WaitUntil([&] { return FindBox() != nullptr; })) {
                    once(FindBox());
                    SendMessageA(FindBox(), WM_COMMAND, IDCANCEL, 0);
                }
            });
            EXPECT_EQ(component->AboutBox(), S_OK);
            closer.join();
        };
        show();
        const int objects = CountDrawingObjects();
        const int windows = CountWindows();
        ASSERT_GT(objects, 0);
        for (int i = 0; i < 100; ++i) show();
        EXPECT_EQ(CountDrawingObjects(), objects);
        EXPECT_EQ(CountWindows(), windows);
    });
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
        const auto component = Create<DTalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
        EXPECT_EQ(component->AboutBox(), S_OK);
    }
    const ImportHook hooks[] = {{"gdi32.dll", "CreateFontW", &NoFont},
                                {"gdi32.dll", "CreateFontIndirectA", &NoLinkFont},
                                {"version.dll", "GetFileVersionInfoSizeW", &NoVersion},
                                {"user32.dll", "CreateWindowExA", &NoWindow},
                                {"advapi32.dll", "RegOpenKeyExA", &NoKey}};
    for (const ImportHook& hook : hooks) EXPECT_TRUE(hook.Works());
    Show([](HWND box) {
        EXPECT_EQ(Text(GetDlgItem(box, 201)), "0.0.0.0");
        SendMessageA(GetDlgItem(box, kWeb), WM_MOUSEMOVE, 0, At(10, 5));
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
