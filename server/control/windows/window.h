// The control's own window, for containers that cannot hold a control without one.
#pragma once

#include <windows.h>

namespace talvo {

class Window {
public:
    Window() noexcept = default;
    ~Window() { Destroy(); }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    bool Create(HWND parent, const RECT& position) noexcept;
    void Destroy() noexcept;
    HWND Handle() const noexcept { return handle_; }
    // Moves it; shows what lies within `clip`.
    void Place(const RECT& position, const RECT& clip) const noexcept;

private:
    static LRESULT CALLBACK Procedure(HWND handle, UINT message, WPARAM w, LPARAM l) noexcept;

    HWND handle_ = nullptr;  // null again when the parent has destroyed it
    bool classHeld_ = false;
};

}  // namespace talvo
