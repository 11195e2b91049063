// The two outer layers of a BinHex text as a decoder meets them: where the data starts, and its characters.
#pragma once

#include "engine/output.h"
#include "engine/session.h"
#include "engine/verdict.h"

namespace talvo {

// The text after the ":" that opens the data, which sets HeaderFound; empty while it has not come. Everything in front
// is skipped: the data follows a line that starts like the identification line, as the next line that is not empty.
ByteSpan FindBinHexData(EncodingSession& session, ByteSpan text) noexcept;

// An upper bound of the bytes that ReadBinHexCharacters makes of `size` more characters.
uint64_t BinHexBytesBound(const EncodingSession& session, uint64_t size) noexcept;

// Turns characters into bytes up to the closing ":" and its line break, which set Finished. White space counts nowhere.
// False: the verdict has an error.
[[nodiscard]] bool ReadBinHexCharacters(EncodingSession& session, ByteSpan text, bool endOfData, Verdict& verdict,
                                        Writer& write) noexcept;

}  // namespace talvo
