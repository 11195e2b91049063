// The held format object, and the native forms of the buffer and text methods.
#include "component/binary_encoding.h"

#include <mutex>
#include <utility>

#include "com/narrow_text.h"

namespace talvo {

HRESULT BinaryEncoding::FinalConstruct() noexcept {
    static_cast<void>(CoCreateInstance(CLSID_TalvoUUEncodingFormat, nullptr, CLSCTX_ALL, __uuidof(ITalvoEncodeData),
                                       format_.PutVoid()));
    return S_OK;
}

void BinaryEncoding::FinalRelease() noexcept { static_cast<void>(Reset()); }

IUnknown* BinaryEncoding::Find(REFIID iid) noexcept {
    return FindAmong<DTalvoBinaryEncoding, IDispatch, ITalvoBinaryEncoding, ISupportErrorInfo>(this, iid);
}

HRESULT BinaryEncoding::InterfaceSupportsErrorInfo(REFIID iid) noexcept {
    const bool supported = IsEqualIID(iid, __uuidof(DTalvoBinaryEncoding)) ||
                           IsEqualIID(iid, __uuidof(ITalvoBinaryEncoding)) || IsEqualIID(iid, __uuidof(IDispatch));
    return supported ? S_OK : S_FALSE;
}

com::ComPtr<ITalvoEncodeData> BinaryEncoding::AcquireFormat() noexcept {
    std::lock_guard hold(lock_);
    return format_;
}

HRESULT BinaryEncoding::GetFormat(REFIID iid, void** format) noexcept {
    if (!format) return Publish(E_POINTER);
    *format = nullptr;
    HRESULT hr = S_OK;
    {
        std::lock_guard hold(lock_);
        if (format_) hr = format_->QueryInterface(iid, format);
    }
    return Publish(hr);
}

// The old object is released after the lock is left: its destructor may call anything.
void BinaryEncoding::ReplaceFormat(com::ComPtr<ITalvoEncodeData> format) noexcept {
    std::lock_guard hold(lock_);
    std::swap(format_, format);
}

HRESULT BinaryEncoding::get_EncodingFormat(ITalvoEncodeData** ppiFormat) noexcept {
    return GetFormat(__uuidof(ITalvoEncodeData), reinterpret_cast<void**>(ppiFormat));
}

HRESULT BinaryEncoding::get_EncodingFormat(IDispatch** ppiFormat) noexcept {
    return GetFormat(__uuidof(IDispatch), reinterpret_cast<void**>(ppiFormat));
}

HRESULT BinaryEncoding::putref_EncodingFormat(ITalvoEncodeData* piFormat) noexcept {
    ReplaceFormat(com::ComPtr<ITalvoEncodeData>(piFormat));
    return Publish(S_OK);
}

HRESULT BinaryEncoding::putref_EncodingFormat(IDispatch* piFormat) noexcept {
    com::ComPtr<ITalvoEncodeData> format;
    if (piFormat && (FAILED(piFormat->QueryInterface(__uuidof(ITalvoEncodeData), format.PutVoid())) || !format)) {
        return Publish(E_INVALIDARG);
    }
    ReplaceFormat(std::move(format));
    return Publish(S_OK);
}

HRESULT BinaryEncoding::Convert(ETBFileProcessing action, const BYTE* source, DWORD size, LONG endOfData, BYTE** output,
                                DWORD* outputSize) noexcept {
    if (!output || !outputSize) return E_POINTER;
    *output = nullptr;
    *outputSize = 0;
    const com::ComPtr<ITalvoEncodeData> format = AcquireFormat();
    if (!format) return berNoEncodingFormat;
    DWORD consumed = 0;  // the whole input, always
    return action == bfpEncode ? format->Process(source, size, endOfData, 0, 0, output, outputSize)
                               : format->Revert(source, size, endOfData, output, outputSize, &consumed);
}

HRESULT BinaryEncoding::Encode(const BYTE* pcSource, DWORD dwSourceSize, LONG bEndOfData, BYTE** ppcEncoded,
                               DWORD* pdwEncodedSize) noexcept {
    return Publish(Convert(bfpEncode, pcSource, dwSourceSize, bEndOfData, ppcEncoded, pdwEncodedSize));
}

HRESULT BinaryEncoding::Decode(const BYTE* pcEncoded, DWORD dwEncodedSize, LONG bEndOfData, BYTE** ppcDecoded,
                               DWORD* pdwDecodedSize) noexcept {
    return Publish(Convert(bfpDecode, pcEncoded, dwEncodedSize, bEndOfData, ppcDecoded, pdwDecodedSize));
}

HRESULT BinaryEncoding::Reset() noexcept {
    if (const com::ComPtr<ITalvoEncodeData> format = AcquireFormat()) {
        if (const HRESULT hr = format->Reset(); FAILED(hr)) return Publish(hr);
    }
    return Publish(S_OK);
}

HRESULT BinaryEncoding::ToString(const BYTE* pcData, DWORD dwDataSize, BSTR* pbstrResult) noexcept {
    if (!pbstrResult) return Publish(E_POINTER);
    *pbstrResult = nullptr;
    if (!pcData || dwDataSize == 0) return Publish(S_OK);
    com::UniqueBstr text = com::Widen(CP_ACP, {reinterpret_cast<const char*>(pcData), dwDataSize}, MB_PRECOMPOSED);
    if (!text) return Publish(E_OUTOFMEMORY);
    if (SysStringLen(text.Get()) == 0) return Publish(E_INVALIDARG);
    *pbstrResult = text.Detach();
    return Publish(S_OK);
}

HRESULT BinaryEncoding::FromString(BSTR sData, BYTE** ppcData, DWORD* pdwDataSize) noexcept {
    return Publish(TextToBytes(sData, ppcData, pdwDataSize));
}

HRESULT BinaryEncoding::TextToBytes(BSTR text, BYTE** bytes, DWORD* size) noexcept {
    if (!bytes || !size) return E_POINTER;
    *bytes = nullptr;
    *size = 0;
    if (SysStringLen(text) == 0) return S_OK;
    const uint32_t narrowSize = com::NarrowSize(CP_ACP, text);
    if (narrowSize == 0) return E_INVALIDARG;
    com::UniqueTaskBytes narrow(static_cast<BYTE*>(com::TaskAlloc(narrowSize)));
    if (!narrow) return E_OUTOFMEMORY;
    if (!com::Narrow(CP_ACP, text, narrow.Get(), narrowSize)) return E_INVALIDARG;
    *bytes = narrow.Detach();
    *size = narrowSize;
    return S_OK;
}

}  // namespace talvo
