// The table of formats, indexed by FormatKind.
#include "engine/format_rules.h"

#include <cstddef>
#include <iterator>

namespace talvo {
namespace {

constexpr uint32_t kNoMaximum = 0xFFFFFFFF;

constexpr FormatRules kFormats[] = {
    // default, min, max, unit, extra, breaks required, endless without breaks, steps
    /* UU     */ {61, 5, 85, 4, 1, true, false, &UuXxEncode, &UuXxDecode},
    /* XX     */ {77, 5, 85, 4, 1, true, false, &UuXxEncode, &UuXxDecode},
    /* Base64 */ {76, 4, kNoMaximum, 4, 0, false, true, &Base64Encode, &Base64Decode},
    /* Hexa   */ {78, 2, kNoMaximum, 2, 0, false, true, &HexEncode, &HexDecode},
    /* QP     */ {76, 4, kNoMaximum, 1, 0, false, false, &QuotedPrintableEncode, &QuotedPrintableDecode},
    /* BinHex */ {64, 5, kNoMaximum, 1, 0, false, true, &BinHexEncode, &BinHexDecode},
};

}  // namespace

const FormatRules* RulesOf(FormatKind kind) noexcept {
    const auto index = static_cast<size_t>(kind);  // a negative value becomes a large one
    return index < std::size(kFormats) ? &kFormats[index] : nullptr;
}

uint32_t EffectiveLineLimit(const FormatRules& rules, const EncodingSession& session) noexcept {
    if (rules.EndlessWithoutBreaks && session.EndOfLineType == kNoBreak) return kEndlessLine;
    const uint32_t length = session.MaxLineLength == 0 ? rules.DefaultLine : session.MaxLineLength;
    return (length - rules.LineExtra) / rules.LineUnit * rules.LineUnit + rules.LineExtra;
}

}  // namespace talvo
