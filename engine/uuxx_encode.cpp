// UU and XX encode step: size first, then whole lines by kernel straight from the source. Only a line that a call
// leaves unfinished is collected in LineText: its length character comes first and is not known before its end.
#include <algorithm>
#include <string_view>
#include <utility>

#include "engine/kernels/kernels.h"
#include "engine/uuxx.h"

namespace talvo {
namespace {

constexpr std::string_view kEnd = "end";

constexpr UuXxAlphabet kUu = {kUuDigits, kUuClasses, &kernels::UuEncodeGroups, &kernels::UuDecodeGroups};
constexpr UuXxAlphabet kXx = {kXxDigits, kXxClasses, &kernels::XxEncodeGroups, &kernels::XxDecodeGroups};

// Output of one call, line breaks apart.
struct Extent {
    uint64_t Characters = 0;
    uint64_t Breaks = 0;
};

// A break is written when something comes behind it, so that of the last complete line stays pending.
Extent ExtentOf(const Conversion& c, const StepInput& input) noexcept {
    const LineState& lines = c.Now.Lines;
    const uint64_t bytes = c.Now.Group.HeldBytes + uint64_t{input.Source.size()};
    const bool padded = input.EndOfData && bytes % kGroupBytes != 0;
    const uint64_t data =
        c.Now.UuXx.LineTextLength + bytes / kGroupBytes * kGroupCharacters + (padded ? kGroupCharacters : 0);
    const uint64_t lineData = lines.Limit - 1;

    Extent extent{data / lineData * lines.Limit, data > 0 ? (data - 1) / lineData : 0};
    if (input.EndOfData && data % lineData != 0) extent.Characters += data % lineData + 1;
    if (lines.BreakPending && (input.EndOfData || !input.Source.empty())) ++extent.Breaks;
    if (c.Chosen.IncludeHeaderFooter && input.StartOfSession) {
        extent.Characters += BeginLineSize(c.Header);
        ++extent.Breaks;
    }
    if (c.Chosen.IncludeHeaderFooter && input.EndOfData) {
        extent.Characters += 1 + kEnd.size();
        extent.Breaks += data > 0 ? 2 : 1;
    }
    return extent;
}

class UuXxWriter {
public:
    UuXxWriter(const Conversion& c, const Output& out) noexcept
        : c_(c),
          lines_(c.Now.Lines),
          group_(c.Now.Group),
          s_(c.Now.UuXx),
          write_(out),
          lineBreak_(LineBreakBytes(c.Chosen.EndOfLineType)),
          alphabet_(UuXxAlphabetOf(c.Chosen.Kind)),
          lineGroups_((lines_.Limit - 1) / kGroupCharacters) {}

    void Header() noexcept {
        if (WriteBeginLine(c_.Header, write_)) write_.Put(lineBreak_);
    }

    void PendingBreak() noexcept {
        if (std::exchange(lines_.BreakPending, false)) write_.Put(lineBreak_);
    }

    void Hold(BYTE byte) noexcept {
        group_.Accumulator = group_.Accumulator << 8 | byte;
        if (++group_.HeldBytes == kGroupBytes) HeldGroup(kGroupBytes);
    }

    void Groups(const BYTE* source, size_t groups) noexcept {
        while (groups != 0) {
            PendingBreak();
            const size_t run = std::min<size_t>(groups, lineGroups_ - s_.LineTextLength / kGroupCharacters);
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
        if (group_.HeldBytes != 0) {
            group_.Accumulator <<= 8 * (kGroupBytes - group_.HeldBytes);
            HeldGroup(group_.HeldBytes);
        }
        if (s_.LineTextLength != 0) CollectedLine();
        if (c_.Chosen.IncludeHeaderFooter) Footer();
    }

    bool Complete() const noexcept { return write_.Full(); }

private:
    // Missing bytes are zero, and the padding character is the digit for zero.
    void HeldGroup(uint32_t bytes) noexcept {
        PendingBreak();
        Collect(BytesOfGroup(group_.Accumulator).data(), 1, bytes);
        group_.Accumulator = 0;
        group_.HeldBytes = 0;
    }

    void FullLine(const BYTE* source) noexcept {
        BYTE* const place = write_.Take(lines_.Limit);
        if (!place) return;
        *place = LengthCharacter(lineGroups_ * kGroupBytes);
        alphabet_.EncodeGroups(place + 1, source, lineGroups_);
        lines_.BreakPending = true;
    }

    void Collect(const BYTE* source, size_t groups, uint32_t bytes) noexcept {
        alphabet_.EncodeGroups(s_.LineText + s_.LineTextLength, source, groups);
        s_.LineTextLength += static_cast<uint32_t>(groups) * kGroupCharacters;
        s_.LineByteCount = static_cast<uint16_t>(s_.LineByteCount + bytes);
        if (s_.LineTextLength == lines_.Limit - 1) CollectedLine();
    }

    void CollectedLine() noexcept {
        write_.Put(LengthCharacter(std::exchange(s_.LineByteCount, uint16_t{0})));
        write_.Put(ByteSpan(s_.LineText, std::exchange(s_.LineTextLength, 0)));
        lines_.BreakPending = true;
    }

    void Footer() noexcept {
        PendingBreak();
        write_.Put(LengthCharacter(0));
        write_.Put(lineBreak_);
        write_.Put(ByteSpan{reinterpret_cast<const BYTE*>(kEnd.data()), kEnd.size()});
    }

    BYTE LengthCharacter(uint32_t bytes) const noexcept { return static_cast<BYTE>(alphabet_.Digits[bytes]); }

    const Conversion& c_;
    LineState& lines_;
    GroupState& group_;
    UuXxState& s_;
    Writer write_;
    ByteSpan lineBreak_;
    const UuXxAlphabet& alphabet_;
    uint32_t lineGroups_;
};

}  // namespace

const UuXxAlphabet& UuXxAlphabetOf(FormatKind kind) noexcept { return kind == FormatKind::XX ? kXx : kUu; }

uint64_t UuXxEncodedSize(const Conversion& c, const StepInput& input) noexcept {
    const Extent extent = ExtentOf(c, input);
    return extent.Characters + extent.Breaks * LineBreakBytes(c.Chosen.EndOfLineType).size();
}

HRESULT UuXxEncode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    const bool header = c.Chosen.IncludeHeaderFooter && input.StartOfSession;
    if (header && BeginLineSize(c.Header) == 0) return E_OUTOFMEMORY;
    if (const HRESULT hr = out.Allocate(UuXxEncodedSize(c, input)); FAILED(hr)) return hr;

    UuXxWriter writer(c, out);
    if (header) writer.Header();
    if (input.EndOfData || !input.Source.empty()) writer.PendingBreak();
    return EncodeAll(writer, c.Now.Group, input);
}

}  // namespace talvo
