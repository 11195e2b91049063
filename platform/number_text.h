// Numbers as automation text. Internal; English form whatever the locale, never the C library's.
#pragma once

#include <windows.h>

#include <string_view>

namespace platform {

// Reads blanks, a sign, digits (commas between them are ignored), a point, digits, an exponent, blanks.
// DISP_E_TYPEMISMATCH if it is no number, DISP_E_OVERFLOW if it is too large. May throw std::bad_alloc.
HRESULT ParseNumber(std::u16string_view text, double* out);

}  // namespace platform
