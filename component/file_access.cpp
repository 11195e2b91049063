// Relies on the narrow file calls. What the system says about a file becomes a result code in one table.
#include "component/file_access.h"

#include <algorithm>
#include <iterator>

#include "component/file_names.h"
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

// The result code that stands for a system error; `otherwise` for errors that have no code of their own, 0 included.
HRESULT MapFileError(DWORD error, HRESULT otherwise) noexcept {
    const auto* const row =
        std::ranges::find_if(kFileErrors, [error](const auto& each) { return each.error == error; });
    return row != std::end(kFileErrors) ? row->code : otherwise;
}

}  // namespace

HRESULT SourceRange::Open(BSTR name, DWORD offset, DWORD size) noexcept {
    com::UniqueTaskBytes path;
    if (const HRESULT hr = AnsiPath(name, path); FAILED(hr)) return hr;
    file_.Reset(CreateFileA(reinterpret_cast<LPCSTR>(path.Get()), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file_) return MapFileError(GetLastError(), berOpenFileForReading);
    const HRESULT hr = Locate(offset, size);
    if (FAILED(hr)) file_.Reset();
    return hr;
}

HRESULT SourceRange::Locate(DWORD offset, DWORD size) noexcept {
    LARGE_INTEGER length;
    if (!GetFileSizeEx(file_.Get(), &length)) return MapFileError(GetLastError(), berOpenFileForReading);
    if (length.QuadPart == 0) return berEmptyFile;
    if (length.HighPart != 0) return berFileTooBig;
    if (offset >= length.LowPart) return berInvalidFileOffset;

    const DWORD rest = length.LowPart - offset;
    left_ = size == 0 ? rest : std::min(size, rest);
    LARGE_INTEGER position;
    position.QuadPart = offset;
    if (offset != 0 && !SetFilePointerEx(file_.Get(), position, nullptr, FILE_BEGIN)) {
        return MapFileError(GetLastError(), berInvalidFileOffset);
    }
    return S_OK;
}

HRESULT SourceRange::Read(BYTE* bytes, DWORD count) noexcept {
    DWORD done = 0;
    SetLastError(ERROR_SUCCESS);  // fewer bytes than asked for are no error to the system
    if (!::ReadFile(file_.Get(), bytes, count, &done, nullptr) || done != count) {
        return MapFileError(GetLastError(), berReadFile);
    }
    left_ -= count;
    return S_OK;
}

HRESULT Destination::Open() noexcept { return NamesFolder(name_) ? S_FALSE : OpenFile(name_); }

HRESULT Destination::OpenNamedBy(ITalvoEncodeData* format) noexcept {
    if (!NamesFolder(name_)) return OpenFile(name_);
    if (!format) return berNoEncodingFormat;
    com::UniqueBstr joined;
    if (const HRESULT hr = JoinHeaderFilename(name_, *format, joined); FAILED(hr)) return hr;
    return OpenFile(joined.Get());
}

HRESULT Destination::OpenFile(BSTR name) noexcept {
    com::UniqueTaskBytes path;
    if (const HRESULT hr = AnsiPath(name, path); FAILED(hr)) return hr;
    file_.Reset(CreateFileA(reinterpret_cast<LPCSTR>(path.Get()), GENERIC_WRITE, 0, nullptr,
                            append_ ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file_) return MapFileError(GetLastError(), berOpenFileForWriting);
    if (!append_ || SetFilePointerEx(file_.Get(), {}, nullptr, FILE_END)) return S_OK;
    const DWORD error = GetLastError();
    file_.Reset();
    return MapFileError(error, berInvalidFileOffset);
}

HRESULT Destination::Write(const BYTE* bytes, DWORD count) noexcept {
    DWORD done = 0;
    SetLastError(ERROR_SUCCESS);  // fewer bytes than given are no error to the system
    const BOOL good = ::WriteFile(file_.Get(), bytes, count, &done, nullptr);
    *written_ += done;
    return good && done == count ? S_OK : MapFileError(GetLastError(), berWriteFile);
}

}  // namespace talvo
