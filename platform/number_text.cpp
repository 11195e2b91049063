// See number_text.h. The digits of a text are kept as digits; only the last step makes a double or an integer of them.
#include "platform/number_text.h"

#include <math.h>

#include <charconv>
#include <limits>

namespace platform {
namespace {

// More digits cannot change a double; of what lies beyond it matters only whether it is zero.
constexpr int kMaxDigits = 800;
constexpr int kMaxExponent = 100000;

// 0.d1d2d3... times ten to the power of `point`; d1 is not zero.
struct Decimal {
    char digits[kMaxDigits];
    int count = 0;
    int point = 0;
    bool tail = false;  // digits other than zero were dropped
    bool negative = false;

    void Add(char digit, bool fraction) {
        if (count == 0 && digit == '0') {
            point -= fraction;
            return;
        }
        if (!fraction) ++point;
        if (count < kMaxDigits) {
            digits[count++] = digit;
        } else {
            tail |= digit != '0';
        }
    }
};

bool IsBlank(char16_t c) { return c == u' ' || (c >= 0x09 && c <= 0x0D) || c == 0xA0; }
bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

class Reader {
public:
    Reader(const char16_t* text, UINT length) : at_(text), end_(text + length) {}

    bool Read(Decimal* out) {
        SkipBlanks();
        out->negative = Peek() == u'-';
        if (Peek() == u'-' || Peek() == u'+') ++at_;
        SkipBlanks();
        if (!ReadDigits(out) || !ReadExponent(out)) return false;
        SkipBlanks();
        return at_ == end_;
    }

private:
    char16_t Peek() const { return at_ == end_ ? u'\0' : *at_; }
    void SkipBlanks() {
        while (IsBlank(Peek())) ++at_;
    }
    bool ReadDigits(Decimal* out) {
        bool any = false;
        for (; IsDigit(Peek()) || (any && Peek() == u','); ++at_) {
            if (*at_ == u',') continue;
            out->Add(static_cast<char>(*at_), false);
            any = true;
        }
        if (Peek() == u'.') ++at_;
        for (; IsDigit(Peek()) && at_[-1] != u','; ++at_) {
            out->Add(static_cast<char>(*at_), true);
            any = true;
        }
        return any;
    }
    bool ReadExponent(Decimal* out) {
        if (Peek() != u'e' && Peek() != u'E') return true;
        ++at_;
        const bool negative = Peek() == u'-';
        if (Peek() == u'-' || Peek() == u'+') ++at_;
        if (!IsDigit(Peek())) return false;
        int exponent = 0;
        for (; IsDigit(Peek()); ++at_) {
            if (exponent < kMaxExponent) exponent = exponent * 10 + (*at_ - u'0');
        }
        if (out->count != 0) out->point += negative ? -exponent : exponent;
        return true;
    }

    const char16_t* at_;
    const char16_t* end_;
};

bool RoundsUp(const Decimal& from, bool odd) {
    const int next = from.point;
    if (next < 0 || next >= from.count || from.digits[next] < '5') return false;
    const bool exactlyHalf = from.digits[next] == '5' && next + 1 == from.count && !from.tail;
    return !exactlyHalf || odd;
}

// Trailing zeros are digits too: "0.50" must still be seen as exactly half.
void DropTrailingZeros(Decimal* from) {
    while (from->count > 0 && from->digits[from->count - 1] == '0') --from->count;
}

HRESULT Whole(Decimal* from, Number* out) {
    DropTrailingZeros(from);
    uint64_t value = 0;
    for (int i = 0; i < from->point && from->count > 0; ++i) {
        const auto digit = static_cast<uint64_t>(i < from->count ? from->digits[i] - '0' : 0);
        if (__builtin_mul_overflow(value, 10, &value) || __builtin_add_overflow(value, digit, &value)) {
            return DISP_E_OVERFLOW;
        }
    }
    if (RoundsUp(*from, value % 2 != 0) && ++value == 0) return DISP_E_OVERFLOW;
    *out = {.whole = true, .negative = from->negative && value != 0, .magnitude = value, .real = 0};
    return S_OK;
}

HRESULT Real(const Decimal& from, Number* out) {
    char text[kMaxDigits + 16];
    char* end = text;
    if (from.negative) *end++ = '-';
    *end++ = '0';
    *end++ = '.';
    for (int i = 0; i < from.count; ++i) *end++ = from.digits[i];
    *end++ = from.tail ? '1' : '0';
    *end++ = 'e';
    end = std::to_chars(end, text + sizeof text, from.point).ptr;
    *out = {.whole = false, .negative = false, .magnitude = 0, .real = 0};
    const std::from_chars_result result = std::from_chars(text, end, out->real);
    if (result.ec == std::errc()) return S_OK;
    out->real = from.negative ? -0.0 : 0.0;
    return from.point > 0 ? DISP_E_OVERFLOW : S_OK;  // too small is zero, too large is not
}

}  // namespace

HRESULT ParseNumber(const char16_t* text, UINT length, bool wantWhole, Number* out) {
    Decimal decimal;
    if (!Reader(text, length).Read(&decimal)) return DISP_E_TYPEMISMATCH;
    return wantWhole ? Whole(&decimal, out) : Real(decimal, out);
}

UINT FormatNumber(const Number& number, int digits, char16_t* out) {
    char text[kNumberTextMax];
    char* end = text;
    if (number.whole) {
        if (number.negative) *end++ = '-';
        end = std::to_chars(end, text + sizeof text, number.magnitude).ptr;
    } else {
        const double value = number.real == 0 ? 0.0 : number.real;  // no sign before a zero
        end = std::to_chars(end, text + sizeof text, value, std::chars_format::general, digits).ptr;
    }
    for (const char* at = text; at != end; ++at) *out++ = static_cast<char16_t>(*at == 'e' ? 'E' : *at);
    return static_cast<UINT>(end - text);
}

HRESULT RoundToWhole(double value, Number* out) {
    const double rounded = nearbyint(value);
    if (!(fabs(rounded) < 18446744073709551616.0)) return DISP_E_OVERFLOW;
    *out = {.whole = true, .negative = rounded < 0, .magnitude = static_cast<uint64_t>(fabs(rounded)), .real = 0};
    return S_OK;
}

}  // namespace platform
