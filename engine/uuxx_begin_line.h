// The header line of UU and XX, "begin 0644 name": written by the encoder, searched for by the decoder.
#pragma once

#include "engine/bytes.h"
#include "engine/output.h"
#include "engine/session.h"

namespace talvo {

// Bytes of the session's header line, without a line break; 0 if its name cannot be converted.
uint64_t BeginLineSize(const EncodingSession& session) noexcept;
bool WriteBeginLine(const EncodingSession& session, Writer& write) noexcept;

// Takes characters from the front of `rest` until the header line is found (HeaderFound, and the session has its
// values) or none are left. The line counts once the first character of a later line is there, which stays in `rest`.
HRESULT FindBeginLine(EncodingSession& session, ByteSpan& rest) noexcept;

}  // namespace talvo
