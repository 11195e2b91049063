// The range of a source file that a file method converts, open for as long as the call.
#pragma once

#include <windows.h>
#include <oleauto.h>

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

}  // namespace talvo
