// Makes a static control a link: it opens its target when it is clicked, or on Enter or Space.
#pragma once

#include <windows.h>

#include <array>

#include "server/control/about_logic.h"
#include "server/control/windows/gdi.h"

namespace talvo {

class LinkControl {
public:
    LinkControl() noexcept = default;
    ~LinkControl() { Detach(); }
    LinkControl(const LinkControl&) = delete;
    LinkControl& operator=(const LinkControl&) = delete;

    // Label and tooltip are the control's text; the target is too, until it gets another.
    void Attach(HWND control) noexcept;
    // Not copied. Null: there is nothing to open.
    void SetTarget(const char* target) noexcept { target_ = target; }

private:
    using Text = std::array<char, 128>;

    void Detach() noexcept;
    void BecomeClickable() noexcept;
    void MakeFont() noexcept;
    void MakeTooltip() noexcept;
    RECT MeasureLabel() const noexcept;
    UINT TextFormat() const noexcept;
    bool OnLabel(LPARAM position) const noexcept;
    bool UnderPointer() const noexcept;

    LRESULT Handle(UINT message, WPARAM w, LPARAM l) noexcept;
    bool HandleMouse(UINT message, LPARAM l) noexcept;
    LRESULT DialogCode(LPARAM l) const noexcept;
    void PassToTooltip(UINT message, WPARAM w, LPARAM l) const noexcept;
    void Erase(HDC dc) const noexcept;
    void Paint() noexcept;
    void Open() noexcept;
    LRESULT PassOn(UINT message, WPARAM w, LPARAM l) const noexcept;
    static LRESULT CALLBACK Procedure(HWND control, UINT message, WPARAM w, LPARAM l) noexcept;

    HWND control_ = nullptr;
    WNDPROC original_ = nullptr;
    HWND tooltip_ = nullptr;  // the control's own, and goes with it
    Text label_{};
    const char* target_ = nullptr;
    LinkState state_;
    bool isText_ = true;
    UniqueFont font_;
    HCURSOR hand_ = nullptr;  // the system's
    RECT labelPlace_{};
};

}  // namespace talvo
