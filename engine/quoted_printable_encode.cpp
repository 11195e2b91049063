// Quoted-printable encode step (RFC 2045, section 6.7).
//
// A byte is written when the next one is known: whether a soft line break must come before it, and whether it is a
// blank at the end of a line, shows only then. Column counts the pending byte already. Escapes and literals that leave
// the line unfinished go through a kernel.
#include <algorithm>
#include <utility>

#include "engine/alphabets.h"
#include "engine/kernels/kernels.h"
#include "engine/output.h"

namespace talvo {
namespace {

constexpr BYTE kCR = '\r', kLF = '\n';
constexpr BYTE kSoftBreak[] = {'=', kCR, kLF};
constexpr uint32_t kEscapeWidth = 3;

// What a byte is to the line breaks of the source.
enum class Role { Text, MayBeginBreak, EndsBreak };

class QuotedPrintableWriter {
public:
    QuotedPrintableWriter(const Conversion& c, const Output& out) noexcept
        : endOfLine_(c.Chosen.EndOfLineType), lines_(c.Now.Lines), s_(c.Now.QuotedPrintable), write_(out) {}

    // Takes bytes from the front of `source`; returns how many, at least one.
    size_t Take(ByteSpan source) noexcept {
        const BYTE c = source.front();
        if (s_.BreakRead) HardBreak();
        if (s_.CarriageReturnSeen && c != kCR && c != kLF) LoneCarriageReturn();
        const Role role = RoleOf(c);
        WritePending(role);
        if (role == Role::Text && !s_.SoftBreakDue) {
            if (const size_t run = CleanRun(source); run != 0) return run;
        }
        Classify(c, role);
        return 1;
    }

    void Finish() noexcept {
        if (s_.BreakRead) HardBreak();
        if (s_.CarriageReturnSeen) LoneCarriageReturn();
        if (s_.SoftBreakDue && (lines_.Column != lines_.Limit || IsBlank(s_.PendingByte))) write_.Put(kSoftBreak);
        if (s_.SoftBreakDue || s_.HasPending) Write(s_.PendingByte);
        if (!s_.LastNotBlank) write_.Put(kSoftBreak);
    }

    const Writer& Written() const noexcept { return write_; }

private:
    Role RoleOf(BYTE c) const noexcept {
        switch (endOfLine_) {
            case kCrLf:
                if (c == kCR && !s_.CarriageReturnSeen) return Role::MayBeginBreak;
                return c == kLF && s_.CarriageReturnSeen ? Role::EndsBreak : Role::Text;
            case kLf:
                return c == kLF ? Role::EndsBreak : Role::Text;
            case kCr:
                return c == kCR ? Role::EndsBreak : Role::Text;
            default:
                return Role::Text;
        }
    }

    // The hard break read before. A pending byte that fills the line exactly has waited for it.
    void HardBreak() noexcept {
        if (!s_.LastNotBlank) write_.Put(kSoftBreak);
        if (lines_.Column == lines_.Limit) Write(s_.PendingByte);
        write_.Put(kCrLfBytes);
        s_.LastNotBlank = true;
        lines_.Column = 0;
        s_.BreakRead = false;
    }

    // Writes the pending byte, on a new line where it must. One that fills its line exactly waits when `next` may be a
    // hard break: that would leave it where it is.
    void WritePending(Role next) noexcept {
        if (s_.SoftBreakDue) {
            const bool mayEndLine = lines_.Column == lines_.Limit && s_.LastNotBlank && !IsBlank(s_.PendingByte);
            if (next != Role::Text && mayEndLine) return;
            write_.Put(kSoftBreak);
            s_.SoftBreakDue = false;
            s_.HasPending = true;
            lines_.Column = s_.PendingWidth;
        }
        if (std::exchange(s_.HasPending, false)) Write(s_.PendingByte);
    }

    // The CR held back is not followed by LF: it is a byte like any other.
    void LoneCarriageReturn() noexcept {
        WritePending(Role::Text);
        s_.CarriageReturnSeen = false;
        Pend(kCR);
    }

    void Classify(BYTE c, Role role) noexcept {
        switch (role) {
            case Role::MayBeginBreak:
                s_.CarriageReturnSeen = true;
                return;
            case Role::EndsBreak:
                s_.CarriageReturnSeen = false;
                s_.SoftBreakDue = false;
                s_.BreakRead = true;
                return;
            case Role::Text:  // a CR here may be a second one, and still be followed by LF
                return Pend(c);
        }
    }

    void Pend(BYTE c) noexcept {
        const uint32_t width = kQuotedPrintableLiterals[c] ? 1 : kEscapeWidth;
        s_.SoftBreakDue = uint64_t{lines_.Column} + width >= lines_.Limit;
        s_.HasPending = !s_.SoftBreakDue;
        s_.PendingByte = c;
        s_.PendingWidth = width;
        // May wrap in the longest of lines, which does no harm: it is only compared for equality then.
        lines_.Column += width;
    }

    // Text that leaves the line unfinished. The last byte of it becomes the pending one.
    size_t CleanRun(ByteSpan source) noexcept {
        const size_t room = std::min<size_t>(lines_.Limit - 1 - lines_.Column, write_.Room());
        BYTE* const place = write_.Take(room);
        if (!place) return 0;
        const kernels::Run run = kernels::QuotedPrintableEncodeRun(place, room, source.data(), source.size());
        write_.Return(room - run.Written);
        if (run.Read == 0) return 0;
        lines_.Column += static_cast<uint32_t>(run.Written);
        s_.PendingByte = source[run.Read - 1];
        s_.PendingWidth = kQuotedPrintableLiterals[s_.PendingByte] ? 1 : kEscapeWidth;
        s_.HasPending = true;
        write_.Return(s_.PendingWidth);
        return run.Read;
    }

    void Write(BYTE c) noexcept {
        s_.LastNotBlank = !IsBlank(c);
        if (kQuotedPrintableLiterals[c]) {
            write_.Put(c);
            return;
        }
        const BYTE escape[] = {'=', static_cast<BYTE>(kHexaDigits[c >> 4]), static_cast<BYTE>(kHexaDigits[c & 15])};
        write_.Put(escape);
    }

    const int32_t endOfLine_;
    LineState& lines_;
    QuotedPrintableState& s_;
    Writer write_;
};

// An upper bound of what one call writes. A byte takes three characters at most; two may be held from before. A hard
// break and the soft one that protects a blank in front of it fit in what the bytes of both leave over. Each other soft
// break ends a line of LineLimit - 3 characters or more. On top come a hard break that an earlier call has read (with
// the soft one of a blank), and at the end of data the soft breaks in front of and behind the last byte.
uint64_t EncodedSizeBound(const LineState& lines, uint64_t sourceSize) noexcept {
    const uint64_t characters = (sourceSize + 2) * kEscapeWidth;
    const uint64_t fullLines = (lines.Column + characters) / (lines.Limit - kEscapeWidth);
    return characters + fullLines * sizeof(kSoftBreak) + sizeof(kCrLfBytes) + 3 * sizeof(kSoftBreak);
}

}  // namespace

HRESULT QuotedPrintableEncode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    if (const HRESULT hr = out.Allocate(EncodedSizeBound(c.Now.Lines, input.Source.size())); FAILED(hr)) return hr;

    QuotedPrintableWriter writer(c, out);
    for (ByteSpan rest = input.Source; !rest.empty();) rest = rest.subspan(writer.Take(rest));
    if (input.EndOfData) writer.Finish();
    if (writer.Written().Overrun()) return berInternalError;
    out.ShrinkTo(writer.Written().Count());
    return S_OK;
}

}  // namespace talvo
