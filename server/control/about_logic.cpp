// See about_logic.h.
#include "server/control/about_logic.h"

#include <algorithm>
#include <cstdio>

namespace talvo {
namespace {

// Start of a length that is centred over one span and kept within another.
LONG CentreSpan(LONG length, LONG overStart, LONG overEnd, LONG withinStart, LONG withinEnd) noexcept {
    const LONG centred = overStart + (overEnd - overStart - length) / 2;
    return std::max(withinStart, std::min(centred, withinEnd - length));
}

}  // namespace

VersionText FormatVersion(DWORD mostSignificant, DWORD leastSignificant) noexcept {
    VersionText text{};
    std::snprintf(text.data(), text.size(), "%hu.%hu.%hu.%hu", HIWORD(mostSignificant), LOWORD(mostSignificant),
                  HIWORD(leastSignificant), LOWORD(leastSignificant));
    return text;
}

Area Centre(LONG width, LONG height, const Area& over, const Area& within) noexcept {
    const LONG left = CentreSpan(width, over.Left, over.Right, within.Left, within.Right);
    const LONG top = CentreSpan(height, over.Top, over.Bottom, within.Top, within.Bottom);
    return {left, top, left + width, top + height};
}

}  // namespace talvo
