// Sharing modes, kept by locks between all processes that open files through the stand-in. Internal.
#pragma once

#include <windows.h>

namespace platform {

// Claims `access` (GENERIC_...) and denies what `share` (FILE_SHARE_...) leaves out, until the file is closed. False if
// another open file stands against it. File systems without such locks allow everything.
bool ClaimSharing(int file, DWORD access, DWORD share);

// True if an open file denies others to delete, rename or replace the file of this name.
bool IsDeletionDenied(const char* path);

}  // namespace platform
