// Relies on the narrow file calls and on the table of file errors.
#include "component/destination.h"

#include "component/file_errors.h"
#include "component/file_names.h"
#include "server/results/result_codes.h"

namespace talvo {

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
