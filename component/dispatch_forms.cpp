// Automation forms of the methods: view the VARIANT, have the work done, hand the block to the result, publish once.
#include "com/unique.h"
#include "com/variant_bytes.h"
#include "component/binary_encoding.h"

namespace talvo {
namespace {

// Hands a block over to a byte array VARIANT. The block stays with its owner when that fails.
HRESULT HandToVariant(com::UniqueTaskBytes& bytes, DWORD size, VARIANT* result) noexcept {
    const HRESULT hr = com::MakeByteArrayVariant(size, bytes.Get(), result, com::ByteArrayMode::Adopt);
    if (FAILED(hr)) return hr == E_OUTOFMEMORY ? hr : berInternalError;
    if (V_VT(result) != VT_EMPTY) static_cast<void>(bytes.Detach());
    return S_OK;
}

void SetNumber(VARIANT* variant, DWORD number) noexcept {
    V_VT(variant) = VT_I4;
    V_I4(variant) = static_cast<LONG>(number);
}

LONG Flag(VARIANT_BOOL flag) noexcept { return flag != VARIANT_FALSE; }

}  // namespace

HRESULT BinaryEncoding::ConvertVariant(ETBFileProcessing action, const VARIANT* source, VARIANT_BOOL endOfData,
                                       VARIANT* result) noexcept {
    if (!result) return Publish(E_POINTER);
    VariantInit(result);
    const com::VariantByteView view(source);
    com::UniqueTaskBytes bytes;
    DWORD size = 0;
    const HRESULT hr = Convert(action, view.Data(), view.Size(), Flag(endOfData), bytes.Put(), &size);
    // A warning is not passed on: an automation client gets the output, and S_OK.
    return Publish(FAILED(hr) ? hr : HandToVariant(bytes, size, result));
}

HRESULT BinaryEncoding::Encode(VARIANT* vaSource, VARIANT_BOOL bEndOfData, VARIANT* vaEncoded) noexcept {
    return ConvertVariant(bfpEncode, vaSource, bEndOfData, vaEncoded);
}

HRESULT BinaryEncoding::Decode(VARIANT* vaEncoded, VARIANT_BOOL bEndOfData, VARIANT* vaDecoded) noexcept {
    return ConvertVariant(bfpDecode, vaEncoded, bEndOfData, vaDecoded);
}

HRESULT BinaryEncoding::ToString(VARIANT* vaData, BSTR* bstrResult) noexcept {
    if (!bstrResult) return Publish(E_POINTER);
    *bstrResult = nullptr;
    const com::VariantByteView view(vaData);
    return ToString(view.Data(), view.Size(), bstrResult);
}

HRESULT BinaryEncoding::FromString(BSTR sData, VARIANT* vaResult) noexcept {
    if (!vaResult) return Publish(E_POINTER);
    VariantInit(vaResult);
    com::UniqueTaskBytes bytes;
    DWORD size = 0;
    const HRESULT hr = TextToBytes(sData, bytes.Put(), &size);
    return Publish(FAILED(hr) ? hr : HandToVariant(bytes, size, vaResult));
}

// Offsets and sizes are taken as unsigned.
HRESULT BinaryEncoding::ReadFile(BSTR sSourceFilename, LONG lSourceOffset, LONG lSourceSize, ETBFileProcessing eAction,
                                 VARIANT_BOOL bEndOfData, VARIANT* vaBytesRead, VARIANT* vaResult) noexcept {
    if (!vaBytesRead || !vaResult) return Publish(E_POINTER);
    static_cast<void>(VariantClear(vaResult));
    VariantInit(vaResult);
    SetNumber(vaBytesRead, 0);
    com::UniqueTaskBytes bytes;
    DWORD read = 0;
    DWORD size = 0;
    HRESULT hr = ConvertFromFile(sSourceFilename, static_cast<DWORD>(lSourceOffset), static_cast<DWORD>(lSourceSize),
                                 eAction, Flag(bEndOfData), &read, bytes.Put(), &size)
                     .Code;
    if (SUCCEEDED(hr)) hr = HandToVariant(bytes, size, vaResult);
    if (SUCCEEDED(hr)) SetNumber(vaBytesRead, read);
    return Publish(hr);
}

HRESULT BinaryEncoding::WriteFile(VARIANT* vaData, ETBFileProcessing eAction, VARIANT_BOOL bEndOfData,
                                  BSTR sDestFilename, VARIANT_BOOL bAppend, LONG* lWritten) noexcept {
    if (!lWritten) return Publish(E_POINTER);
    const com::VariantByteView view(vaData);
    DWORD written = 0;
    const HRESULT hr =
        ConvertIntoFile(view.Data(), view.Size(), eAction, Flag(bEndOfData), sDestFilename, Flag(bAppend), &written)
            .Code;
    *lWritten = static_cast<LONG>(written);
    return Publish(hr);
}

HRESULT BinaryEncoding::ProcessFile(BSTR sSourceFilename, LONG lSourceOffset, LONG lSourceSize,
                                    ETBFileProcessing eAction, VARIANT_BOOL bEndOfData, BSTR sDestFilename,
                                    VARIANT_BOOL bAppend, VARIANT* vaBytesRead, LONG* lWritten) noexcept {
    if (!vaBytesRead || !lWritten) return Publish(E_POINTER);
    DWORD read = 0;
    DWORD written = 0;
    const HRESULT hr = ConvertFile(sSourceFilename, static_cast<DWORD>(lSourceOffset), static_cast<DWORD>(lSourceSize),
                                   eAction, Flag(bEndOfData), sDestFilename, Flag(bAppend), &read, &written)
                           .Code;
    static_cast<void>(VariantClear(vaBytesRead));
    SetNumber(vaBytesRead, read);
    *lWritten = static_cast<LONG>(written);
    return Publish(hr);
}

HRESULT BinaryEncoding::AboutBox() noexcept { return Publish(S_OK); }

}  // namespace talvo
