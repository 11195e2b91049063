// See file_path.h. Both kinds of slashes separate; upper and lower case differ, as the file system has it.
#include "platform/file_path.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include "platform/last_error.h"

namespace platform {
namespace {

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

}  // namespace

FilePath::FilePath(LPCSTR name) {
    const size_t length = name ? strlen(name) : 0;
    if (length >= sizeof path_) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return;
    }
    memcpy(path_, name ? name : "", length + 1);
    Normalize();
}

FilePath::FilePath(LPCWSTR name) {
    path_[0] = 0;
    if (name && !WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, name, -1, path_, sizeof path_, nullptr, nullptr)) {
        if (GetLastError() == ERROR_INSUFFICIENT_BUFFER) SetLastError(ERROR_FILENAME_EXCED_RANGE);
        if (GetLastError() == ERROR_NO_UNICODE_TRANSLATION) SetLastError(ERROR_INVALID_NAME);
        return;
    }
    Normalize();
}

void FilePath::Normalize() {
    const bool server = path_[0] == '\\' && path_[1] == '\\';
    const bool drive = IsLetter(path_[0]) && path_[1] == ':';
    if (path_[0] == 0 || server || drive) {
        SetLastError(server ? ERROR_BAD_NETPATH : ERROR_PATH_NOT_FOUND);
        return;
    }
    size_t length = 0;
    for (; path_[length]; ++length) {
        if (path_[length] == '\\') path_[length] = '/';
    }
    for (; length > 1 && path_[length - 1] == '/'; --length) namesFolder_ = true;
    path_[length] = 0;
    valid_ = true;
}

DWORD FilePath::ErrorIfMissing() const {
    char folder[PATH_MAX];
    struct stat info;
    const char* last = strrchr(path_, '/');
    if (!last || last == path_) return ERROR_FILE_NOT_FOUND;
    const auto length = static_cast<size_t>(last - path_);
    memcpy(folder, path_, length);
    folder[length] = 0;
    return stat(folder, &info) == 0 && S_ISDIR(info.st_mode) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

BOOL FilePath::Fail() const { return platform::Fail(errno == ENOENT ? ErrorIfMissing() : WindowsError(errno)); }

}  // namespace platform
