// What the About box works out apart from the system: the text of the version, its own place, and what a link in it is
// apart from its window: its colours, whether it was visited, and a press that has begun on it.
#pragma once

#include <windows.h>

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace talvo {

// "1.1.0.0" of the two words of a file version.
using VersionText = std::array<char, 24>;
VersionText FormatVersion(DWORD mostSignificant, DWORD leastSignificant) noexcept;

struct Area {
    LONG Left = 0, Top = 0, Right = 0, Bottom = 0;
    bool operator==(const Area&) const = default;
};

// A box of that size, centred over `over` and moved into `within`; where it does not fit, its upper left corner does.
Area Centre(LONG width, LONG height, const Area& over, const Area& within) noexcept;

// 0x00BBGGRR, as the system's drawing calls take it.
constexpr DWORD Colour(BYTE red, BYTE green, BYTE blue) noexcept {
    return static_cast<DWORD>(red) | static_cast<DWORD>(green) << 8 | static_cast<DWORD>(blue) << 16;
}

// "255, 0, 128": red, green, blue as decimal numbers. Nothing when there are not three, or one is not a colour's.
std::optional<DWORD> ParseColour(std::string_view text) noexcept;

class LinkState {
public:
    void SetColours(std::optional<DWORD> link, std::optional<DWORD> visited) noexcept {
        colour_ = link.value_or(colour_);
        visitedColour_ = visited.value_or(visitedColour_);
    }
    DWORD CurrentColour() const noexcept { return visited_ ? visitedColour_ : colour_; }

    // The button goes down: whether a press begins, which takes the mouse.
    bool Press(bool onLabel) noexcept { return pressed_ = onLabel; }
    // The button comes up: whether the link is to be opened.
    bool Release(bool onLabel) noexcept { return std::exchange(pressed_, false) && onLabel; }
    bool Pressed() const noexcept { return pressed_; }
    void LoseMouse() noexcept { pressed_ = false; }

    // The shell's answer to opening the target: above 32 is success. Whether the link looks different now.
    bool Opened(INT_PTR answer) noexcept { return answer > 32 && !std::exchange(visited_, true); }

private:
    DWORD colour_ = Colour(0, 0, 255);
    DWORD visitedColour_ = Colour(128, 0, 128);
    bool visited_ = false;
    bool pressed_ = false;
};

}  // namespace talvo
