// Fuzz target: any text decodes to the same bytes, header values and code in one call and in pieces, and only codes of
// defects come.
#include "fuzz/conversion.h"

namespace talvo::fuzz {
namespace {

bool IsDefect(HRESULT error) noexcept {
    return error >= berInvalidCharacterInData && error <= berInvalidHeaderChecksum;
}

void CheckCode(const Options& options, HRESULT code) noexcept {
    const bool noBreak = kFormat == FormatKind::QuotedPrintable && options.LineBreak == kNoBreak;
    if (code == S_OK || (noBreak && code == berInvalidEndOfLineType)) return;
    Demand(SUCCEEDED(code) == options.Tolerant, "strict: no warning; tolerant: no error", code);
    Demand(IsDefect(code | static_cast<HRESULT>(0x80000000)), "the code of a defect", code);
}

void Run(const BYTE* data, size_t size) noexcept {
    const Options options = ReadOptions(data);
    const std::string_view text(reinterpret_cast<const char*>(data) + kOptionBytes, size - kOptionBytes);
    EncodingSession atOnce, inPieces;
    if (!Prepare(atOnce, options) || !Prepare(inPieces, options)) return;

    const Result whole = Convert(atOnce, Direction::Decode, text, 0);
    CheckCode(options, whole.Code);
    const Result pieces = Convert(inPieces, Direction::Decode, text, options.Cuts | 1);
    Demand(whole.Bytes == pieces.Bytes, "the same bytes however the text is cut", pieces.Code);
    Demand(FAILED(whole.Code) == FAILED(pieces.Code), "an error however the text is cut", pieces.Code);
    // A call of the BinHex decoder judges all its characters before the first byte.
    Demand(kFormat == FormatKind::BinHex || whole.Code == pieces.Code, "the same code however the text is cut",
           pieces.Code);
    Demand(FAILED(whole.Code) || SameHeader(atOnce, inPieces), "the same header however the text is cut", whole.Code);
}

}  // namespace
}  // namespace talvo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size >= talvo::fuzz::kOptionBytes) talvo::fuzz::Run(data, size);
    return 0;
}
