// The window class is there while a window is: a module that is unloaded must not leave it behind.
#include "server/control/windows/window.h"

#include <mutex>

#include "com/module_state.h"
#include "server/control/windows/picture.h"

namespace talvo {
namespace {

constexpr const WCHAR* kClassName = L"TalvoBinaryEncodingControl";
constinit LONG g_classUsers = 0;  // under the module's lock

bool HoldClass(WNDPROC procedure) noexcept {
    std::lock_guard hold(com::ModuleState::Get().SharedLock());
    if (g_classUsers == 0) {
        WNDCLASSEXW windowClass{};
        windowClass.cbSize = sizeof windowClass;
        windowClass.style = CS_DBLCLKS;
        windowClass.lpfnWndProc = procedure;
        windowClass.hInstance = com::ModuleState::Get().Instance();
        windowClass.hCursor = LoadCursorA(nullptr, IDC_ARROW);
        windowClass.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
        windowClass.lpszClassName = kClassName;
        if (!RegisterClassExW(&windowClass)) return false;
    }
    ++g_classUsers;
    return true;
}

void ReleaseClass() noexcept {
    std::lock_guard hold(com::ModuleState::Get().SharedLock());
    if (--g_classUsers == 0) UnregisterClassW(kClassName, com::ModuleState::Get().Instance());
}

void Paint(HWND handle) noexcept {
    PAINTSTRUCT paint;
    if (const HDC dc = BeginPaint(handle, &paint)) DrawPicture(dc, {0, 0});
    EndPaint(handle, &paint);
}

}  // namespace

bool Window::Create(HWND parent, const RECT& position) noexcept {
    Destroy();
    classHeld_ = HoldClass(&Procedure);
    if (!classHeld_) return false;
    CreateWindowExW(0, kClassName, nullptr, WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS, position.left, position.top,
                    position.right - position.left, position.bottom - position.top, parent, nullptr,
                    com::ModuleState::Get().Instance(), this);
    return handle_ != nullptr;
}

void Window::Destroy() noexcept {
    if (handle_) DestroyWindow(handle_);
    if (classHeld_) ReleaseClass();
    classHeld_ = false;
}

void Window::Place(const RECT& position, const RECT& clip) const noexcept {
    if (!handle_) return;
    RECT seen;
    IntersectRect(&seen, &position, &clip);
    HRGN region = nullptr;  // the window's, once it is set
    if (!EqualRect(&seen, &position)) {
        OffsetRect(&seen, -position.left, -position.top);
        region = CreateRectRgnIndirect(&seen);
    }
    SetWindowRgn(handle_, region, TRUE);
    MoveWindow(handle_, position.left, position.top, position.right - position.left, position.bottom - position.top,
               TRUE);
}

LRESULT CALLBACK Window::Procedure(HWND handle, UINT message, WPARAM w, LPARAM l) noexcept {
    auto* window = reinterpret_cast<Window*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
    switch (message) {
        case WM_NCCREATE:
            window = static_cast<Window*>(reinterpret_cast<CREATESTRUCTW*>(l)->lpCreateParams);
            window->handle_ = handle;
            SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(window));
            break;
        case WM_NCDESTROY:
            if (window) window->handle_ = nullptr;
            SetWindowLongPtrW(handle, GWLP_USERDATA, 0);
            break;
        case WM_PAINT:
            Paint(handle);
            return 0;
        default:
            break;
    }
    return DefWindowProcW(handle, message, w, l);
}

}  // namespace talvo
