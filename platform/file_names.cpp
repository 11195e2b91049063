// Files by name: attributes, deletion, renaming. Read-only is what has no write permission for anyone, and such a file
// cannot be deleted or replaced, as on Windows.
#include <windows.h>

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
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

bool IsSameFile(const FilePath& a, const FilePath& b) {
    struct stat first;
    struct stat second;
    if (lstat(a.Get(), &first) != 0 || lstat(b.Get(), &second) != 0) return false;
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

// Whether the file of this name, if there is one, may give way to another.
DWORD CheckTarget(const FilePath& path, bool replace) {
    struct stat info;
    if (lstat(path.Get(), &info) != 0) return ERROR_SUCCESS;
    if (!replace) return ERROR_ALREADY_EXISTS;
    const bool kept = S_ISDIR(info.st_mode) || (S_ISREG(info.st_mode) && !(info.st_mode & kAnyWrite));
    return kept || platform::IsDeletionDenied(path.Get()) ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

// Renaming must not replace a file that appeared after the check, where the file system can promise that.
int Rename(const char* from, const char* to, bool replace) {
    if (replace) return rename(from, to);
    const int result = renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
    return result != 0 && (errno == EINVAL || errno == ENOSYS) ? rename(from, to) : result;
}

}  // namespace

DWORD GetFileAttributesA(LPCSTR lpFileName) { return Attributes(FilePath(lpFileName)); }

DWORD GetFileAttributesW(LPCWSTR lpFileName) { return Attributes(FilePath(lpFileName)); }

BOOL DeleteFileA(LPCSTR lpFileName) { return Delete(FilePath(lpFileName)); }

BOOL DeleteFileW(LPCWSTR lpFileName) { return Delete(FilePath(lpFileName)); }

// Within one file system; a null new name (removal at the next start) is not offered.
BOOL MoveFileExA(LPCSTR lpExistingFileName, LPCSTR lpNewFileName, DWORD dwFlags) {
    const bool replace = dwFlags & MOVEFILE_REPLACE_EXISTING;
    if (!lpNewFileName || (dwFlags & ~(MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const FilePath from(lpExistingFileName);
    const DWORD attributes = Attributes(from);
    if (attributes == INVALID_FILE_ATTRIBUTES) return FALSE;
    const FilePath to(lpNewFileName);
    if (!to) return FALSE;
    if (to.NamesFolder() && !(attributes & FILE_ATTRIBUTE_DIRECTORY)) return Fail(ERROR_INVALID_NAME);
    if (platform::IsDeletionDenied(from.Get())) return Fail(ERROR_SHARING_VIOLATION);
    if (IsSameFile(from, to)) return TRUE;
    if (const DWORD error = CheckTarget(to, replace); error != ERROR_SUCCESS) return Fail(error);
    if (Rename(from.Get(), to.Get(), replace) == 0) return TRUE;
    return errno == EEXIST ? Fail(ERROR_ALREADY_EXISTS) : to.Fail();
}
