// Opens, feeds and closes conversions, and validates options. All that it knows of a format is its row in the table and
// how its conversions start.
#include "engine/session.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>

#include "engine/output.h"
#include "server/results/result_codes.h"

namespace talvo {
namespace {

// What differs between the formats outside their steps: line lengths, line breaks, and the steps themselves.
struct FormatRules {
    uint32_t DefaultLine;  // characters per line when MaxLineLength is 0
    uint32_t MinLine;      // stored MaxLineLength, 0 aside
    uint32_t MaxLine;
    uint32_t LineUnit;  // a line holds LineExtra characters and whole units
    uint32_t LineExtra;
    bool BreaksRequired;        // bltNone is refused
    bool EndlessWithoutBreaks;  // bltNone makes one endless line
    Step Encode;
    Step Decode;
};

constexpr uint32_t kNoMaximum = 0xFFFFFFFF;
constexpr uint32_t kEndlessLine = 0xFFFFFFFF;

constexpr FormatRules kFormats[] = {
    // default, min, max, unit, extra, breaks required, endless without breaks, steps
    /* UU     */ {61, 5, 85, 4, 1, true, false, &UuXxEncode, &UuXxDecode},
    /* XX     */ {77, 5, 85, 4, 1, true, false, &UuXxEncode, &UuXxDecode},
    /* Base64 */ {76, 4, kNoMaximum, 4, 0, false, true, &Base64Encode, &Base64Decode},
    /* Hexa   */ {78, 2, kNoMaximum, 2, 0, false, true, &HexaEncode, &HexaDecode},
    /* QP     */ {76, 4, kNoMaximum, 1, 0, false, false, &QuotedPrintableEncode, &QuotedPrintableDecode},
    /* BinHex */ {64, 5, kNoMaximum, 1, 0, false, true, &BinHexEncode, &BinHexDecode},
};

// Null for a value that is no format.
const FormatRules* RulesOf(FormatKind kind) noexcept {
    const auto index = static_cast<size_t>(kind);  // a negative value becomes a large one
    return index < std::size(kFormats) ? &kFormats[index] : nullptr;
}

uint32_t LineLimit(const FormatRules& rules, const Options& options) noexcept {
    if (rules.EndlessWithoutBreaks && options.EndOfLineType == kNoBreak) return kEndlessLine;
    const uint32_t length = options.MaxLineLength == 0 ? rules.DefaultLine : options.MaxLineLength;
    return (length - rules.LineExtra) / rules.LineUnit * rules.LineUnit + rules.LineExtra;
}

bool HasBeginLine(FormatKind kind) noexcept { return kind == FormatKind::UU || kind == FormatKind::XX; }

bool IsEmpty(const com::UniqueBstr& name) noexcept { return SysStringLen(name.Get()) == 0; }

HRESULT AllocateBlock(com::UniqueTaskBytes& block, uint32_t size) noexcept {
    block.Reset(static_cast<BYTE*>(com::TaskAlloc(size)));
    return block ? S_OK : E_OUTOFMEMORY;
}

HRESULT RunStep(Step step, EncodingSession& session, const StepInput& input, BYTE** out, DWORD* outSize) noexcept {
    if (!step) return berInternalError;
    Output output;
    const HRESULT hr = step(Conversion(session), input, output);
    if (SUCCEEDED(hr)) output.Hand(out, outSize);
    return hr;
}

}  // namespace

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
    const HRESULT hr = RunStep(step, *this, {ByteSpan(source, size), endOfData, !stepRun_}, out, outSize);
    stepRun_ = true;
    if (FAILED(hr) || endOfData) ResetSession();
    return hr;
}

HRESULT EncodingSession::Open(SessionState direction) noexcept {
    State = direction;
    const HRESULT hr = direction == SessionState::Encoding ? BeginEncoding() : BeginDecoding();
    if (FAILED(hr)) ResetSession();
    return hr;
}

HRESULT EncodingSession::BeginEncoding() noexcept {
    const FormatRules* const rules = RulesOf(Kind);
    if (!rules) return berInternalError;
    Now.Lines.Limit = LineLimit(*rules, *this);

    if (Kind == FormatKind::BinHex && IncludeHeaderFooter && EndOfLineType == kNoBreak) return berInvalidEndOfLineType;
    if (IncludeHeaderFooter && ((HasBeginLine(Kind) && IsEmpty(HeaderFilename)) ||
                                (Kind == FormatKind::BinHex && IsEmpty(BinHexHeaderFilename)))) {
        return berEmptyFileNameInHeader;
    }
    return S_OK;
}

HRESULT EncodingSession::BeginDecoding() noexcept {
    if (!RulesOf(Kind)) return berInternalError;
    HRESULT hr = S_OK;
    if (HasBeginLine(Kind)) {
        Now.UuXx.MayBeFooter = IncludeHeaderFooter;
        Now.UuXx.HeaderFound = !IncludeHeaderFooter;
        if (IncludeHeaderFooter) hr = AllocateBlock(Now.UuXx.SearchedLine, UuXxState::kSearchedSize);
    } else if (Kind == FormatKind::QuotedPrintable) {
        Now.QuotedPrintable.BlanksCapacity = QuotedPrintableState::kBlanksUnit;
        hr = AllocateBlock(Now.QuotedPrintable.Blanks, QuotedPrintableState::kBlanksUnit);
    } else if (Kind == FormatKind::BinHex) {
        Now.BinHex.DataFound = !IncludeHeaderFooter;
        hr = AllocateBlock(Now.BinHex.HeaderBlock, BinHexState::kHeaderCapacity);
    }
    if (SUCCEEDED(hr)) ClearHeaderValues();
    return hr;
}

// Clears what the text's header will supply, so that a client's values are not taken for decoded ones.
void EncodingSession::ClearHeaderValues() noexcept {
    if (Kind == FormatKind::BinHex) {
        StoreHeader([](HeaderValues& values) {
            values.BinHexHeaderFilename.Reset();
            std::fill(std::begin(values.HeaderType), std::end(values.HeaderType), BYTE{0});
            std::fill(std::begin(values.HeaderCreator), std::end(values.HeaderCreator), BYTE{0});
            values.HeaderFlags = 0;
            values.HeaderDataForkLength = values.HeaderResourceForkLength = 0;
        });
    } else if (HasBeginLine(Kind) && IncludeHeaderFooter) {
        StoreHeader([](HeaderValues& values) {
            values.HeaderFilename.Reset();
            values.HeaderPermissions = 0;
        });
    }
}

void EncodingSession::ResetSession() noexcept {
    State = SessionState::Idle;
    stepRun_ = false;
    std::destroy_at(&Now);
    std::construct_at(&Now);
}

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
    if (type < kNoBreak || type > kCr) return berInvalidEndOfLineType;
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
