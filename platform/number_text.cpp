// The form is checked here; the digits are read by the standard library, which asks no locale.
#include "platform/number_text.h"

#include <charconv>
#include <string>

namespace platform {
namespace {

bool IsBlank(char16_t c) { return c == u' ' || (c >= 0x09 && c <= 0x0D) || c == 0xA0; }
bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

std::u16string_view Trimmed(std::u16string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

}  // namespace

HRESULT ParseNumber(std::u16string_view text, double* out) {
    text = Trimmed(text);
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+')) text = Trimmed(text.substr(1));
    // What the standard reader would take beyond this form, a second sign or "inf", begins otherwise.
    if (text.empty() || (!IsDigit(text.front()) && text.front() != u'.')) return DISP_E_TYPEMISMATCH;
    std::string plain;
    bool commas = false;  // may stand here: after a digit before the point
    for (const char16_t c : text) {
        if (commas && c == u',') continue;
        commas = IsDigit(c) && (commas || plain.empty());
        plain += c < 0x80 ? static_cast<char>(c) : '?';
    }
    double value = 0;
    const auto result = std::from_chars(plain.data(), plain.data() + plain.size(), value);
    if (result.ptr != plain.data() + plain.size()) return DISP_E_TYPEMISMATCH;
    const bool tiny = plain.find("e-") != plain.npos || plain.find("E-") != plain.npos;
    if (result.ec != std::errc() && !tiny) return DISP_E_OVERFLOW;
    *out = negative ? -value : value;
    return S_OK;
}

}  // namespace platform
