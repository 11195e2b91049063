// Files by name: attributes and deletion. Read-only is what has no write permission for anyone, and such a file cannot be
// deleted, as on Windows.
#include <windows.h>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/file_path.h"
#include "platform/file_sharing.h"
#include "platform/last_error.h"

namespace {

using platform::Fail;
using platform::FilePath;

constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;

DWORD Attributes(const FilePath& path) {
    struct stat info;
    if (!path) return INVALID_FILE_ATTRIBUTES;
    if (stat(path.Get(), &info) != 0) return path.Fail(), INVALID_FILE_ATTRIBUTES;
    if (path.NamesFolder() && !S_ISDIR(info.st_mode)) return Fail(ERROR_INVALID_NAME), INVALID_FILE_ATTRIBUTES;
    DWORD attributes = S_ISDIR(info.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0;
    if (!(info.st_mode & kAnyWrite)) attributes |= FILE_ATTRIBUTE_READONLY;
    return attributes ? attributes : FILE_ATTRIBUTE_NORMAL;
}

BOOL Delete(const FilePath& path) {
    const DWORD attributes = Attributes(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) return FALSE;
    if (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) return Fail(ERROR_ACCESS_DENIED);
    if (platform::IsDeletionDenied(path.Get())) return Fail(ERROR_SHARING_VIOLATION);
    return unlink(path.Get()) == 0 ? TRUE : path.Fail();
}

}  // namespace

DWORD GetFileAttributesA(LPCSTR lpFileName) { return Attributes(FilePath(lpFileName)); }

DWORD GetFileAttributesW(LPCWSTR lpFileName) { return Attributes(FilePath(lpFileName)); }

BOOL DeleteFileA(LPCSTR lpFileName) { return Delete(FilePath(lpFileName)); }
