// The format steps: one encode and one decode step a format, each a function of the session and the bytes of one call.
//
// A step owns no memory beyond its output, reads no globals and takes no lock. It returns S_OK or a warning with the
// output (empty for none), or an error; what it has allocated by then goes with the Output.
#pragma once

#include "engine/bytes.h"
#include "engine/output.h"
#include "engine/session.h"

namespace talvo {

struct StepInput {
    ByteSpan Source;
    bool EndOfData;
    bool StartOfSession;  // the first step of its session: headers are written now
};

using Step = HRESULT (*)(EncodingSession& session, const StepInput& input, Output& out);

// UU and XX, told apart by the session's Kind.
HRESULT UuXxEncode(EncodingSession& session, const StepInput& input, Output& out) noexcept;
HRESULT UuXxDecode(EncodingSession& session, const StepInput& input, Output& out) noexcept;
HRESULT Base64Encode(EncodingSession& session, const StepInput& input, Output& out) noexcept;
HRESULT Base64Decode(EncodingSession& session, const StepInput& input, Output& out) noexcept;

HRESULT HexEncode(EncodingSession& session, const StepInput& input, Output& out) noexcept;
HRESULT HexDecode(EncodingSession& session, const StepInput& input, Output& out) noexcept;

HRESULT QuotedPrintableEncode(EncodingSession& session, const StepInput& input, Output& out) noexcept;
HRESULT QuotedPrintableDecode(EncodingSession& session, const StepInput& input, Output& out) noexcept;

HRESULT BinHexEncode(EncodingSession& session, const StepInput& input, Output& out) noexcept;
HRESULT BinHexDecode(EncodingSession& session, const StepInput& input, Output& out) noexcept;

// The exact sizes of what the encode steps write for such a call, and for `sourceSize` more bytes.
uint64_t UuXxEncodedSize(const EncodingSession& session, const StepInput& input) noexcept;
uint64_t Base64EncodedSize(const EncodingSession& session, uint64_t sourceSize, bool endOfData) noexcept;
uint64_t HexEncodedSize(const EncodingSession& session, uint64_t sourceSize, bool endOfData) noexcept;

}  // namespace talvo
