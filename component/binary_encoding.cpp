// The held format object, and the native forms of the buffer and text methods.
#include "component/binary_encoding.h"

#include <mutex>
#include <utility>

#include "component/text.h"

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

// The old object goes after the lock is free: its clean-up is none of this lock's business.
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

HRESULT BinaryEncoding::Encode(const BYTE* pcSource, DWORD dwSourceSize, LONG bEndOfData, BYTE** ppcEncoded,
                               DWORD* pdwEncodedSize) noexcept {
    if (!ppcEncoded || !pdwEncodedSize) return Publish(E_POINTER);
    *ppcEncoded = nullptr;
    *pdwEncodedSize = 0;
    const com::ComPtr<ITalvoEncodeData> format = AcquireFormat();
    if (!format) return Publish(berNoEncodingFormat);
    return Publish(format->Process(pcSource, dwSourceSize, bEndOfData, 0, 0, ppcEncoded, pdwEncodedSize));
}

HRESULT BinaryEncoding::Decode(const BYTE* pcEncoded, DWORD dwEncodedSize, LONG bEndOfData, BYTE** ppcDecoded,
                               DWORD* pdwDecodedSize) noexcept {
    if (!ppcDecoded || !pdwDecodedSize) return Publish(E_POINTER);
    *ppcDecoded = nullptr;
    *pdwDecodedSize = 0;
    const com::ComPtr<ITalvoEncodeData> format = AcquireFormat();
    if (!format) return Publish(berNoEncodingFormat);
    DWORD consumed = 0;  // the whole input, always
    return Publish(format->Revert(pcEncoded, dwEncodedSize, bEndOfData, ppcDecoded, pdwDecodedSize, &consumed));
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
    return Publish(BytesToText(pcData, dwDataSize, pbstrResult));
}

HRESULT BinaryEncoding::FromString(BSTR sData, BYTE** ppcData, DWORD* pdwDataSize) noexcept {
    if (!ppcData || !pdwDataSize) return Publish(E_POINTER);
    *ppcData = nullptr;
    *pdwDataSize = 0;
    if (SysStringLen(sData) == 0) return Publish(S_OK);
    return Publish(TextToBytes(sData, ppcData, pdwDataSize));
}

}  // namespace talvo
