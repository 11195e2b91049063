// The files of a file method, open for as long as the call: the range that it reads, and where it writes.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include "TalvoBinaryEncoding.h"
#include "com/unique.h"

namespace talvo {

class SourceRange {
public:
    // Opens the file, sharing it with readers only, and goes to the offset. Size 0 means up to the end of the file; a
    // range that reaches beyond is cut. The codes of file failures; E_OUTOFMEMORY.
    HRESULT Open(BSTR name, DWORD offset, DWORD size) noexcept;

    // Bytes of the range that are still to be read.
    DWORD Left() const noexcept { return left_; }

    // Reads the next `count` bytes, at most Left(), in one request; fewer are a failure.
    HRESULT Read(BYTE* bytes, DWORD count) noexcept;

private:
    HRESULT Locate(DWORD offset, DWORD size) noexcept;

    com::UniqueFile file_;
    DWORD left_ = 0;
};

// A file, or a folder in which the file is opened when there is something to write, because only then its name is known.
// What has been written stays, whatever fails later.
class Destination {
public:
    // Every byte written is added to `*written`.
    Destination(BSTR name, bool append, DWORD* written) noexcept : name_(name), append_(append), written_(written) {}

    // Opens the file for this caller alone: made when it is missing, emptied unless it is to be appended to. S_FALSE for
    // a folder, and nothing is opened. The codes of file failures; E_OUTOFMEMORY.
    HRESULT Open() noexcept;

    // The same, with the format object's header file name for a folder.
    HRESULT OpenNamedBy(ITalvoEncodeData* format) noexcept;

    bool IsOpen() const noexcept { return static_cast<bool>(file_); }

    // Writes in one request; fewer bytes are a failure.
    HRESULT Write(const BYTE* bytes, DWORD count) noexcept;

private:
    HRESULT OpenFile(BSTR name) noexcept;

    BSTR name_;
    bool append_;
    DWORD* written_;
    com::UniqueFile file_;
};

}  // namespace talvo
