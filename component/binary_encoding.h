// The component: it holds one format object and applies it. It keeps no session, no busy flag and no buffer of its own.
//
// The native form of each method does the work; the automation form converts its arguments and calls the native one.
// How it looks on a form, and its About box, are added by the class that the module creates (server/control/).
#pragma once

#include "TalvoBinaryEncoding.h"
#include "com/dispatch.h"
#include "com/lock.h"
#include "com/object.h"
#include "server/results/error_info.h"
#include "server/results/result_codes.h"

namespace talvo {

using BinaryEncodingObject =
    com::Dispatch<com::Object<DTalvoBinaryEncoding, ITalvoBinaryEncoding, ISupportErrorInfo>, DTalvoBinaryEncoding>;

class BinaryEncoding : public BinaryEncodingObject {
public:
    explicit BinaryEncoding(IUnknown* outer) noexcept : BinaryEncodingObject(outer) {}
    // Creates the default format object, a UU one, through the class registry; without it the component holds none.
    HRESULT FinalConstruct() noexcept;

    // ISupportErrorInfo
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) noexcept override;

    // ITalvoBinaryEncoding
    STDMETHODIMP get_EncodingFormat(ITalvoEncodeData** ppiFormat) noexcept override;
    STDMETHODIMP putref_EncodingFormat(ITalvoEncodeData* piFormat) noexcept override;
    STDMETHODIMP Encode(const BYTE* pcSource, DWORD dwSourceSize, LONG bEndOfData, BYTE** ppcEncoded,
                        DWORD* pdwEncodedSize) noexcept override;
    STDMETHODIMP Decode(const BYTE* pcEncoded, DWORD dwEncodedSize, LONG bEndOfData, BYTE** ppcDecoded,
                        DWORD* pdwDecodedSize) noexcept override;
    STDMETHODIMP ReadFile(BSTR sSourceFilename, DWORD dwSourceOffset, DWORD dwSourceSize, ETBFileProcessing eAction,
                          LONG bEndOfData, DWORD* pdwBytesRead, BYTE** ppcData, DWORD* pdwDataSize) noexcept override;
    STDMETHODIMP WriteFile(const BYTE* pcData, DWORD dwDataSize, ETBFileProcessing eAction, LONG bEndOfData,
                           BSTR sDestFilename, LONG bAppend, DWORD* pdwWritten) noexcept override;
    STDMETHODIMP ProcessFile(BSTR sSourceFilename, DWORD dwSourceOffset, DWORD dwSourceSize, ETBFileProcessing eAction,
                             LONG bEndOfData, BSTR sDestFilename, LONG bAppend, DWORD* pdwBytesRead,
                             DWORD* pdwWritten) noexcept override;
    STDMETHODIMP Reset() noexcept override;  // serves both interfaces
    STDMETHODIMP ToString(const BYTE* pcData, DWORD dwDataSize, BSTR* pbstrResult) noexcept override;
    STDMETHODIMP FromString(BSTR sData, BYTE** ppcData, DWORD* pdwDataSize) noexcept override;

    // DTalvoBinaryEncoding
    STDMETHODIMP get_EncodingFormat(IDispatch** ppiFormat) noexcept override;
    STDMETHODIMP putref_EncodingFormat(IDispatch* piFormat) noexcept override;
    STDMETHODIMP AboutBox() noexcept override;  // shows none
    STDMETHODIMP Encode(VARIANT* vaSource, VARIANT_BOOL bEndOfData, VARIANT* vaEncoded) noexcept override;
    STDMETHODIMP Decode(VARIANT* vaEncoded, VARIANT_BOOL bEndOfData, VARIANT* vaDecoded) noexcept override;
    STDMETHODIMP ReadFile(BSTR sSourceFilename, LONG lSourceOffset, LONG lSourceSize, ETBFileProcessing eAction,
                          VARIANT_BOOL bEndOfData, VARIANT* vaBytesRead, VARIANT* vaResult) noexcept override;
    STDMETHODIMP WriteFile(VARIANT* vaData, ETBFileProcessing eAction, VARIANT_BOOL bEndOfData, BSTR sDestFilename,
                           VARIANT_BOOL bAppend, LONG* lWritten) noexcept override;
    STDMETHODIMP ProcessFile(BSTR sSourceFilename, LONG lSourceOffset, LONG lSourceSize, ETBFileProcessing eAction,
                             VARIANT_BOOL bEndOfData, BSTR sDestFilename, VARIANT_BOOL bAppend, VARIANT* vaBytesRead,
                             LONG* lWritten) noexcept override;
    STDMETHODIMP ToString(VARIANT* vaData, BSTR* bstrResult) noexcept override;
    STDMETHODIMP FromString(BSTR sData, VARIANT* vaResult) noexcept override;

protected:
    IUnknown* Find(REFIID iid) noexcept override;
    void FinalRelease() noexcept override;

private:
    // A native conversion method of this class, as the automation forms call it.
    using Conversion = HRESULT (STDMETHODCALLTYPE BinaryEncoding::*)(const BYTE*, DWORD, LONG, BYTE**, DWORD*);

    // The held format object, counted: a replacement by another thread takes effect for the next call, never within
    // one.
    com::ComPtr<ITalvoEncodeData> AcquireFormat() noexcept;
    HRESULT GetFormat(REFIID iid, void** format) noexcept;
    void ReplaceFormat(com::ComPtr<ITalvoEncodeData> format) noexcept;
    HRESULT ConvertVariant(Conversion convert, const VARIANT* source, VARIANT_BOOL endOfData, VARIANT* result) noexcept;

    class Transfer;  // of the file methods, in files.cpp
    HRESULT Convert(ETBFileProcessing action, const BYTE* source, DWORD size, bool endOfData, BYTE** output,
                    DWORD* outputSize) noexcept;
    // Encoding from a file, the header carries that file's name unless it has one.
    HRESULT NameHeader(ETBFileProcessing action, BSTR source) noexcept;

    HRESULT Publish(HRESULT code) noexcept { return talvo::Publish(CLSID_TalvoBinaryEncoding, code); }

    com::ComPtr<ITalvoEncodeData> format_;
    com::CriticalSection lock_;  // guards the reference alone
};

}  // namespace talvo
