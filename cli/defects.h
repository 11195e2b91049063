// Finds the place of a defect in an encoded text. A decoder says of a piece of data that something is wrong with it, not
// where; so the piece is decoded once more, byte by byte.
#pragma once

#include <windows.h>

#include <optional>
#include <span>
#include <string>

#include "cli/options.h"
#include "cli/server_access.h"
#include "cli/source.h"

namespace talvo {

// A place in a text whose lines end in CR LF, LF or CR.
class TextPosition {
public:
    // `offset` of the first byte; lines are counted from there.
    explicit TextPosition(ULONGLONG offset) : offset_(offset), lineStart_(offset), countsLines_(offset == 0) {}

    void Advance(std::span<const BYTE> bytes);
    // The byte that comes next: "offset 70: line 2, column 9".
    std::string Describe() const;

private:
    ULONGLONG offset_, lineStart_;
    ULONGLONG line_ = 1;
    bool countsLines_;  // a range may begin within a line
    bool afterCr_ = false;
};

// The place of the defect in a piece that was refused, in words. What came before it is read and decoded once more;
// nothing where the source cannot be read twice, or where that would take long.
std::optional<std::string> FindDefect(const Server& server, const Options& options, const ChunkReader::Chunk& piece);

}  // namespace talvo
