// Where the bytes come from and go to: a file or a standard stream, of any length. Codes are those of Windows, 0 for
// success. A Destination is never left behind half-written without its user being able to say so.
#pragma once

#include <windows.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "com/unique.h"

namespace talvo {

struct FileTraits {
    using Value = HANDLE;
    static Value Null() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { CloseHandle(value); }
};
using UniqueFile = com::UniqueAny<FileTraits>;

// A standard stream as it was when this was first called, which is before any file is opened: on some systems a file takes
// the place of a stream that is closed, and must not get the stream's bytes. The invalid handle for a closed one.
HANDLE StandardHandle(DWORD which);

// Writes everything; `written` counts what arrived, also on failure.
[[nodiscard]] DWORD WriteWhole(HANDLE file, std::span<const BYTE> bytes, ULONGLONG& written);
// The same for text on a standard stream.
DWORD WriteText(DWORD standardStream, std::string_view text);
// Of a write's code: nobody reads the pipe any more, as `head` when it has seen enough. No reason to complain.
bool ReaderIsGone(DWORD code);

bool IsTerminal(HANDLE file);

class Source {
public:
    // `name` as on the command line.
    [[nodiscard]] DWORD Open(const std::string& name);
    void Close() { owned_.Reset(); }

    // Fills `room`; fewer bytes only at the end.
    [[nodiscard]] DWORD Read(std::span<BYTE> room, size_t& got);
    // The bytes that are left to read where that is known.
    std::optional<ULONGLONG> Size() const;
    HANDLE Handle() const { return handle_; }
    const std::string& Name() const { return name_; }

private:
    std::string name_;
    UniqueFile owned_;
    HANDLE handle_ = INVALID_HANDLE_VALUE;
};

// The source in pieces of one size, each marked when it is the last. Reads one piece ahead: the mark has to be on a piece
// with bytes, as an empty closing call would end a full last line with a line break that one whole call does not write.
class ChunkReader {
public:
    struct Chunk {
        std::span<const BYTE> bytes;  // valid until the next call
        ULONGLONG offset = 0;
        bool last = false;
    };

    ChunkReader(Source& source, size_t size) : source_(source), current_(size), ahead_(size) {}
    [[nodiscard]] DWORD Next(Chunk& chunk);

private:
    Source& source_;
    std::vector<BYTE> current_, ahead_;
    size_t aheadSize_ = 0;
    ULONGLONG offset_ = 0;
    bool started_ = false;
};

class Destination {
public:
    Destination() = default;
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;
    ~Destination() { Abandon(); }

    // Creates the file, or opens the one that is there and leaves its content alone until the first byte is written:
    // a conversion that fails before does no harm.
    [[nodiscard]] DWORD Open(const std::string& name);
    [[nodiscard]] DWORD Write(std::span<const BYTE> bytes);
    // Ends the file where the writing ended.
    [[nodiscard]] DWORD Finish();
    // Gives up: a file that Open created and that got nothing is removed.
    void Abandon();

    ULONGLONG Written() const { return written_; }
    // Whether giving up now leaves something other than what was there before.
    bool Changed() const { return written_ != 0 || emptied_; }
    bool IsStandard() const { return standard_; }
    HANDLE Handle() const { return handle_; }
    const std::string& Name() const { return name_; }

private:
    DWORD Empty();

    std::string name_;
    UniqueFile owned_;
    HANDLE handle_ = INVALID_HANDLE_VALUE;
    bool standard_ = false;
    bool created_ = false;  // by Open
    bool oldFile_ = false;  // holds what it held before
    bool emptied_ = false;  // of what it held before
    ULONGLONG written_ = 0;
};

// Whether two names are the same text but for "./", doubled separators and their kind. Links are not followed.
bool SameName(std::string_view a, std::string_view b);

}  // namespace talvo
