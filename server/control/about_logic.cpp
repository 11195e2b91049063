#include "server/control/about_logic.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace talvo {
namespace {

// Start of a length that is centred over one span and kept within another.
LONG CentreSpan(LONG length, LONG overStart, LONG overEnd, LONG withinStart, LONG withinEnd) noexcept {
    const LONG centred = overStart + (overEnd - overStart - length) / 2;
    return std::max(withinStart, std::min(centred, withinEnd - length));
}

std::string_view Trim(std::string_view text) noexcept {
    const size_t first = text.find_first_not_of(' ');
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool ParsePart(std::string_view text, BYTE& part) noexcept {
    text = Trim(text);
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, part);
    return error == std::errc() && stop == end;
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

std::optional<DWORD> ParseColour(std::string_view text) noexcept {
    BYTE parts[3] = {};
    for (int i = 0; i < 3; ++i) {
        const size_t comma = text.find(',');
        if ((comma == text.npos) != (i == 2)) return std::nullopt;
        if (!ParsePart(text.substr(0, comma), parts[i])) return std::nullopt;
        text.remove_prefix(i == 2 ? text.size() : comma + 1);
    }
    return Colour(parts[0], parts[1], parts[2]);
}

}  // namespace talvo
