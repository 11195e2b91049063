// The bytes of a line break, and what a line without breaks is.
#pragma once

#include <windows.h>

#include <cstdint>

#include "engine/bytes.h"

namespace talvo {

// Values of ETBEndOfLineType.
enum EndOfLine : int32_t { kNoBreak = 0, kCrLf = 1, kLf = 2, kCr = 3 };

constexpr bool IsEndOfLineType(int32_t type) noexcept { return type >= kNoBreak && type <= kCr; }

inline constexpr BYTE kCrLfBytes[] = {0x0D, 0x0A};

// Empty for bltNone, and for a value that is no line break type.
constexpr ByteSpan LineBreakBytes(int32_t type) noexcept {
    switch (type) {
        case kCrLf:
            return {kCrLfBytes, 2};
        case kLf:
            return {kCrLfBytes + 1, 1};
        case kCr:
            return {kCrLfBytes, 1};
        default:
            return {};
    }
}

// LineLimit of a session whose text has no line breaks.
inline constexpr uint32_t kEndlessLine = 0xFFFFFFFF;

}  // namespace talvo
