// Bulk converters for clean runs. A kernel knows the alphabet and nothing else: no line, no session, no defect. The
// decoding ones stop in front of the first group that is not all digits and say how far they came; the step judges the
// rest.
#pragma once

#include <windows.h>

#include <cstddef>

namespace talvo::kernels {

// 3 * groups bytes to 4 * groups characters.
void Base64EncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;

// Up to 4 * groups characters to bytes, 3 a group. Returns the groups decoded.
size_t Base64DecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;

}  // namespace talvo::kernels
