// Where the bytes come from: a file or a standard stream, of any length, whole or a range of it; a second file may
// follow the first. Functions return a Windows error code; 0 is success.
#pragma once

#include <windows.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "cli/messages.h"
#include "cli/streams.h"
#include "com/unique.h"

namespace talvo {

// Bytes of a source; no size: up to its end.
struct Range {
    ULONGLONG offset = 0;
    std::optional<ULONGLONG> size;
};

class Source {
public:
    // `name` as on the command line. ERROR_HANDLE_EOF: the range begins behind the end.
    [[nodiscard]] DWORD Open(const std::string& name, const Range& range);

    // Fills `room`; fewer bytes only at the end.
    [[nodiscard]] DWORD Read(std::span<BYTE> room, size_t& got);
    // The bytes that are left to read where that is known.
    std::optional<ULONGLONG> Size() const;
    HANDLE Handle() const { return handle_; }
    const std::string& Name() const { return name_; }

private:
    DWORD Skip(ULONGLONG count);

    std::string name_;
    com::UniqueFile owned_;
    HANDLE handle_ = INVALID_HANDLE_VALUE;
    std::optional<ULONGLONG> left_;  // of the range
};

// Open, with the messages when that fails.
Failure OpenSource(Source& source, const std::string& name, const Range& range);

// The usual size of a piece.
inline constexpr size_t kChunkSize = size_t{256} * 1024;

// Sources in pieces of one size, as if they were one, each piece marked when it is the last. Reads one piece ahead: the
// mark has to be on a piece with bytes, as an empty closing call would end a full last line with a line break that one
// whole call does not write.
class ChunkReader {
public:
    struct Chunk {
        std::span<const BYTE> bytes;  // valid until the next call
        ULONGLONG offset = 0;
        bool last = false;
    };

    ChunkReader(std::vector<Source*> sources, size_t size)
        : sources_(std::move(sources)), current_(size), ahead_(size) {}
    [[nodiscard]] DWORD Next(Chunk& chunk);
    // The source that was read last.
    const Source& Current() const { return *sources_[at_]; }

private:
    DWORD Fill();

    std::vector<Source*> sources_;
    size_t at_ = 0;
    std::vector<BYTE> current_, ahead_;
    size_t aheadSize_ = 0;
    ULONGLONG offset_ = 0;
    bool started_ = false;
};

}  // namespace talvo
