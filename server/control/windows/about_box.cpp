// Layout and texts are the resource's; what is set here are fonts, links, version and place.
#include "server/control/windows/about_box.h"

#include <windows.h>
#include <commctrl.h>

#include <algorithm>

#include "com/module_state.h"
#include "com/unique.h"
#include "server/control/about_logic.h"
#include "server/control/windows/gdi.h"
#include "server/control/windows/link_control.h"

namespace talvo {
namespace {

constexpr WORD kDialog = 202;
constexpr int kVersion = 201;
constexpr int kTitles[] = {205, 206};  // product, support
constexpr int kEmail = 207;
constexpr int kWeb = 208;

constexpr const char* kEmailTarget =
    "mailto:support@talvo.example?subject=Talvo%20Binary%20Encoding%20" TALVO_COMPONENT_VERSION "%20Support%20Question";
constexpr const char* kWebTarget = "https://www.talvo.example";

Area AreaOf(const RECT& rectangle) noexcept {
    return {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
}

// The fixed version of the module's own file, or all 0.
VersionText ModuleVersion() noexcept {
    WCHAR path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(com::ModuleState::Get().Instance(), path, MAX_PATH);
    DWORD ignored = 0;
    const DWORD size = length > 0 && length < MAX_PATH ? GetFileVersionInfoSizeW(path, &ignored) : 0;
    const com::UniqueTaskBytes block(size ? static_cast<BYTE*>(com::TaskAlloc(size)) : nullptr);
    void* found = nullptr;
    UINT foundSize = 0;
    if (block && GetFileVersionInfoW(path, 0, size, block.Get()) &&
        VerQueryValueW(block.Get(), L"\\", &found, &foundSize) && foundSize >= sizeof(VS_FIXEDFILEINFO)) {
        const auto* const version = static_cast<const VS_FIXEDFILEINFO*>(found);
        return FormatVersion(version->dwFileVersionMS, version->dwFileVersionLS);
    }
    return FormatVersion(0, 0);
}

Area WorkArea(HWND owner) noexcept {
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    RECT area{};
    if (GetMonitorInfoW(MonitorFromWindow(owner, MONITOR_DEFAULTTOPRIMARY), &monitor)) {
        area = monitor.rcWork;
    } else {
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    }
    return AreaOf(area);
}

void CentreOverOwner(HWND dialog) noexcept {
    const HWND owner = GetWindow(dialog, GW_OWNER);
    const bool shown = owner && IsWindowVisible(owner) && !IsIconic(owner);
    const Area within = WorkArea(shown ? owner : nullptr);
    RECT own{};
    RECT over{};
    GetWindowRect(dialog, &own);
    if (shown) GetWindowRect(owner, &over);
    const Area place = Centre(own.right - own.left, own.bottom - own.top, shown ? AreaOf(over) : within, within);
    SetWindowPos(dialog, nullptr, place.Left, place.Top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// The bitmaps that the system has loaded for the dialog's statics. Not every system frees them with the dialog.
void FreePictures(HWND dialog) noexcept {
    for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        if ((GetWindowLongPtrW(child, GWL_STYLE) & SS_TYPEMASK) != SS_BITMAP) continue;
        const LRESULT bitmap = SendMessageW(child, STM_SETIMAGE, IMAGE_BITMAP, 0);
        if (bitmap) DeleteObject(reinterpret_cast<HBITMAP>(bitmap));
    }
}

class AboutBox {
public:
    AboutBox() noexcept = default;
    AboutBox(const AboutBox&) = delete;
    AboutBox& operator=(const AboutBox&) = delete;

    void Run(HWND owner) noexcept {
        DialogBoxParamW(com::ModuleState::Get().Instance(), MAKEINTRESOURCEW(kDialog), owner, &Procedure,
                        reinterpret_cast<LPARAM>(this));
    }

private:
    void Start(HWND dialog) noexcept {
        titleFont_.Reset(CreateFontW(18, 0, 0, 0, FW_BOLD, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                                     CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH | FF_DONTCARE, L"Arial"));
        for (const int title : kTitles) {
            if (titleFont_)
                SendDlgItemMessageW(dialog, title, WM_SETFONT, reinterpret_cast<WPARAM>(titleFont_.Get()), 0);
        }
        email_.Attach(GetDlgItem(dialog, kEmail));
        web_.Attach(GetDlgItem(dialog, kWeb));
        email_.SetTarget(kEmailTarget);
        web_.SetTarget(kWebTarget);
        SetDlgItemTextA(dialog, kVersion, ModuleVersion().data());
        CentreOverOwner(dialog);
    }

    void End(HWND dialog) noexcept {
        FreePictures(dialog);
        titleFont_.Reset();
        email_.SetTarget(nullptr);
        web_.SetTarget(nullptr);
    }

    static INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM w, LPARAM l) noexcept {
        if (message == WM_INITDIALOG) {
            SetWindowLongPtrW(dialog, DWLP_USER, l);
            reinterpret_cast<AboutBox*>(l)->Start(dialog);
            return TRUE;  // the system gives the focus to the button
        }
        auto* const box = reinterpret_cast<AboutBox*>(GetWindowLongPtrW(dialog, DWLP_USER));
        if (message == WM_COMMAND && LOWORD(w) == IDCANCEL) {
            EndDialog(dialog, 0);
            return TRUE;
        }
        if (message == WM_DESTROY && box) box->End(dialog);
        return FALSE;
    }

    UniqueFont titleFont_;
    LinkControl email_;
    LinkControl web_;
};

}  // namespace

void ShowAboutBox() noexcept {
    INITCOMMONCONTROLSEX controls{};
    controls.dwSize = sizeof controls;
    controls.dwICC = ICC_BAR_CLASSES;  // tooltips
    InitCommonControlsEx(&controls);
    AboutBox box;
    box.Run(GetActiveWindow());
}

}  // namespace talvo
