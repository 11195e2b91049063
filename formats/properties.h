// Groups of properties that some formats have. Each is a layer over FormatCore; a class is built from the groups it has.
#pragma once

#include "com/variant_bytes.h"
#include "formats/format_core.h"

namespace talvo {

// MaxLineLength of the native interface, where it is unsigned (not on quoted-printable).
template <class Next>
class UnsignedLineLength : public Next {
public:
    using Next::get_MaxLineLength, Next::Next, Next::put_MaxLineLength;
    STDMETHODIMP get_MaxLineLength(DWORD* pdwMaxLineLength) noexcept override {
        return this->Get(pdwMaxLineLength, &EncodingSession::MaxLineLength);
    }
    STDMETHODIMP put_MaxLineLength(DWORD dwMaxLineLength) noexcept override {
        return this->PutMaxLineLength(dwMaxLineLength);
    }
};

// The header file name of a format that writes none: reachable through ITalvoEncodeData alone, without error
// information.
template <class Next>
class UnusedFilename : public Next {
public:
    using Next::Next;
    STDMETHODIMP get_HeaderFilename(BSTR* psFilename) noexcept override {
        if (!psFilename) return E_POINTER;
        return this->CopyName(&EncodingSession::HeaderFilename, psFilename);
    }
    STDMETHODIMP put_HeaderFilename(BSTR sFilename) noexcept override {
        return this->Change([=](EncodingSession& session) { return session.SetHeaderFilename(sFilename); });
    }
};

// IncludeHeaderFooter and HeaderFilename, kept in `Field` and set by `Set`. One pair of HeaderFilename accessors serves
// the class's two interfaces and ITalvoEncodeData.
template <class Next, auto Field, auto Set>
class HeaderLines : public Next {
public:
    using Next::Next;
    STDMETHODIMP get_IncludeHeaderFooter(LONG* pbIncludeHeaderFooter) noexcept override {
        return this->Get(pbIncludeHeaderFooter, &EncodingSession::IncludeHeaderFooter);
    }
    STDMETHODIMP get_IncludeHeaderFooter(VARIANT_BOOL* pbIncludeHeaderFooter) noexcept override {
        return this->Get(pbIncludeHeaderFooter, &EncodingSession::IncludeHeaderFooter);
    }
    STDMETHODIMP put_IncludeHeaderFooter(LONG bIncludeHeaderFooter) noexcept override {
        return this->PutField(&EncodingSession::IncludeHeaderFooter, bIncludeHeaderFooter != 0);
    }
    STDMETHODIMP put_IncludeHeaderFooter(VARIANT_BOOL bIncludeHeaderFooter) noexcept override {
        return this->PutField(&EncodingSession::IncludeHeaderFooter, bIncludeHeaderFooter != VARIANT_FALSE);
    }
    STDMETHODIMP get_HeaderFilename(BSTR* psFilename) noexcept override {
        if (!psFilename) return this->Publish(E_POINTER);
        const HRESULT hr = this->CopyName(Field, psFilename);
        return FAILED(hr) ? hr : this->Publish(S_OK);  // no memory for the copy: error information stays as it was
    }
    STDMETHODIMP put_HeaderFilename(BSTR sFilename) noexcept override {
        return this->Put([=](EncodingSession& session) { return (session.*Set)(sFilename); });
    }
};

template <class Next>
class HeaderPermissions : public Next {
public:
    using Next::Next;
    STDMETHODIMP get_HeaderPermissions(ETBUnixFilePermission* pePermissions) noexcept override {
        return this->Get(pePermissions, &EncodingSession::HeaderPermissions);
    }
    STDMETHODIMP put_HeaderPermissions(ETBUnixFilePermission ePermissions) noexcept override {
        return this->PutField(&EncodingSession::HeaderPermissions, static_cast<uint16_t>(ePermissions));
    }
};

// The file information of a BinHex header.
template <class Next>
class BinHexHeader : public Next {
public:
    using Next::Next;
    STDMETHODIMP get_HeaderType(BYTE** ppcHeaderType) noexcept override {
        return GetFourNative(ppcHeaderType, &EncodingSession::HeaderType);
    }
    STDMETHODIMP get_HeaderType(VARIANT* pvaHeaderType) noexcept override {
        return GetFourVariant(pvaHeaderType, &EncodingSession::HeaderType);
    }
    STDMETHODIMP put_HeaderType(const BYTE* pcHeaderType) noexcept override {
        return PutFourNative(pcHeaderType, &EncodingSession::HeaderType);
    }
    STDMETHODIMP put_HeaderType(VARIANT vaHeaderType) noexcept override {
        return PutFourVariant(vaHeaderType, &EncodingSession::HeaderType);
    }
    STDMETHODIMP get_HeaderCreator(BYTE** ppcHeaderCreator) noexcept override {
        return GetFourNative(ppcHeaderCreator, &EncodingSession::HeaderCreator);
    }
    STDMETHODIMP get_HeaderCreator(VARIANT* pvaHeaderCreator) noexcept override {
        return GetFourVariant(pvaHeaderCreator, &EncodingSession::HeaderCreator);
    }
    STDMETHODIMP put_HeaderCreator(const BYTE* pcHeaderCreator) noexcept override {
        return PutFourNative(pcHeaderCreator, &EncodingSession::HeaderCreator);
    }
    STDMETHODIMP put_HeaderCreator(VARIANT vaHeaderCreator) noexcept override {
        return PutFourVariant(vaHeaderCreator, &EncodingSession::HeaderCreator);
    }

    STDMETHODIMP get_HeaderFlags(USHORT* pwHeaderFlags) noexcept override {
        return this->Get(pwHeaderFlags, &EncodingSession::HeaderFlags);
    }
    STDMETHODIMP get_HeaderFlags(SHORT* pnHeaderFlags) noexcept override {
        return this->Get(pnHeaderFlags, &EncodingSession::HeaderFlags);
    }
    STDMETHODIMP put_HeaderFlags(USHORT wHeaderFlags) noexcept override {
        return this->PutField(&EncodingSession::HeaderFlags, wHeaderFlags);
    }
    STDMETHODIMP put_HeaderFlags(SHORT nHeaderFlags) noexcept override {
        return this->PutField(&EncodingSession::HeaderFlags, static_cast<uint16_t>(nHeaderFlags));
    }
    STDMETHODIMP get_HeaderDataForkLength(DWORD* pdwDataForkLength) noexcept override {
        return this->Get(pdwDataForkLength, &EncodingSession::HeaderDataForkLength);
    }
    STDMETHODIMP get_HeaderDataForkLength(LONG* plDataForkLength) noexcept override {
        return this->Get(plDataForkLength, &EncodingSession::HeaderDataForkLength);
    }
    STDMETHODIMP put_HeaderDataForkLength(DWORD dwDataForkLength) noexcept override {
        return this->PutField(&EncodingSession::HeaderDataForkLength, uint32_t{dwDataForkLength});
    }
    STDMETHODIMP put_HeaderDataForkLength(LONG lDataForkLength) noexcept override {
        return this->PutField(&EncodingSession::HeaderDataForkLength, static_cast<uint32_t>(lDataForkLength));
    }
    STDMETHODIMP get_HeaderResourceForkLength(DWORD* pdwResourceForkLength) noexcept override {
        return this->Get(pdwResourceForkLength, &EncodingSession::HeaderResourceForkLength);
    }
    STDMETHODIMP get_HeaderResourceForkLength(LONG* plResourceForkLength) noexcept override {
        return this->Get(plResourceForkLength, &EncodingSession::HeaderResourceForkLength);
    }
    STDMETHODIMP put_HeaderResourceForkLength(DWORD dwResourceForkLength) noexcept override {
        return this->PutField(&EncodingSession::HeaderResourceForkLength, uint32_t{dwResourceForkLength});
    }
    STDMETHODIMP put_HeaderResourceForkLength(LONG lResourceForkLength) noexcept override {
        return this->PutField(&EncodingSession::HeaderResourceForkLength, static_cast<uint32_t>(lResourceForkLength));
    }

private:
    using FourBytes = EncodingFormatBase::FourBytes;
    using FourField = FourBytes EncodingSession::*;

    HRESULT GetFourNative(BYTE** out, FourField field) noexcept {
        if (!out) return this->Publish(E_POINTER);
        *out = static_cast<BYTE*>(com::TaskAlloc(sizeof(FourBytes)));
        if (!*out) return this->Publish(E_OUTOFMEMORY);
        this->CopyFour(field, *out);
        return this->Publish(S_OK);
    }
    HRESULT GetFourVariant(VARIANT* out, FourField field) noexcept {
        if (!out) return this->Publish(E_POINTER);
        FourBytes bytes;
        this->CopyFour(field, bytes);
        const HRESULT hr = com::MakeByteArrayVariant(sizeof(bytes), bytes, out, com::ByteArrayMode::Copy);
        return this->Publish(SUCCEEDED(hr) || hr == E_OUTOFMEMORY ? hr : berInternalError);
    }
    HRESULT PutFourNative(const BYTE* bytes, FourField field) noexcept {
        if (!bytes) return this->Publish(E_POINTER);
        return this->PutFour(ByteSpan(bytes, sizeof(FourBytes)), field);
    }
    HRESULT PutFourVariant(const VARIANT& variant, FourField field) noexcept {
        const com::VariantByteView view(&variant);
        return this->PutFour(ByteSpan(view.Data(), view.Size()), field);
    }
};

}  // namespace talvo
