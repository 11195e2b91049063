// Base64 encode step (RFC 4648, section 4; lines as in RFC 2045): size first, then whole lines by kernel, then the
// rest.
#include <algorithm>
#include <utility>

#include "engine/base64_tables.h"
#include "engine/kernels/kernels.h"
#include "engine/steps.h"
#include "server/results/result_codes.h"

namespace talvo {
namespace {

constexpr uint32_t kGroupBytes = 3;
constexpr uint32_t kGroupCharacters = 4;

// Line breaks in the output of one call. A break goes in front of the characters that need it, so a line that this call
// completes owes its break to the next.
uint64_t BreakCount(const EncodingSession& s, uint64_t characters, bool opensWithBreak) noexcept {
    const uint64_t column = s.Column + characters;
    return (column > 0 ? (column - 1) / s.LineLimit : 0) + (opensWithBreak ? 1 : 0);
}

uint64_t CharacterCount(const EncodingSession& s, uint64_t sourceSize, bool endOfData) noexcept {
    const uint64_t bytes = s.HeldCount + sourceSize;
    const bool padded = endOfData && bytes % kGroupBytes != 0;
    return bytes / kGroupBytes * kGroupCharacters + (padded ? kGroupCharacters : 0);
}

bool OpensWithBreak(const EncodingSession& s, uint64_t sourceSize, bool endOfData) noexcept {
    return s.BreakPending && (endOfData || sourceSize > 0);
}

class Base64Writer {
public:
    Base64Writer(EncodingSession& session, Output& out) noexcept
        : s_(session), write_(out), lineBreak_(LineBreakBytes(session.EndOfLineType)) {}

    void OwedBreak() noexcept {
        if (std::exchange(s_.BreakPending, false)) write_.Put(lineBreak_);
    }

    void Hold(BYTE byte) noexcept {
        s_.Accumulator = s_.Accumulator << 8 | byte;
        if (++s_.HeldCount != kGroupBytes) return;
        const BYTE group[] = {static_cast<BYTE>(s_.Accumulator >> 16), static_cast<BYTE>(s_.Accumulator >> 8),
                              static_cast<BYTE>(s_.Accumulator)};
        Groups(group, 1);
        s_.Accumulator = 0;
        s_.HeldCount = 0;
    }

    // Whole groups, line after line.
    void Groups(const BYTE* source, size_t groups) noexcept {
        while (groups != 0) {
            OwedBreak();
            const size_t run = std::min<size_t>(groups, (s_.LineLimit - s_.Column) / kGroupCharacters);
            BYTE* const place = write_.Take(run * kGroupCharacters);
            if (!place) return;
            kernels::Base64EncodeGroups(place, source, run);
            source += run * kGroupBytes;
            groups -= run;
            Advance(static_cast<uint32_t>(run) * kGroupCharacters);
        }
    }

    // The last group, completed with "=": one byte gives two characters, two give three.
    void Finish() noexcept {
        const unsigned held = s_.HeldCount;
        if (held != 0) {
            OwedBreak();
            const uint32_t bits = s_.Accumulator << (held == 1 ? 16 : 8);
            if (BYTE* const place = write_.Take(kGroupCharacters)) {
                for (unsigned i = 0; i < kGroupCharacters; ++i) {
                    place[i] = static_cast<BYTE>(i <= held ? kBase64Alphabet[bits >> (18 - 6 * i) & 63] : '=');
                }
            }
            s_.Column += kGroupCharacters;
        }
        s_.Accumulator = 0;
    }

    bool Complete() const noexcept { return write_.Full(); }

private:
    void Advance(uint32_t characters) noexcept {
        s_.Column += characters;
        if (s_.LineLimit - s_.Column >= kGroupCharacters) return;
        s_.BreakPending = true;
        s_.Column = 0;
    }

    EncodingSession& s_;
    Writer write_;
    ByteSpan lineBreak_;
};

}  // namespace

uint64_t Base64EncodedSize(const EncodingSession& s, uint64_t sourceSize, bool endOfData) noexcept {
    const uint64_t characters = CharacterCount(s, sourceSize, endOfData);
    const uint64_t breaks = BreakCount(s, characters, OpensWithBreak(s, sourceSize, endOfData));
    return characters + breaks * LineBreakBytes(s.EndOfLineType).size();
}

HRESULT Base64Encode(EncodingSession& s, const StepInput& input, Output& out) noexcept {
    const bool opensWithBreak = OpensWithBreak(s, input.Source.size(), input.EndOfData);
    if (!IsEndOfLineType(s.EndOfLineType) &&
        BreakCount(s, CharacterCount(s, input.Source.size(), input.EndOfData), opensWithBreak) != 0) {
        return berInvalidEndOfLineType;
    }
    if (const HRESULT hr = out.Allocate(Base64EncodedSize(s, input.Source.size(), input.EndOfData)); FAILED(hr))
        return hr;

    Base64Writer writer(s, out);
    if (opensWithBreak) writer.OwedBreak();
    ByteSpan rest = input.Source;
    for (; !rest.empty() && s.HeldCount != 0; rest = rest.subspan(1)) writer.Hold(rest.front());
    const size_t groups = rest.size() / kGroupBytes;
    writer.Groups(rest.data(), groups);
    for (const BYTE byte : rest.subspan(groups * kGroupBytes)) writer.Hold(byte);
    if (input.EndOfData) writer.Finish();
    return writer.Complete() ? S_OK : berInternalError;
}

}  // namespace talvo
