// Handles of files and standard streams: files are owned, standard streams borrowed. Functions return a Windows error
// code; 0 is success.
#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <string_view>

namespace talvo {

// A standard stream as it was when this was first called, which is before any file is opened: on some systems a file
// takes the place of a stream that is closed, and must not get the stream's bytes. The invalid handle for a closed one.
HANDLE StandardHandle(DWORD which);
[[nodiscard]] DWORD OpenStandard(DWORD which, HANDLE& handle);

inline constexpr DWORD kLargestTransfer = 1u << 20;

// Writes everything; `written` counts what arrived, also on failure.
[[nodiscard]] DWORD WriteWhole(HANDLE file, std::span<const BYTE> bytes, ULONGLONG& written);
// The same for text on a standard stream.
DWORD WriteText(DWORD standardStream, std::string_view text);
// Of a write's code: nobody reads the pipe any more, as `head` when it has seen enough. No reason to complain.
bool ReaderIsGone(DWORD code);

bool IsTerminal(HANDLE file);
bool IsDiskFile(HANDLE file);
// Whether both are one disk file, by whatever names it was opened.
bool SameFile(HANDLE a, HANDLE b);

}  // namespace talvo
