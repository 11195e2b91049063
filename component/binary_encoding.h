// The component: it holds one format object and applies it. It keeps no session, no busy flag and no buffer of its own.
//
// The two forms of a method share one private function that does the work. The native form publishes its result; the
// automation form converts arguments and results around it, and publishes what has come of all of it.
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
    // The held format object, counted: a replacement by another thread takes effect for the next call, never within
    // one.
    com::ComPtr<ITalvoEncodeData> AcquireFormat() noexcept;
    HRESULT GetFormat(REFIID iid, void** format) noexcept;
    void ReplaceFormat(com::ComPtr<ITalvoEncodeData> format) noexcept;

    HRESULT ConvertVariant(ETBFileProcessing action, const VARIANT* source, VARIANT_BOOL endOfData,
                           VARIANT* result) noexcept;

    // What the methods do, without error information.
    HRESULT Convert(ETBFileProcessing action, const BYTE* source, DWORD size, LONG endOfData, BYTE** output,
                    DWORD* outputSize) noexcept;
    static HRESULT TextToBytes(BSTR text, BYTE** bytes, DWORD* size) noexcept;

    // What a file method has come to. The native form leaves error information as it is for a silent failure.
    struct Outcome {
        Outcome(HRESULT code, bool silent = false) noexcept : Code(code), Silent(silent) {}
        HRESULT Code;
        bool Silent;
    };
    class Transfer;
    Outcome ConvertFromFile(BSTR source, DWORD offset, DWORD size, ETBFileProcessing action, LONG endOfData,
                            DWORD* bytesRead, BYTE** data, DWORD* dataSize) noexcept;
    Outcome ConvertIntoFile(const BYTE* data, DWORD size, ETBFileProcessing action, LONG endOfData, BSTR destination,
                            LONG append, DWORD* written) noexcept;
    Outcome ConvertFile(BSTR source, DWORD offset, DWORD size, ETBFileProcessing action, LONG endOfData,
                        BSTR destination, LONG append, DWORD* bytesRead, DWORD* written) noexcept;
    // Encoding from a file, the header carries that file's name unless it has one.
    HRESULT NameHeader(ETBFileProcessing action, BSTR source) noexcept;

    HRESULT Publish(Outcome outcome) noexcept {
        return outcome.Silent ? outcome.Code : talvo::Publish(CLSID_TalvoBinaryEncoding, outcome.Code);
    }

    com::ComPtr<ITalvoEncodeData> format_;
    com::CriticalSection lock_;  // guards the reference alone
};

}  // namespace talvo
