// The interfaces of a format class over EncodingFormatBase, with the four properties that every format has.
//
// `Format` is a row: its dispatch and native interfaces, its FormatKind, its class identifier. Where both interfaces
// agree on a type, one override serves both; where they differ, the accessors differ in how the value crosses and in
// nothing else.
#pragma once

#include "com/dispatch.h"
#include "com/object.h"
#include "formats/format_base.h"

namespace talvo {

template <class Format>
using FormatObject = com::Dispatch<
    com::Object<typename Format::Dual, typename Format::Native, ITalvoEncodeData, ISupportErrorInfo, IFormatObject>,
    typename Format::Dual>;

template <class Format>
class FormatCore : public FormatObject<Format>, protected EncodingFormatBase {
public:
    explicit FormatCore(IUnknown* outer) noexcept
        : FormatObject<Format>(outer), EncodingFormatBase(Format::kKind, Format::ClassId()) {}
    HRESULT FinalConstruct() noexcept { return S_OK; }

    // ITalvoProcessData
    STDMETHODIMP Process(const BYTE* pcSource, DWORD dwSourceSize, LONG bEndOfData, DWORD, DWORD, BYTE** ppcProcessed,
                         DWORD* pdwProcessedSize) noexcept override {
        return ProcessData(pcSource, dwSourceSize, bEndOfData, ppcProcessed, pdwProcessedSize);
    }
    STDMETHODIMP Revert(const BYTE* pcSource, DWORD dwSourceSize, LONG bEndOfData, BYTE** ppcReverted,
                        DWORD* pdwRevertedSize, DWORD* pdwConsumedSize) noexcept override {
        return RevertData(pcSource, dwSourceSize, bEndOfData, ppcReverted, pdwRevertedSize, pdwConsumedSize);
    }
    STDMETHODIMP Reset() noexcept override { return ResetData(); }
    STDMETHODIMP get_CanDetectEndOfData(LONG* pbDetectEOD) noexcept override {
        return pbDetectEOD ? berNoEncodingFormat : E_POINTER;
    }

    // ISupportErrorInfo
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) noexcept override {
        const bool supported = IsEqualIID(iid, __uuidof(typename Format::Dual)) ||
                               IsEqualIID(iid, __uuidof(typename Format::Native)) ||
                               IsEqualIID(iid, __uuidof(IDispatch));
        return supported ? S_OK : S_FALSE;
    }

    // IFormatObject
    EncodingFormatBase* STDMETHODCALLTYPE Base() noexcept override { return this; }

    // SubProcessing
    STDMETHODIMP get_SubProcessing(ITalvoProcessData** ppiSubProcessing) noexcept override {
        return GetSubProcessing(__uuidof(ITalvoProcessData), reinterpret_cast<void**>(ppiSubProcessing));
    }
    STDMETHODIMP get_SubProcessing(IDispatch** ppiSubProcessing) noexcept override {
        return GetSubProcessing(__uuidof(IDispatch), reinterpret_cast<void**>(ppiSubProcessing));
    }
    STDMETHODIMP putref_SubProcessing(ITalvoProcessData* piSubProcessing) noexcept override {
        return PutSubProcessing(piSubProcessing);
    }
    STDMETHODIMP putref_SubProcessing(IDispatch* piSubProcessing) noexcept override {
        return PutSubProcessingOf(piSubProcessing);
    }

    // EndOfLineType
    STDMETHODIMP get_EndOfLineType(ETBEndOfLineType* peEndOfLineType) noexcept override {
        return Get(peEndOfLineType, &EncodingSession::EndOfLineType);
    }
    STDMETHODIMP put_EndOfLineType(ETBEndOfLineType eEndOfLineType) noexcept override {
        return Put([=](EncodingSession& session) { return session.SetEndOfLineType(eEndOfLineType); });
    }

    // MaxLineLength, as the signed type
    STDMETHODIMP get_MaxLineLength(LONG* plMaxLineLength) noexcept override {
        return Get(plMaxLineLength, &EncodingSession::MaxLineLength);
    }
    STDMETHODIMP put_MaxLineLength(LONG lMaxLineLength) noexcept override {
        return PutMaxLineLength(static_cast<uint32_t>(lMaxLineLength));
    }

    // ContinueOnInvalidData
    STDMETHODIMP get_ContinueOnInvalidData(LONG* pbContinueOnInvalidData) noexcept override {
        return Get(pbContinueOnInvalidData, &EncodingSession::ContinueOnInvalidData);
    }
    STDMETHODIMP get_ContinueOnInvalidData(VARIANT_BOOL* pbContinueOnInvalidData) noexcept override {
        return Get(pbContinueOnInvalidData, &EncodingSession::ContinueOnInvalidData);
    }
    STDMETHODIMP put_ContinueOnInvalidData(LONG bContinueOnInvalidData) noexcept override {
        return PutField(&EncodingSession::ContinueOnInvalidData, bContinueOnInvalidData != 0);
    }
    STDMETHODIMP put_ContinueOnInvalidData(VARIANT_BOOL bContinueOnInvalidData) noexcept override {
        return PutField(&EncodingSession::ContinueOnInvalidData, bContinueOnInvalidData != VARIANT_FALSE);
    }

protected:
    IUnknown* Find(REFIID iid) noexcept override {
        return FormatObject<Format>::template FindAmong<typename Format::Dual, typename Format::Native, IDispatch,
                                                        ITalvoEncodeData, ITalvoProcessData, ISupportErrorInfo,
                                                        IFormatObject>(this, iid);
    }
};

}  // namespace talvo
