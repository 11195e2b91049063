// Native forms of the file methods. They read, convert and write slice by slice, through this class's own Encode and
// Decode, so that the format object is taken anew for every slice and each conversion reports for itself. Files are open
// within a call only.
#include <algorithm>

#include "com/unique.h"
#include "component/binary_encoding.h"
#include "component/destination.h"
#include "component/file_names.h"
#include "component/source_range.h"

namespace talvo {
namespace {

constexpr DWORD kFileChunkSize = 131072;

HRESULT CheckAction(ETBFileProcessing action) noexcept {
    return action == bfpEncode || action == bfpDecode ? S_OK : berInvalidFileProcessing;
}

bool IsEmpty(BSTR name) noexcept { return SysStringLen(name) == 0; }

// Without a name there is no source: what the format object holds is flushed.
HRESULT CheckSource(BSTR name, DWORD offset, DWORD size, LONG endOfData) noexcept {
    const bool flush = offset == 0 && size == 0 && endOfData != 0;
    return !IsEmpty(name) || flush ? S_OK : berInvalidFilename;
}

}  // namespace

HRESULT BinaryEncoding::Convert(ETBFileProcessing action, const BYTE* source, DWORD size, bool endOfData, BYTE** output,
                                DWORD* outputSize) noexcept {
    return action == bfpEncode ? Encode(source, size, endOfData, output, outputSize)
                               : Decode(source, size, endOfData, output, outputSize);
}

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
    HRESULT Slice(const BYTE* source, DWORD size, bool endOfData) noexcept;
    HRESULT Range(SourceRange& source, bool endOfData) noexcept;
    HRESULT Flush() noexcept;

private:
    // Without a format object any more, a folder's file has no name.
    HRESULT OpenNamed() noexcept { return destination_.OpenNamedBy(component_.AcquireFormat().Get()); }

    BinaryEncoding& component_;
    ETBFileProcessing action_;
    Destination destination_;
    HRESULT status_ = S_OK;
};

// A failure has been published, except that of opening a file in a folder: that one only the automation forms publish.
HRESULT BinaryEncoding::Transfer::Slice(const BYTE* source, DWORD size, bool endOfData) noexcept {
    com::UniqueTaskBytes bytes;
    DWORD count = 0;
    HRESULT hr = component_.Convert(action_, source, size, endOfData, bytes.Put(), &count);
    if (FAILED(hr)) return hr;
    if (status_ == S_OK) status_ = hr;
    if (count == 0) return S_OK;
    if (!destination_.IsOpen()) {
        hr = OpenNamed();
        if (FAILED(hr)) return hr;
        status_ = S_OK;
    }
    hr = destination_.Write(bytes.Get(), count);
    return FAILED(hr) ? component_.Publish(hr) : S_OK;
}

HRESULT BinaryEncoding::Transfer::Range(SourceRange& source, bool endOfData) noexcept {
    const com::UniqueTaskBytes buffer(static_cast<BYTE*>(com::TaskAlloc(std::min(source.Left(), kFileChunkSize))));
    if (!buffer) return component_.Publish(E_OUTOFMEMORY);
    while (source.Left() != 0) {
        const DWORD size = std::min(source.Left(), kFileChunkSize);
        HRESULT hr = source.Read(buffer.Get(), size);
        if (FAILED(hr)) return component_.Publish(hr);
        hr = Slice(buffer.Get(), size, endOfData && source.Left() == 0);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

// Touches the destination only if there is something to write.
HRESULT BinaryEncoding::Transfer::Flush() noexcept {
    com::UniqueTaskBytes bytes;
    DWORD count = 0;
    status_ = component_.Convert(action_, nullptr, 0, true, bytes.Put(), &count);
    if (FAILED(status_) || count == 0) return status_;
    HRESULT hr = OpenNamed();
    if (SUCCEEDED(hr)) hr = destination_.Write(bytes.Get(), count);
    return FAILED(hr) ? component_.Publish(hr) : S_OK;
}

HRESULT BinaryEncoding::ReadFile(BSTR sSourceFilename, DWORD dwSourceOffset, DWORD dwSourceSize,
                                 ETBFileProcessing eAction, LONG bEndOfData, DWORD* pdwBytesRead, BYTE** ppcData,
                                 DWORD* pdwDataSize) noexcept {
    if (!pdwBytesRead || !ppcData || !pdwDataSize) return Publish(E_POINTER);
    *pdwBytesRead = 0;
    *ppcData = nullptr;
    *pdwDataSize = 0;
    if (const HRESULT hr = CheckAction(eAction); FAILED(hr)) return Publish(hr);
    HRESULT hr = CheckSource(sSourceFilename, dwSourceOffset, dwSourceSize, bEndOfData);
    if (FAILED(hr)) return Publish(hr);

    com::UniqueTaskBytes range;
    DWORD count = 0;
    if (!IsEmpty(sSourceFilename)) {
        hr = NameHeader(eAction, sSourceFilename);
        if (FAILED(hr)) return hr;  // the format object has said why
        SourceRange source;
        hr = source.Open(sSourceFilename, dwSourceOffset, dwSourceSize);
        if (FAILED(hr)) return Publish(hr);
        count = source.Left();
        range.Reset(static_cast<BYTE*>(com::TaskAlloc(count)));
        if (!range) return Publish(E_OUTOFMEMORY);
        hr = source.Read(range.Get(), count);
        if (FAILED(hr)) return Publish(hr);
    }
    *pdwBytesRead = count;
    return Convert(eAction, range.Get(), count, bEndOfData != 0, ppcData, pdwDataSize);
}

HRESULT BinaryEncoding::WriteFile(const BYTE* pcData, DWORD dwDataSize, ETBFileProcessing eAction, LONG bEndOfData,
                                  BSTR sDestFilename, LONG bAppend, DWORD* pdwWritten) noexcept {
    if (!pdwWritten) return Publish(E_POINTER);
    *pdwWritten = 0;
    if (const HRESULT hr = CheckAction(eAction); FAILED(hr)) return Publish(hr);
    Transfer transfer(*this, eAction, sDestFilename, bAppend, pdwWritten);
    if (const HRESULT hr = transfer.Open(); FAILED(hr)) return Publish(hr);
    if (dwDataSize == 0 && bEndOfData == 0) return Publish(S_OK);  // the file is there, and that is all
    DWORD done = 0;
    do {
        const DWORD size = std::min(dwDataSize - done, kFileChunkSize);
        const bool last = size == dwDataSize - done;
        if (const HRESULT hr = transfer.Slice(pcData + done, size, last && bEndOfData != 0); FAILED(hr)) return hr;
        done += size;
    } while (done != dwDataSize);
    return Publish(transfer.Status());
}

HRESULT BinaryEncoding::ProcessFile(BSTR sSourceFilename, DWORD dwSourceOffset, DWORD dwSourceSize,
                                    ETBFileProcessing eAction, LONG bEndOfData, BSTR sDestFilename, LONG bAppend,
                                    DWORD* pdwBytesRead, DWORD* pdwWritten) noexcept {
    if (!pdwBytesRead || !pdwWritten) return Publish(E_POINTER);
    *pdwBytesRead = *pdwWritten = 0;
    if (const HRESULT hr = CheckAction(eAction); FAILED(hr)) return Publish(hr);
    HRESULT hr = CheckSource(sSourceFilename, dwSourceOffset, dwSourceSize, bEndOfData);
    if (FAILED(hr)) return Publish(hr);
    Transfer transfer(*this, eAction, sDestFilename, bAppend, pdwWritten);
    if (IsEmpty(sSourceFilename)) {
        hr = transfer.Flush();
        return FAILED(hr) ? hr : Publish(transfer.Status());
    }

    hr = NameHeader(eAction, sSourceFilename);
    if (FAILED(hr)) return hr;  // the format object has said why
    SourceRange source;
    hr = source.Open(sSourceFilename, dwSourceOffset, dwSourceSize);
    if (SUCCEEDED(hr)) hr = transfer.Open();
    if (FAILED(hr)) return Publish(hr);
    const DWORD count = source.Left();
    hr = transfer.Range(source, bEndOfData != 0);
    if (FAILED(hr)) return hr;
    *pdwBytesRead = count;
    return Publish(transfer.Status());
}

}  // namespace talvo
