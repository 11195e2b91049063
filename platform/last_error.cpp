// The last-error value is per thread, as on Windows. The table is the only place that knows both kinds of numbers.
#include "platform/last_error.h"

#include <errno.h>

namespace {

thread_local DWORD lastError = 0;

const struct {
    int system;
    DWORD windows;
} kErrors[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {EROFS, ERROR_WRITE_PROTECT},
    {ENOMEDIUM, ERROR_NOT_READY},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EAGAIN, ERROR_LOCK_VIOLATION},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
    {ENODEV, ERROR_DEV_NOT_EXIST},
    {ENXIO, ERROR_DEV_NOT_EXIST},
    {EEXIST, ERROR_FILE_EXISTS},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EILSEQ, ERROR_INVALID_NAME},
    {ESPIPE, ERROR_SEEK_ON_DEVICE},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {EPIPE, ERROR_NO_DATA},
    {EFAULT, ERROR_INVALID_ADDRESS},
    {EIO, ERROR_IO_DEVICE},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
};

}  // namespace

namespace platform {

DWORD WindowsError(int errnoValue) {
    for (const auto& row : kErrors) {
        if (row.system == errnoValue) return row.windows;
    }
    return ERROR_GEN_FAILURE;
}

BOOL Fail(DWORD error) {
    lastError = error;
    return FALSE;
}

BOOL FailWithErrno() { return Fail(WindowsError(errno)); }

}  // namespace platform

DWORD GetLastError() { return lastError; }

void SetLastError(DWORD dwErrCode) { lastError = dwErrCode; }
