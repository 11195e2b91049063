// Hexadecimal encode step (RFC 4648, section 8, in lines): two digits a byte, so that no byte is held between calls.
#include "engine/kernels/kernels.h"
#include "engine/line_writer.h"
#include "engine/steps.h"
#include "server/results/result_codes.h"

namespace talvo {
namespace {

constexpr uint32_t kGroupCharacters = 2;

}  // namespace

uint64_t HexEncodedSize(const EncodingSession& s, uint64_t sourceSize, bool endOfData) noexcept {
    return LinedSize(s, sourceSize * kGroupCharacters, OpensWithBreak(s, sourceSize, endOfData));
}

HRESULT HexEncode(EncodingSession& s, const StepInput& input, Output& out) noexcept {
    ByteSpan rest = input.Source;
    const bool opensWithBreak = OpensWithBreak(s, rest.size(), input.EndOfData);
    if (const HRESULT hr = AllocateLines(s, uint64_t{rest.size()} * kGroupCharacters, opensWithBreak, out); FAILED(hr))
        return hr;

    LineWriter lines(s, out, kGroupCharacters, opensWithBreak);
    while (!rest.empty()) {
        size_t run = rest.size();
        BYTE* const place = lines.Place(run);
        if (!place) return berInternalError;
        kernels::HexEncodeBytes(place, rest.data(), run);
        rest = rest.subspan(run);
    }
    return lines.Complete() ? S_OK : berInternalError;
}

}  // namespace talvo
