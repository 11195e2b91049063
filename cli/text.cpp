// Conversions go through the system, so that they are those of the file calls.
#include "cli/text.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "com/narrow_text.h"

namespace talvo {

std::string Narrow(BSTR wide) {
    const uint32_t size = com::NarrowSize(CP_ACP, wide);
    std::string narrow(size, '\0');
    com::Narrow(CP_ACP, wide, narrow.data(), size);
    return narrow;
}

std::string Counted(unsigned long long count, std::string_view what) {
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

std::string Hexadecimal(unsigned long long value, size_t digits) {
    char room[16];
    const auto end = std::to_chars(room, std::end(room), value, 16).ptr;
    std::string text(room, end);
    std::ranges::transform(text, text.begin(), [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    return std::string(digits - std::min(digits, text.size()), '0') + text;
}

}  // namespace talvo
