// The conversions are those of the public calls, told to refuse what is not well formed.
#include "platform/wide_text.h"

#include <algorithm>
#include <limits>

namespace platform {
namespace {

// The public calls count in int; nothing that we keep comes near.
bool Countable(size_t size) { return size <= static_cast<size_t>(std::numeric_limits<int>::max()) / 4; }

}  // namespace

bool Widen(std::string_view text, std::u16string& out) {
    out.clear();
    if (text.empty()) return true;
    if (!Countable(text.size())) return false;
    const int size = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
    if (units <= 0) return false;
    out.resize(static_cast<size_t>(units));
    return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, out.data(), units) == units;
}

bool Narrow(std::u16string_view text, std::string& out) {
    out.clear();
    if (text.empty()) return true;
    if (!Countable(text.size())) return false;
    const int units = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), units, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return false;
    out.resize(static_cast<size_t>(size));
    return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), units, out.data(), size, nullptr, nullptr) ==
           size;
}

std::u16string Folded(std::u16string_view text) {
    std::u16string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), FoldCase);
    return folded;
}

bool SameName(std::u16string_view a, std::u16string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return FoldCase(x) == FoldCase(y); });
}

}  // namespace platform
