// UU and XX encode step: size first, then whole lines by kernel straight from the source. Only a line that a call
// leaves unfinished is built in the work buffer: its length character comes first and is not known before its end.
#include <algorithm>
#include <string_view>
#include <utility>

#include "engine/encode_loop.h"
#include "engine/sextets.h"
#include "engine/steps.h"
#include "engine/uuxx_begin_line.h"
#include "engine/uuxx_tables.h"
#include "server/results/result_codes.h"

namespace talvo {
namespace {

constexpr std::string_view kEnd = "end";

// Output of one call, line breaks apart.
struct Extent {
    uint64_t Characters = 0;
    uint64_t Breaks = 0;
};

// A break goes in front of what needs it, so a line that this call completes owes its break to the next.
Extent ExtentOf(const EncodingSession& s, const StepInput& input) noexcept {
    const uint64_t bytes = s.HeldCount + uint64_t{input.Source.size()};
    const bool padded = input.EndOfData && bytes % kGroupBytes != 0;
    const uint64_t data = s.WorkLength + bytes / kGroupBytes * kGroupCharacters + (padded ? kGroupCharacters : 0);
    const uint64_t lineData = s.LineLimit - 1;

    Extent extent{data / lineData * s.LineLimit, data > 0 ? (data - 1) / lineData : 0};
    if (input.EndOfData && data % lineData != 0) extent.Characters += data % lineData + 1;
    if (s.BreakPending && (input.EndOfData || !input.Source.empty())) ++extent.Breaks;
    if (s.IncludeHeaderFooter && input.StartOfSession) {
        extent.Characters += BeginLineSize(s);
        ++extent.Breaks;
    }
    if (s.IncludeHeaderFooter && input.EndOfData) {
        extent.Characters += 1 + kEnd.size();
        extent.Breaks += data > 0 ? 2 : 1;
    }
    return extent;
}

class UuXxWriter {
public:
    UuXxWriter(EncodingSession& session, const Output& out) noexcept
        : s_(session),
          write_(out),
          lineBreak_(LineBreakBytes(session.EndOfLineType)),
          alphabet_(UuXxAlphabetOf(session.Kind)),
          lineGroups_((session.LineLimit - 1) / kGroupCharacters) {}

    void Header() noexcept {
        if (WriteBeginLine(s_, write_)) write_.Put(lineBreak_);
    }

    void OwedBreak() noexcept {
        if (std::exchange(s_.BreakPending, false)) write_.Put(lineBreak_);
    }

    void Hold(BYTE byte) noexcept {
        s_.Accumulator = s_.Accumulator << 8 | byte;
        if (++s_.HeldCount == kGroupBytes) HeldGroup(kGroupBytes);
    }

    void Groups(const BYTE* source, size_t groups) noexcept {
        while (groups != 0) {
            OwedBreak();
            const size_t run = std::min<size_t>(groups, lineGroups_ - s_.WorkLength / kGroupCharacters);
            if (run == lineGroups_) {
                FullLine(source);
            } else {
                Collect(source, run, static_cast<uint32_t>(run) * kGroupBytes);
            }
            source += run * kGroupBytes;
            groups -= run;
        }
    }

    void Finish() noexcept {
        if (s_.HeldCount != 0) {
            s_.Accumulator <<= 8 * (kGroupBytes - s_.HeldCount);
            HeldGroup(s_.HeldCount);
        }
        if (s_.WorkLength != 0) CollectedLine();
        if (s_.IncludeHeaderFooter) Footer();
    }

    bool Complete() const noexcept { return write_.Full(); }

private:
    // Missing bytes are zero, and the padding character is the digit for zero.
    void HeldGroup(uint32_t bytes) noexcept {
        OwedBreak();
        Collect(BytesOfGroup(s_.Accumulator).data(), 1, bytes);
        s_.Accumulator = 0;
        s_.HeldCount = 0;
    }

    void FullLine(const BYTE* source) noexcept {
        BYTE* const place = write_.Take(s_.LineLimit);
        if (!place) return;
        *place = LengthCharacter(lineGroups_ * kGroupBytes);
        alphabet_.EncodeGroups(place + 1, source, lineGroups_);
        s_.BreakPending = true;
    }

    void Collect(const BYTE* source, size_t groups, uint32_t bytes) noexcept {
        alphabet_.EncodeGroups(s_.WorkBuffer.Get() + s_.WorkLength, source, groups);
        s_.WorkLength += static_cast<uint32_t>(groups) * kGroupCharacters;
        s_.LineByteCount = static_cast<uint16_t>(s_.LineByteCount + bytes);
        if (s_.WorkLength == s_.LineLimit - 1) CollectedLine();
    }

    void CollectedLine() noexcept {
        write_.Put(LengthCharacter(std::exchange(s_.LineByteCount, uint16_t{0})));
        write_.Put(ByteSpan(s_.WorkBuffer.Get(), std::exchange(s_.WorkLength, 0)));
        s_.BreakPending = true;
    }

    void Footer() noexcept {
        OwedBreak();
        write_.Put(LengthCharacter(0));
        write_.Put(lineBreak_);
        write_.Put(ByteSpan{reinterpret_cast<const BYTE*>(kEnd.data()), kEnd.size()});
    }

    BYTE LengthCharacter(uint32_t bytes) const noexcept { return static_cast<BYTE>(alphabet_.Digits[bytes]); }

    EncodingSession& s_;
    Writer write_;
    ByteSpan lineBreak_;
    const UuXxAlphabet& alphabet_;
    uint32_t lineGroups_;
};

}  // namespace

uint64_t UuXxEncodedSize(const EncodingSession& s, const StepInput& input) noexcept {
    const Extent extent = ExtentOf(s, input);
    return extent.Characters + extent.Breaks * LineBreakBytes(s.EndOfLineType).size();
}

HRESULT UuXxEncode(EncodingSession& s, const StepInput& input, Output& out) noexcept {
    const bool header = s.IncludeHeaderFooter && input.StartOfSession;
    if (LineBreakBytes(s.EndOfLineType).empty() && ExtentOf(s, input).Breaks != 0) return berInvalidEndOfLineType;
    if (header && BeginLineSize(s) == 0) return E_OUTOFMEMORY;
    if (const HRESULT hr = out.Allocate(UuXxEncodedSize(s, input)); FAILED(hr)) return hr;

    UuXxWriter writer(s, out);
    if (header) writer.Header();
    if (input.EndOfData || !input.Source.empty()) writer.OwedBreak();
    return EncodeAll(writer, s, input);
}

}  // namespace talvo
