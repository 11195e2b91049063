// Conversions go through the system, so that they are those of the file calls.
#include "cli/text.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <iterator>

namespace talvo {

std::string Narrow(BSTR wide) {
    const int units = static_cast<int>(SysStringLen(wide));
    const int size = units == 0 ? 0 : WideCharToMultiByte(CP_ACP, 0, wide, units, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<size_t>(size), '\0');
    if (size != 0) WideCharToMultiByte(CP_ACP, 0, wide, units, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

com::UniqueBstr Wide(std::string_view narrow) {
    const int length = static_cast<int>(narrow.size());
    const int units = length == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, narrow.data(), length, nullptr, 0);
    com::UniqueBstr wide(SysAllocStringLen(nullptr, static_cast<UINT>(units)));
    if (wide && units != 0) MultiByteToWideChar(CP_ACP, 0, narrow.data(), length, wide.Get(), units);
    return wide;
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
