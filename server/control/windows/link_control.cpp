#include "server/control/windows/link_control.h"

#include <commctrl.h>
#include <shellapi.h>
#include <windowsx.h>

#include <optional>

#include "com/module_state.h"
#include "com/unique.h"

namespace talvo {
namespace {

constexpr const char* kColourKey = "Software\\Microsoft\\Internet Explorer\\Settings";

LONG_PTR Style(HWND control) noexcept { return GetWindowLongPtrA(control, GWL_STYLE); }

// What a static of that style shows is a text.
bool ShowsText(LONG_PTR style) noexcept {
    const LONG_PTR type = style & SS_TYPEMASK;
    return !((type >= SS_ICON && type <= SS_WHITEFRAME) || (type >= SS_OWNERDRAW && type <= SS_ENHMETAFILE));
}

std::optional<DWORD> ReadColour(HKEY key, const char* name) noexcept {
    char text[64];
    DWORD size = sizeof text;
    DWORD type = 0;
    const LSTATUS status = RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size);
    if (status != ERROR_SUCCESS || type != REG_SZ) return std::nullopt;
    while (size > 0 && text[size - 1] == '\0') --size;
    return ParseColour({text, size});
}

void ReadColours(LinkState& state) noexcept {
    com::UniqueKey key;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, kColourKey, 0, KEY_ALL_ACCESS, key.Put()) != ERROR_SUCCESS) return;
    state.SetColours(ReadColour(key.Get(), "Anchor Color"), ReadColour(key.Get(), "Anchor Color Visited"));
}

}  // namespace

void LinkControl::Attach(HWND control) noexcept {
    if (!control) return;
    control_ = control;
    SetWindowLongPtrA(control, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    original_ =
        reinterpret_cast<WNDPROC>(SetWindowLongPtrA(control, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure)));
    BecomeClickable();
    hand_ = LoadCursorA(nullptr, IDC_HAND);
    if (isText_) MakeFont();
    GetWindowTextA(control, label_.data(), static_cast<int>(label_.size()));
    if (!target_) target_ = label_.data();
    labelPlace_ = MeasureLabel();
    MakeTooltip();
    if (isText_) ReadColours(state_);
}

void LinkControl::Detach() noexcept {
    if (!control_) return;
    SetWindowLongPtrA(control_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(original_));
    SetWindowLongPtrA(control_, GWLP_USERDATA, 0);
    control_ = nullptr;
}

// Reachable with the Tab key too: what opens on Enter must be able to get the focus without a mouse.
void LinkControl::BecomeClickable() noexcept {
    char name[16];
    GetClassNameA(control_, name, sizeof name);
    if (lstrcmpiA(name, "static") != 0) return;
    isText_ = ShowsText(Style(control_));
    SetWindowLongPtrA(control_, GWL_STYLE, Style(control_) | SS_NOTIFY | WS_TABSTOP);
}

void LinkControl::MakeFont() noexcept {
    LOGFONTA font;
    const auto inherited = reinterpret_cast<HFONT>(SendMessageA(control_, WM_GETFONT, 0, 0));
    if (!GetObjectA(inherited ? inherited : GetStockObject(SYSTEM_FONT), sizeof font, &font)) return;
    font.lfUnderline = TRUE;
    font_.Reset(CreateFontIndirectA(&font));
}

UINT LinkControl::TextFormat() const noexcept {
    const LONG_PTR type = Style(control_) & SS_TYPEMASK;
    return DT_WORDBREAK | (type == SS_CENTER ? DT_CENTER : type == SS_RIGHT ? DT_RIGHT : DT_LEFT);
}

RECT LinkControl::MeasureLabel() const noexcept {
    RECT client;
    GetClientRect(control_, &client);
    if (!isText_) return client;
    RECT label = client;
    if (const HDC dc = GetDC(control_)) {
        const Selected font(dc, font_.Get());
        DrawTextA(dc, label_.data(), -1, &label, DT_WORDBREAK | DT_CALCRECT);
        ReleaseDC(control_, dc);
    }
    const UINT format = TextFormat();
    const LONG room = client.right - label.right;
    OffsetRect(&label, format & DT_CENTER ? room / 2 : format & DT_RIGHT ? room : 0, 0);
    IntersectRect(&label, &label, &client);
    return label;
}

void LinkControl::MakeTooltip() noexcept {
    tooltip_ =
        CreateWindowExA(WS_EX_TOPMOST, TOOLTIPS_CLASSA, nullptr, WS_POPUP | TTS_NOPREFIX, CW_USEDEFAULT, CW_USEDEFAULT,
                        CW_USEDEFAULT, CW_USEDEFAULT, control_, nullptr, com::ModuleState::Get().Instance(), nullptr);
    if (!tooltip_) return;
    Text text = label_;
    if (target_) lstrcpynA(text.data(), target_, static_cast<int>(text.size()));
    TTTOOLINFOA tool{};
    tool.cbSize = TTTOOLINFOA_V2_SIZE;  // known to every version of the tooltip
    tool.uFlags = TTF_IDISHWND;
    tool.hwnd = control_;
    tool.uId = reinterpret_cast<UINT_PTR>(control_);
    tool.lpszText = text.data();
    SendMessageA(tooltip_, TTM_ADDTOOLA, 0, reinterpret_cast<LPARAM>(&tool));
    SendMessageA(tooltip_, TTM_ACTIVATE, TRUE, 0);
}

LRESULT CALLBACK LinkControl::Procedure(HWND control, UINT message, WPARAM w, LPARAM l) noexcept {
    auto* const link = reinterpret_cast<LinkControl*>(GetWindowLongPtrA(control, GWLP_USERDATA));
    if (!link) return DefWindowProcA(control, message, w, l);
    if (message == WM_NCDESTROY) {
        link->Detach();
        return SendMessageA(control, message, w, l);
    }
    return link->Handle(message, w, l);
}

LRESULT LinkControl::PassOn(UINT message, WPARAM w, LPARAM l) const noexcept {
    return CallWindowProcA(original_, control_, message, w, l);
}

LRESULT LinkControl::Handle(UINT message, WPARAM w, LPARAM l) noexcept {
    if (message >= WM_MOUSEFIRST && message <= WM_MOUSELAST) {
        PassToTooltip(message, w, l);
        if (HandleMouse(message, l)) return 0;
    }
    switch (message) {
        case WM_PAINT:
            if (!isText_) break;
            Paint();
            return 0;
        case WM_ERASEBKGND:
            if (!isText_) break;
            Erase(reinterpret_cast<HDC>(w));
            return TRUE;
        case WM_SETFOCUS:
        case WM_KILLFOCUS:
            InvalidateRect(control_, nullptr, TRUE);
            return 0;
        case WM_SETCURSOR:
            if (!hand_ || !UnderPointer()) break;
            SetCursor(hand_);
            return TRUE;
        case WM_GETDLGCODE:
            return DialogCode(l);
        case WM_CHAR:
            if (w == VK_RETURN || w == VK_SPACE) Open();
            return 0;
        case WM_CAPTURECHANGED:
            state_.LoseMouse();
            break;
        default:
            break;
    }
    return PassOn(message, w, l);
}

bool LinkControl::HandleMouse(UINT message, LPARAM l) noexcept {
    if (message == WM_LBUTTONDOWN) {
        if (!state_.Press(OnLabel(l))) return false;
        SetFocus(control_);
        SetCapture(control_);
        return true;
    }
    if (message != WM_LBUTTONUP || !state_.Pressed()) return false;
    const bool opens = state_.Release(OnLabel(l));
    ReleaseCapture();
    if (opens) Open();
    return true;
}

// Characters; and the Enter key itself, which the dialog would else take for its default button.
LRESULT LinkControl::DialogCode(LPARAM l) const noexcept {
    const auto* const message = reinterpret_cast<const MSG*>(l);
    const bool isEnter = message && message->message == WM_KEYDOWN && message->wParam == VK_RETURN;
    return DLGC_WANTCHARS | (isEnter ? DLGC_WANTMESSAGE : 0);
}

bool LinkControl::OnLabel(LPARAM position) const noexcept {
    return PtInRect(&labelPlace_, {GET_X_LPARAM(position), GET_Y_LPARAM(position)});
}

bool LinkControl::UnderPointer() const noexcept {
    POINT point;
    return GetCursorPos(&point) && ScreenToClient(control_, &point) && PtInRect(&labelPlace_, point);
}

void LinkControl::PassToTooltip(UINT message, WPARAM w, LPARAM l) const noexcept {
    if (!tooltip_) return;
    MSG passed{};
    passed.hwnd = control_;
    passed.message = message;
    passed.wParam = w;
    passed.lParam = l;
    SendMessageA(tooltip_, TTM_RELAYEVENT, 0, reinterpret_cast<LPARAM>(&passed));
}

// With the dialog's own background, so that a new colour does not mix with the old one at the edges of letters.
void LinkControl::Erase(HDC dc) const noexcept {
    RECT client;
    GetClientRect(control_, &client);
    const LRESULT brush = SendMessageA(GetParent(control_), WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc),
                                       reinterpret_cast<LPARAM>(control_));
    FillRect(dc, &client, brush ? reinterpret_cast<HBRUSH>(brush) : GetSysColorBrush(COLOR_BTNFACE));
}

void LinkControl::Paint() noexcept {
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(control_, &paint);
    if (dc) {
        const Selected font(dc, font_.Get());
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, state_.CurrentColour());
        const char* const text = label_[0] || !target_ ? label_.data() : target_;
        RECT place = labelPlace_;
        DrawTextA(dc, text, -1, &place, TextFormat());
        if (GetFocus() == control_) DrawFocusRect(dc, &labelPlace_);
    }
    EndPaint(control_, &paint);
}

void LinkControl::Open() noexcept {
    if (!target_) return;
    const HINSTANCE answer = ShellExecuteA(control_, "open", target_, nullptr, nullptr, SW_SHOWNORMAL);
    // The shell may have run the message loop: the link may be gone.
    if (state_.Opened(reinterpret_cast<INT_PTR>(answer)) && control_) InvalidateRect(control_, nullptr, TRUE);
}

}  // namespace talvo
