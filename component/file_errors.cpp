// The table of file errors: each system error once.
#include "component/file_errors.h"

#include <algorithm>
#include <iterator>

#include "server/results/result_codes.h"

namespace talvo {
namespace {

constexpr struct {
    DWORD error;
    HRESULT code;
} kFileErrors[] = {
    {ERROR_FILE_NOT_FOUND, berFileNotFound},
    {ERROR_PATH_NOT_FOUND, berPathNotFound},
    {ERROR_DIRECTORY, berPathNotFound},
    {ERROR_INVALID_DRIVE, berPathNotFound},
    {ERROR_BAD_UNIT, berPathNotFound},
    {ERROR_BAD_NETPATH, berPathNotFound},
    {ERROR_DEV_NOT_EXIST, berPathNotFound},
    {ERROR_WRITE_PROTECT, berAccessDenied},
    {ERROR_FILE_READ_ONLY, berAccessDenied},
    {ERROR_ACCESS_DENIED, berAccessDenied},
    {ERROR_NETWORK_ACCESS_DENIED, berAccessDenied},
    {ERROR_SHARING_VIOLATION, berAlreadyInUse},
    {ERROR_LOCK_VIOLATION, berAlreadyInUse},
    {ERROR_PATH_BUSY, berAlreadyInUse},
    {ERROR_DRIVE_LOCKED, berAlreadyInUse},
    {ERROR_INVALID_NAME, berInvalidFilename},
    {ERROR_FILENAME_EXCED_RANGE, berInvalidFilename},
    {ERROR_BUFFER_OVERFLOW, berInvalidFilename},
    {ERROR_DISK_FULL, berDiskFull},
    {ERROR_HANDLE_DISK_FULL, berDiskFull},
    {ERROR_WRITE_FAULT, berWriteFile},
    {ERROR_NET_WRITE_FAULT, berWriteFile},
    {ERROR_READ_FAULT, berReadFile},
    {ERROR_FILE_EXISTS, berAlreadyExists},
    {ERROR_ALREADY_EXISTS, berAlreadyExists},
    {ERROR_NOT_READY, berAccessingDrive},
    {ERROR_CRC, berAccessingDrive},
    {ERROR_SECTOR_NOT_FOUND, berAccessingDrive},
    {ERROR_MEDIA_CHANGED, berAccessingDrive},
    {ERROR_GEN_FAILURE, berAccessingDrive},
};

}  // namespace

HRESULT MapFileError(DWORD error, HRESULT otherwise) noexcept {
    const auto* const row =
        std::ranges::find_if(kFileErrors, [error](const auto& each) { return each.error == error; });
    return row != std::end(kFileErrors) ? row->code : otherwise;
}

}  // namespace talvo
