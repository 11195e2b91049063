// The file methods. They read, convert and write slice by slice, and take the format object anew for every slice. Files are
// open within a call only.
#include <algorithm>

#include "com/unique.h"
#include "component/binary_encoding.h"
#include "component/file_access.h"
#include "component/file_names.h"

namespace talvo {
namespace {

constexpr DWORD kFileChunkSize = 131072;

bool IsEmpty(BSTR name) noexcept { return SysStringLen(name) == 0; }

HRESULT CheckAction(ETBFileProcessing action) noexcept {
    return action == bfpEncode || action == bfpDecode ? S_OK : berInvalidFileProcessing;
}

// Without a name there is no source: what the format object holds is flushed.
HRESULT CheckSource(ETBFileProcessing action, BSTR name, DWORD offset, DWORD size, LONG endOfData) noexcept {
    const bool flush = offset == 0 && size == 0 && endOfData != 0;
    const HRESULT hr = CheckAction(action);
    return SUCCEEDED(hr) && IsEmpty(name) && !flush ? berInvalidFilename : hr;
}

}  // namespace

HRESULT BinaryEncoding::NameHeader(ETBFileProcessing action, BSTR source) noexcept {
    if (action != bfpEncode) return S_OK;
    const com::ComPtr<ITalvoEncodeData> format = AcquireFormat();
    return format ? SetHeaderFilenameFromPath(source, *format.Get()) : S_OK;
}

// Conversions of one call on their way into one destination.
class BinaryEncoding::Transfer {
public:
    Transfer(BinaryEncoding& component, ETBFileProcessing action, BSTR destination, LONG append,
             DWORD* written) noexcept
        : component_(component), action_(action), destination_(destination, append != 0, written) {}

    HRESULT Open() noexcept { return status_ = destination_.Open(); }
    // S_OK, the first warning, or S_FALSE when nothing came for a folder and so no file was made.
    HRESULT Status() const noexcept { return status_; }
    Outcome Slice(const BYTE* source, DWORD size, bool endOfData) noexcept;
    Outcome Range(SourceRange& source, bool endOfData) noexcept;
    HRESULT Flush() noexcept;

private:
    // Without a format object any more, a folder's file has no name.
    HRESULT OpenNamed() noexcept { return destination_.OpenNamedBy(component_.AcquireFormat().Get()); }

    BinaryEncoding& component_;
    ETBFileProcessing action_;
    Destination destination_;
    HRESULT status_ = S_OK;
};

BinaryEncoding::Outcome BinaryEncoding::Transfer::Slice(const BYTE* source, DWORD size, bool endOfData) noexcept {
    com::UniqueTaskBytes bytes;
    DWORD count = 0;
    HRESULT hr = component_.Convert(action_, source, size, endOfData, bytes.Put(), &count);
    if (FAILED(hr)) return hr;
    if (status_ == S_OK) status_ = hr;
    if (count == 0) return S_OK;
    if (!destination_.IsOpen()) {
        component_.Publish(hr);  // what is to be read when the folder's file cannot be opened
        hr = OpenNamed();
        if (FAILED(hr)) return {hr, true};
        status_ = S_OK;
    }
    return destination_.Write(bytes.Get(), count);
}

BinaryEncoding::Outcome BinaryEncoding::Transfer::Range(SourceRange& source, bool endOfData) noexcept {
    const com::UniqueTaskBytes buffer(static_cast<BYTE*>(com::TaskAlloc(std::min(source.Left(), kFileChunkSize))));
    if (!buffer) return E_OUTOFMEMORY;
    while (source.Left() != 0) {
        const DWORD size = std::min(source.Left(), kFileChunkSize);
        if (const HRESULT hr = source.Read(buffer.Get(), size); FAILED(hr)) return hr;
        const Outcome slice = Slice(buffer.Get(), size, endOfData && source.Left() == 0);
        if (FAILED(slice.Code)) return slice;
    }
    return S_OK;
}

// Touches the destination only if there is something to write.
HRESULT BinaryEncoding::Transfer::Flush() noexcept {
    com::UniqueTaskBytes bytes;
    DWORD count = 0;
    status_ = component_.Convert(action_, nullptr, 0, true, bytes.Put(), &count);
    if (FAILED(status_) || count == 0) return status_;
    if (const HRESULT hr = OpenNamed(); FAILED(hr)) return hr;
    const HRESULT hr = destination_.Write(bytes.Get(), count);
    return FAILED(hr) ? hr : status_;
}

BinaryEncoding::Outcome BinaryEncoding::ConvertFromFile(BSTR source, DWORD offset, DWORD size, ETBFileProcessing action,
                                                        LONG endOfData, DWORD* bytesRead, BYTE** data,
                                                        DWORD* dataSize) noexcept {
    if (!bytesRead || !data || !dataSize) return E_POINTER;
    *bytesRead = *dataSize = 0;
    *data = nullptr;
    HRESULT hr = CheckSource(action, source, offset, size, endOfData);
    if (FAILED(hr)) return hr;

    com::UniqueTaskBytes bytes;
    if (!IsEmpty(source)) {
        hr = NameHeader(action, source);
        if (FAILED(hr)) return {hr, true};  // already published by the format object
        SourceRange range;
        hr = range.Open(source, offset, size);
        if (FAILED(hr)) return hr;
        const DWORD count = range.Left();
        bytes.Reset(static_cast<BYTE*>(com::TaskAlloc(count)));
        if (!bytes) return E_OUTOFMEMORY;
        hr = range.Read(bytes.Get(), count);
        if (FAILED(hr)) return hr;
        *bytesRead = count;
    }
    return Convert(action, bytes.Get(), *bytesRead, endOfData != 0, data, dataSize);
}

BinaryEncoding::Outcome BinaryEncoding::ConvertIntoFile(const BYTE* data, DWORD size, ETBFileProcessing action,
                                                        LONG endOfData, BSTR destination, LONG append,
                                                        DWORD* written) noexcept {
    if (!written) return E_POINTER;
    *written = 0;
    if (const HRESULT hr = CheckAction(action); FAILED(hr)) return hr;
    Transfer transfer(*this, action, destination, append, written);
    if (const HRESULT hr = transfer.Open(); FAILED(hr)) return hr;
    if (size == 0 && endOfData == 0) return S_OK;  // the file is there, and that is all
    DWORD done = 0;
    do {
        const DWORD count = std::min(size - done, kFileChunkSize);
        const bool last = count == size - done;
        const Outcome slice = transfer.Slice(data + done, count, last && endOfData != 0);
        if (FAILED(slice.Code)) return slice;
        done += count;
    } while (done != size);
    return transfer.Status();
}

BinaryEncoding::Outcome BinaryEncoding::ConvertFile(BSTR source, DWORD offset, DWORD size, ETBFileProcessing action,
                                                    LONG endOfData, BSTR destination, LONG append, DWORD* bytesRead,
                                                    DWORD* written) noexcept {
    if (!bytesRead || !written) return E_POINTER;
    *bytesRead = *written = 0;
    HRESULT hr = CheckSource(action, source, offset, size, endOfData);
    if (FAILED(hr)) return hr;
    Transfer transfer(*this, action, destination, append, written);
    if (IsEmpty(source)) return transfer.Flush();

    hr = NameHeader(action, source);
    if (FAILED(hr)) return {hr, true};  // already published by the format object
    SourceRange range;
    hr = range.Open(source, offset, size);
    if (SUCCEEDED(hr)) hr = transfer.Open();
    if (FAILED(hr)) return hr;
    const DWORD count = range.Left();
    if (const Outcome all = transfer.Range(range, endOfData != 0); FAILED(all.Code)) return all;
    *bytesRead = count;
    return transfer.Status();
}

HRESULT BinaryEncoding::ReadFile(BSTR sSourceFilename, DWORD dwSourceOffset, DWORD dwSourceSize,
                                 ETBFileProcessing eAction, LONG bEndOfData, DWORD* pdwBytesRead, BYTE** ppcData,
                                 DWORD* pdwDataSize) noexcept {
    return Publish(ConvertFromFile(sSourceFilename, dwSourceOffset, dwSourceSize, eAction, bEndOfData, pdwBytesRead,
                                   ppcData, pdwDataSize));
}

HRESULT BinaryEncoding::WriteFile(const BYTE* pcData, DWORD dwDataSize, ETBFileProcessing eAction, LONG bEndOfData,
                                  BSTR sDestFilename, LONG bAppend, DWORD* pdwWritten) noexcept {
    return Publish(ConvertIntoFile(pcData, dwDataSize, eAction, bEndOfData, sDestFilename, bAppend, pdwWritten));
}

HRESULT BinaryEncoding::ProcessFile(BSTR sSourceFilename, DWORD dwSourceOffset, DWORD dwSourceSize,
                                    ETBFileProcessing eAction, LONG bEndOfData, BSTR sDestFilename, LONG bAppend,
                                    DWORD* pdwBytesRead, DWORD* pdwWritten) noexcept {
    return Publish(ConvertFile(sSourceFilename, dwSourceOffset, dwSourceSize, eAction, bEndOfData, sDestFilename,
                               bAppend, pdwBytesRead, pdwWritten));
}

}  // namespace talvo
