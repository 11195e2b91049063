// File names as clients give them: what they say about header names and folders, and their form for the file calls.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include "TalvoBinaryEncoding.h"
#include "com/unique.h"

namespace talvo {

// A name that ends in a separator is a folder; the file in it gets its name from a header.
bool NamesFolder(BSTR name) noexcept;

// Gives the format object a header file name if it has none: what follows the last separator of the source's name, or
// all of it. A name that ends in a separator gives none. Passes the format object's failures on; E_OUTOFMEMORY.
HRESULT SetHeaderFilenameFromPath(BSTR sourceName, ITalvoEncodeData& format) noexcept;

// The folder's name and the format object's header file name, joined as they are: the header decides where the file
// lands. Passes the format object's failure on; E_OUTOFMEMORY.
HRESULT JoinHeaderFilename(BSTR folder, ITalvoEncodeData& format, com::UniqueBstr& joined) noexcept;

// The name in the ANSI code page, zero-terminated in a task block, null for a null name. The file calls read it up to its
// first zero. E_OUTOFMEMORY.
HRESULT AnsiPath(BSTR name, com::UniqueTaskBytes& path) noexcept;

}  // namespace talvo
