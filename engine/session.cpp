// Opens, feeds and closes conversions, and validates options. Knows no format's rules beyond the table and the start
// values.
#include "engine/session.h"

#include <algorithm>

#include "engine/format_rules.h"
#include "server/results/result_codes.h"

namespace talvo {
namespace {

bool IsEmpty(const com::UniqueBstr& name) noexcept { return SysStringLen(name.Get()) == 0; }

HRESULT RunStep(Step step, EncodingSession& session, const StepInput& input, BYTE** out, DWORD* outSize) noexcept {
    if (!step) return berInternalError;
    Output output;
    const HRESULT hr = step(session, input, output);
    if (SUCCEEDED(hr)) output.Hand(out, outSize);
    return hr;
}

}  // namespace

EncodingSession::~EncodingSession() { ResetSession(); }

HRESULT EncodingSession::EncodeChunk(const BYTE* source, uint32_t size, bool endOfData, BYTE** out,
                                     DWORD* outSize) noexcept {
    return RunChunk(SessionState::Encoding, source, size, endOfData, out, outSize);
}

HRESULT EncodingSession::DecodeChunk(const BYTE* source, uint32_t size, bool endOfData, BYTE** out,
                                     DWORD* outSize) noexcept {
    return RunChunk(SessionState::Decoding, source, size, endOfData, out, outSize);
}

HRESULT EncodingSession::RunChunk(SessionState direction, const BYTE* source, uint32_t size, bool endOfData, BYTE** out,
                                  DWORD* outSize) noexcept {
    if (!out || !outSize) return berInternalError;
    *out = nullptr;
    *outSize = 0;
    if (!source && size != 0) return E_POINTER;
    if (State == SessionState::Idle) {
        if (const HRESULT hr = Open(direction); FAILED(hr)) return hr;
    } else if (State != direction) {
        return berSessionOpened;
    }
    if (size == 0 && !endOfData) return S_OK;

    const FormatRules* const rules = RulesOf(Kind);
    const Step step = !rules ? nullptr : direction == SessionState::Encoding ? rules->Encode : rules->Decode;
    const HRESULT hr = RunStep(step, *this, {ByteSpan(source, size), endOfData, StartOfSession}, out, outSize);
    StartOfSession = false;
    if (FAILED(hr) || endOfData) FinishSession();
    return hr;
}

HRESULT EncodingSession::Open(SessionState direction) noexcept {
    ClearWorkingFields();
    State = direction;
    const HRESULT hr = direction == SessionState::Encoding ? BeginEncoding() : BeginDecoding();
    if (FAILED(hr)) FinishSession();
    return hr;
}

HRESULT EncodingSession::BeginEncoding() noexcept {
    const FormatRules* const rules = RulesOf(Kind);
    if (!rules) return berInternalError;
    LineLimit = EffectiveLineLimit(*rules, *this);
    LastNotBlank = true;

    const bool lined = Kind == FormatKind::UU || Kind == FormatKind::XX;
    if (Kind == FormatKind::BinHex && IncludeHeaderFooter && EndOfLineType == kNoBreak) return berInvalidEndOfLineType;
    if (IncludeHeaderFooter &&
        ((lined && IsEmpty(HeaderFilename)) || (Kind == FormatKind::BinHex && IsEmpty(BinHexHeaderFilename)))) {
        return berEmptyFileNameInHeader;
    }
    return lined ? AllocateWork(LineLimit - 1) : S_OK;
}

HRESULT EncodingSession::BeginDecoding() noexcept {
    if (!RulesOf(Kind)) return berInternalError;
    if (Kind == FormatKind::Base64 || Kind == FormatKind::Hexa) return S_OK;

    if (const HRESULT hr = AllocateWork(kDecoderWorkSize); FAILED(hr)) return hr;
    WorkCapacity = kDecoderWorkSize;
    if (Kind == FormatKind::BinHex) {
        HeaderBlock.Reset(static_cast<BYTE*>(com::TaskAlloc(kBinHexHeaderCapacity)));
        if (!HeaderBlock) return E_OUTOFMEMORY;
        HeaderBlockLength = kBinHexFixedHeaderSize;
    }
    AtLineStart = true;
    MayBeFooter = IncludeHeaderFooter;
    HeaderFound = !IncludeHeaderFooter;
    NothingHeld = true;
    ClearHeaderValues();
    return S_OK;
}

// Every working field takes its neutral value; BeginEncoding and BeginDecoding set those that start otherwise.
void EncodingSession::ClearWorkingFields() noexcept {
    StartOfSession = true;
    Accumulator = LineLimit = Column = WorkLength = HeaderBlockLength = HeaderReceived = 0;
    ForkCount = 0;
    PendingWidth = WorkCapacity = 0;
    HeldCount = PadCount = LineByteCount = DeclaredLength = EndMatched = RunLength = ForkCrc = PendingCrc = 0;
    RunByte = PendingByte = 0;
    BreakPending = AtLineStart = MayBeFooter = DeferredInvalid = HeaderFound = EndKeyword = Finished = false;
    DataForkDone = RunMarkerSeen = NothingHeld = CrcBytePending = ResourceForkDone = false;
    LastNotBlank = SoftBreakDue = HasPending = CarriageReturnSeen = false;
}

// What the header of the text will supply is no longer what a client has set.
void EncodingSession::ClearHeaderValues() noexcept {
    const bool binHex = Kind == FormatKind::BinHex;
    if (!binHex && !((Kind == FormatKind::UU || Kind == FormatKind::XX) && IncludeHeaderFooter)) return;
    const auto hold = LockHeader();
    if (!binHex) {
        HeaderFilename.Reset();
        HeaderPermissions = 0;
        return;
    }
    BinHexHeaderFilename.Reset();
    std::fill(std::begin(HeaderType), std::end(HeaderType), BYTE{0});
    std::fill(std::begin(HeaderCreator), std::end(HeaderCreator), BYTE{0});
    HeaderFlags = 0;
    HeaderDataForkLength = HeaderResourceForkLength = 0;
}

HRESULT EncodingSession::AllocateWork(uint32_t size) noexcept {
    WorkBuffer.Reset(static_cast<BYTE*>(com::TaskAlloc(size)));
    return WorkBuffer ? S_OK : E_OUTOFMEMORY;
}

void EncodingSession::FinishSession() noexcept {
    State = SessionState::Idle;
    WorkBuffer.Reset();
    HeaderBlock.Reset();
}

void EncodingSession::ResetSession() noexcept { FinishSession(); }

HRESULT EncodingSession::SelectFormat(FormatKind kind) noexcept {
    if (State != SessionState::Idle) return berSessionOpened;
    Kind = kind;
    MaxLineLength = 0;
    EndOfLineType = kCrLf;
    return S_OK;
}

HRESULT EncodingSession::SetMaxLineLength(uint32_t length) noexcept {
    if (State != SessionState::Idle) return berSessionOpened;
    const FormatRules* const rules = RulesOf(Kind);
    if (!rules) return berInternalError;
    MaxLineLength = length == 0 ? 0 : std::clamp(length, rules->MinLine, rules->MaxLine);
    return S_OK;
}

HRESULT EncodingSession::SetEndOfLineType(int32_t type) noexcept {
    if (State != SessionState::Idle) return berSessionOpened;
    if (!IsEndOfLineType(type)) return berInvalidEndOfLineType;
    const FormatRules* const rules = RulesOf(Kind);
    if (!rules) return berInternalError;
    if (rules->BreaksRequired && type == kNoBreak) return berInvalidEndOfLineType;
    EndOfLineType = type;
    return S_OK;
}

HRESULT EncodingSession::SetHeaderFilename(const BSTR name) noexcept { return SetName(HeaderFilename, name); }

HRESULT EncodingSession::SetBinHexHeaderFilename(const BSTR name) noexcept {
    return SetName(BinHexHeaderFilename, name);
}

HRESULT EncodingSession::SetName(com::UniqueBstr& field, const BSTR name) noexcept {
    if (State != SessionState::Idle) return berSessionOpened;
    field.Reset(SysAllocStringLen(name, SysStringLen(name)));
    return field ? S_OK : E_OUTOFMEMORY;
}

}  // namespace talvo
