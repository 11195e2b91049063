// Automation forms of the buffer and text methods: view the VARIANT, call the native form, hand the block to the
// result.
#include "com/unique.h"
#include "component/binary_encoding.h"
#include "component/variant_bytes.h"

namespace talvo {
namespace {

// Hands a block over to a byte array VARIANT. The block stays with its owner when that fails.
HRESULT HandToVariant(com::UniqueTaskBytes& bytes, DWORD size, VARIANT* result) noexcept {
    const HRESULT hr = MakeByteArrayVariant(size, bytes.Get(), result, ByteArrayMode::Adopt);
    if (FAILED(hr)) return hr == E_OUTOFMEMORY ? hr : berInternalError;
    if (V_VT(result) != VT_EMPTY) static_cast<void>(bytes.Detach());
    return S_OK;
}

}  // namespace

HRESULT BinaryEncoding::ConvertVariant(Conversion convert, const VARIANT* source, VARIANT_BOOL endOfData,
                                       VARIANT* result) noexcept {
    if (!result) return Publish(E_POINTER);
    VariantInit(result);
    const VariantByteView view(source);
    com::UniqueTaskBytes bytes;
    DWORD size = 0;
    const HRESULT hr = (this->*convert)(view.Data(), view.Size(), endOfData != VARIANT_FALSE, bytes.Put(), &size);
    // A warning is not passed on: an automation client gets the output, and S_OK.
    return Publish(FAILED(hr) ? hr : HandToVariant(bytes, size, result));
}

HRESULT BinaryEncoding::Encode(VARIANT* vaSource, VARIANT_BOOL bEndOfData, VARIANT* vaEncoded) noexcept {
    return ConvertVariant(&BinaryEncoding::Encode, vaSource, bEndOfData, vaEncoded);
}

HRESULT BinaryEncoding::Decode(VARIANT* vaEncoded, VARIANT_BOOL bEndOfData, VARIANT* vaDecoded) noexcept {
    return ConvertVariant(&BinaryEncoding::Decode, vaEncoded, bEndOfData, vaDecoded);
}

HRESULT BinaryEncoding::ToString(VARIANT* vaData, BSTR* bstrResult) noexcept {
    if (!bstrResult) return Publish(E_POINTER);
    *bstrResult = nullptr;
    const VariantByteView view(vaData);
    return ToString(view.Data(), view.Size(), bstrResult);
}

HRESULT BinaryEncoding::FromString(BSTR sData, VARIANT* vaResult) noexcept {
    if (!vaResult) return Publish(E_POINTER);
    VariantInit(vaResult);
    com::UniqueTaskBytes bytes;
    DWORD size = 0;
    const HRESULT hr = FromString(sData, bytes.Put(), &size);
    return Publish(FAILED(hr) ? hr : HandToVariant(bytes, size, vaResult));
}

HRESULT BinaryEncoding::AboutBox() noexcept { return Publish(S_OK); }

}  // namespace talvo
