// Text whose lines hold whole groups of characters (Base64, hexadecimal; BinHex, in groups of one). The break of a
// complete line goes in front of what comes next, so the last line that a call completes owes its break to the next
// call.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/output.h"
#include "engine/session.h"
#include "engine/steps.h"

namespace talvo {

// Whether a call begins with the break that an earlier one owes.
bool OpensWithBreak(const EncodingSession& session, uint64_t sourceSize, bool endOfData) noexcept;

// The exact size of `characters` more characters with their breaks.
uint64_t LinedSize(const EncodingSession& session, uint64_t characters, bool opensWithBreak) noexcept;

// Room for exactly that, and for `outside` more bytes, breaks included, of LineWriter::Outside; berInvalidEndOfLineType
// if a break must be written that is none.
HRESULT AllocateLines(const EncodingSession& session, uint64_t characters, bool opensWithBreak, Output& out,
                      uint64_t outside = 0) noexcept;

class LineWriter {
public:
    // Writes the break that `out` opens with, if it does.
    LineWriter(EncodingSession& session, const Output& out, uint32_t groupCharacters, bool opensWithBreak) noexcept;

    // The place of the next groups, which the caller fills: `groups` of them, or as many as the line still takes. Null:
    // the output has no room for them.
    BYTE* Place(size_t& groups) noexcept;

    // What belongs to no line of groups: a header or a footer. It ends with a break of its own.
    void Outside(ByteSpan text) noexcept;

    bool Complete() const noexcept { return write_.Full(); }

private:
    EncodingSession& s_;
    Writer write_;
    uint32_t groupCharacters_;
};

}  // namespace talvo
