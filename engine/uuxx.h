// What the steps of UU and XX share: what differs between the two formats, and the header line, "begin 0644 name".
#pragma once

#include "engine/alphabets.h"
#include "engine/output.h"

namespace talvo {

struct UuXxAlphabet {
    const UuXxDigits& Digits;
    const UuXxClasses& Classes;
    void (*EncodeGroups)(BYTE* out, const BYTE* in, size_t groups) noexcept;
    size_t (*DecodeGroups)(BYTE* out, const BYTE* in, size_t groups) noexcept;
};

// XX for XX, else UU.
const UuXxAlphabet& UuXxAlphabetOf(FormatKind kind) noexcept;

// Bytes of the header line, without a line break; 0 if its name cannot be converted.
uint64_t BeginLineSize(const HeaderValues& header) noexcept;
bool WriteBeginLine(const HeaderValues& header, Writer& write) noexcept;

// Takes characters from the front of `rest` until the header line is found (HeaderFound, and the session has its
// values) or none are left. The line counts once the first character of a later line is there, which stays in `rest`.
HRESULT FindBeginLine(const Conversion& c, ByteSpan& rest) noexcept;

}  // namespace talvo
