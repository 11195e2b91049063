// See link_state.h.
#include "server/control/link_state.h"

#include <charconv>

namespace talvo {
namespace {

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
