// A borrowed, read-only range of bytes.
#pragma once

#include <windows.h>

#include <span>

namespace talvo {

using ByteSpan = std::span<const BYTE>;

}  // namespace talvo
