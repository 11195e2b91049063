// Numbers as automation text. Internal; English form whatever the locale, never the C library's.
#pragma once

#include <stdint.h>

#include <windows.h>

namespace platform {

// A number on its way from one type to another: exact where it is whole, else a double.
struct Number {
    bool whole = true;
    bool negative = false;  // of a whole number
    uint64_t magnitude = 0;
    double real = 0;
};

// Reads blanks, a sign, digits (commas between them are ignored), a point, digits, an exponent, blanks.
// `wantWhole` rounds the text itself, half to even, so that no digit is lost to a double on the way.
// DISP_E_TYPEMISMATCH if it is no number, DISP_E_OVERFLOW if it is too large.
HRESULT ParseNumber(const char16_t* text, UINT length, bool wantWhole, Number* out);

// Writes the number with up to `digits` significant digits; returns the length, at most kNumberTextMax.
constexpr UINT kNumberTextMax = 32;
UINT FormatNumber(const Number& number, int digits, char16_t* out);

// Half to even; DISP_E_OVERFLOW outside of 64 bits.
HRESULT RoundToWhole(double value, Number* out);

}  // namespace platform
