// What the About box works out before it calls the system: the text of the version and its own place.
#pragma once

#include <windows.h>

#include <array>

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

}  // namespace talvo
