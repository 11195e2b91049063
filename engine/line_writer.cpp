// Lines of whole groups: their sizes in advance, and their places.
#include "engine/line_writer.h"

#include <algorithm>
#include <utility>

#include "server/results/result_codes.h"

namespace talvo {
namespace {

uint64_t BreakCount(const EncodingSession& s, uint64_t characters, bool opensWithBreak) noexcept {
    const uint64_t column = s.Column + characters;
    return (column > 0 ? (column - 1) / s.LineLimit : 0) + (opensWithBreak ? 1 : 0);
}

}  // namespace

bool OpensWithBreak(const EncodingSession& s, uint64_t sourceSize, bool endOfData) noexcept {
    return s.BreakPending && (endOfData || sourceSize > 0);
}

uint64_t LinedSize(const EncodingSession& s, uint64_t characters, bool opensWithBreak) noexcept {
    return characters + BreakCount(s, characters, opensWithBreak) * LineBreakBytes(s.EndOfLineType).size();
}

HRESULT AllocateLines(const EncodingSession& s, uint64_t characters, bool opensWithBreak, Output& out,
                      uint64_t outside) noexcept {
    if (!IsEndOfLineType(s.EndOfLineType) && (outside != 0 || BreakCount(s, characters, opensWithBreak) != 0)) {
        return berInvalidEndOfLineType;
    }
    return out.Allocate(LinedSize(s, characters, opensWithBreak) + outside);
}

LineWriter::LineWriter(EncodingSession& session, const Output& out, uint32_t groupCharacters,
                       bool opensWithBreak) noexcept
    : s_(session), write_(out), groupCharacters_(groupCharacters) {
    if (opensWithBreak && std::exchange(s_.BreakPending, false)) write_.Put(LineBreakBytes(s_.EndOfLineType));
}

BYTE* LineWriter::Place(size_t& groups) noexcept {
    if (std::exchange(s_.BreakPending, false)) write_.Put(LineBreakBytes(s_.EndOfLineType));
    groups = std::min<size_t>(groups, (s_.LineLimit - s_.Column) / groupCharacters_);
    BYTE* const place = write_.Take(groups * groupCharacters_);
    s_.Column += static_cast<uint32_t>(groups) * groupCharacters_;
    if (s_.LineLimit - s_.Column < groupCharacters_) {
        s_.BreakPending = true;
        s_.Column = 0;
    }
    return place;
}

void LineWriter::Outside(ByteSpan text) noexcept {
    write_.Put(text);
    write_.Put(LineBreakBytes(s_.EndOfLineType));
}

}  // namespace talvo
