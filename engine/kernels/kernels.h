// Bulk converters for clean runs. A kernel knows the alphabet and nothing else: no line, no session, no defect. The
// decoding ones stop in front of the first group that is not all digits and say how far they came; the step judges the
// rest.
#pragma once

#include <windows.h>

#include <cstddef>

namespace talvo::kernels {

// 3 * groups bytes to 4 * groups characters.
void Base64EncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;
void UuEncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;
void XxEncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;
void BinHexEncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;

// Up to 4 * groups characters to bytes, 3 a group. Returns the groups decoded.
size_t Base64DecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;
size_t UuDecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;
size_t XxDecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;
size_t BinHexDecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept;

// `size` bytes to twice as many digits.
void HexaEncodeBytes(BYTE* out, const BYTE* in, size_t size) noexcept;

// Up to 2 * pairs digits to bytes. Returns the pairs decoded.
size_t HexaDecodePairs(BYTE* out, const BYTE* in, size_t pairs) noexcept;

struct Run {
    size_t Read;
    size_t Written;
};

// Bytes to quoted-printable literals and escapes, as many as fit in `room` characters. Stops in front of CR and LF.
Run QuotedPrintableEncodeRun(BYTE* out, size_t room, const BYTE* in, size_t size) noexcept;

// Quoted-printable text to bytes, at most as many as it has characters. Stops in front of a line break and of a "="
// that two digits do not follow; and in front of blanks there, which may end their line.
Run QuotedPrintableDecodeRun(BYTE* out, const BYTE* in, size_t size) noexcept;

}  // namespace talvo::kernels
