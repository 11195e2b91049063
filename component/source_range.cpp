// Relies on the narrow file calls and on the table of file errors.
#include "component/source_range.h"

#include <algorithm>

#include "component/file_errors.h"
#include "component/file_names.h"
#include "server/results/result_codes.h"

namespace talvo {

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

}  // namespace talvo
