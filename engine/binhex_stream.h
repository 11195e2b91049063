// What the two directions of BinHex 4.0 (RFC 1741, appendix A) share. The stream is built in layers:
//
//   text         identification line, ":", lines of characters, ":"
//   6-bit        3 bytes as 4 characters                              alphabets.h
//   run-length   byte, 0x90, count                                    binhex_runs.h
//   binary       header block, data fork, CRC, resource fork, CRC     this file
//
// Without header and footer the binary layer is the data alone, and the text has neither line nor ":".
#pragma once

#include <windows.h>

#include <string_view>

#include "engine/session.h"

namespace talvo {

inline constexpr std::string_view kIdentificationLine = "(This file must be converted with BinHex 4.0)";

// A name of this many bytes is written; up to 255 are read.
inline constexpr size_t kBinHexLongestName = 63;
inline constexpr uint32_t kCrcSize = 2;

// The header block, for a name of n bytes; numbers are big-endian:
//
//   offset  0   1      1+n      2+n   6+n      10+n   12+n         16+n             20+n
//           n   name   version  type  creator  flags  data length  resource length  CRC of all before
struct EncodedHeader {
    BYTE Bytes[BinHexState::kFixedHeaderSize + kBinHexLongestName];
    size_t Size = 0;
};
EncodedHeader BuildHeaderBlock(const HeaderValues& values) noexcept;

// Whether a header block's CRC is right.
bool IsIntact(ByteSpan headerBlock) noexcept;

// Sets the header values of the session, all at once. The name ends at its first zero byte.
HRESULT StoreHeaderValues(const Conversion& c, ByteSpan headerBlock) noexcept;

}  // namespace talvo
