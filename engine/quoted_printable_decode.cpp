// Quoted-printable decode step (RFC 2045, section 6.7).
//
// Blanks are held back until it shows whether they end their line, line breaks until the next character: CR LF is one
// break. A soft break ends at CR LF, at a lone LF and at a lone CR alike, so that text stored with any line ends
// decodes. Plain text and whole escapes go through a kernel.
#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "engine/alphabets.h"
#include "engine/kernels/kernels.h"
#include "engine/output.h"
#include "engine/verdict.h"

namespace talvo {
namespace {

constexpr BYTE kCR = '\r', kLF = '\n';

// EscapeLength.
enum : uint32_t { kNoEscape = 0, kAfterEquals = 1, kAfterDigit = 2 };

class QuotedPrintableReader {
public:
    QuotedPrintableReader(const Conversion& c, const Output& out) noexcept
        : s_(c.Now.QuotedPrintable),
          lineBreak_(LineBreakBytes(c.Chosen.EndOfLineType)),
          write_(out),
          verdict_(c.Chosen.ContinueOnInvalidData) {}

    // Takes characters from the front of `source`; returns how many. 0: the call ends with Result().
    size_t Take(ByteSpan source) noexcept {
        const BYTE c = source.front();
        if (std::exchange(s_.BreakRead, false) && !LineBreak()) return 0;
        if (std::exchange(s_.SoftBreakCr, false) && c == kLF) return 1;
        if (s_.EscapeLength != kNoEscape) return Escape(c) ? 1 : 0;
        if (IsBlank(c)) return HoldBlanks(source);
        if (s_.BlanksLength == 0 && !s_.CarriageReturnSeen) {
            if (const size_t run = CleanRun(source); run != 0) return run;
        }
        return Text(c) ? 1 : 0;
    }

    bool Finish() noexcept {
        if (std::exchange(s_.BreakRead, false) && !LineBreak()) return false;
        if (!LoneCarriageReturn()) return false;
        if (s_.EscapeLength != kAfterDigit) return true;  // blanks and an "=" at the very end are nothing
        if (!verdict_.Repairs(berRemainingData)) return false;
        BrokenEscape();
        return true;
    }

    HRESULT Result() const noexcept {
        return error_ != S_OK ? error_ : write_.Overrun() ? berInternalError : verdict_.Result();
    }
    uint32_t Count() const noexcept { return write_.Count(); }

private:
    bool LineBreak() noexcept {
        if (lineBreak_.empty()) error_ = berInvalidEndOfLineType;
        return write_.Put(lineBreak_) && error_ == S_OK;
    }

    // A CR that no LF has followed is a line break.
    bool LoneCarriageReturn() noexcept { return !std::exchange(s_.CarriageReturnSeen, false) || LineBreak(); }

    // Everything but blanks, outside escapes.
    bool Text(BYTE c) noexcept {
        switch (c) {
            case kLF:
                s_.CarriageReturnSeen = false;
                s_.BreakRead = true;
                s_.BlanksLength = 0;
                return true;
            case kCR:
                s_.BreakRead = std::exchange(s_.CarriageReturnSeen, true);
                s_.BlanksLength = 0;
                return true;
            default:
                if (!LoneCarriageReturn()) return false;
                write_.Put(ByteSpan(s_.Blanks.Get(), std::exchange(s_.BlanksLength, 0)));
                if (c == '=') {
                    s_.EscapeLength = kAfterEquals;
                } else {
                    write_.Put(c);
                }
                return true;
        }
    }

    bool Escape(BYTE c) noexcept {
        switch (const uint8_t characterClass = kHexaClasses[c]; characterClass) {
            case kHexaBlank:
                return true;
            case kHexaLineBreak:
                if (s_.EscapeLength == kAfterDigit && !verdict_.Repairs(berInvalidCharacterInData)) return false;
                s_.SoftBreakCr = s_.EscapeLength == kAfterEquals && c == kCR;
                if (s_.EscapeLength == kAfterDigit) BrokenEscape();
                break;
            case kHexaInvalid:
                if (!verdict_.Repairs(berInvalidCharacterInData)) return false;
                BrokenEscape();
                write_.Put(c);
                break;
            default:
                s_.EscapeValue = s_.EscapeValue << 4 | characterClass;
                if (++s_.EscapeLength <= kAfterDigit) return true;
                write_.Put(static_cast<BYTE>(s_.EscapeValue));
        }
        s_.EscapeLength = kNoEscape;
        s_.EscapeValue = 0;
        return true;
    }

    // What there is of an escape that comes to nothing, passed through as it was read.
    void BrokenEscape() noexcept {
        write_.Put('=');
        if (s_.EscapeLength == kAfterDigit) write_.Put(static_cast<BYTE>(kHexaDigits[s_.EscapeValue & 15]));
    }

    size_t HoldBlanks(ByteSpan source) noexcept {
        const auto end = std::find_if_not(source.begin(), source.end(), IsBlank);
        const auto count = static_cast<size_t>(end - source.begin());
        if (!ReserveBlanks(uint64_t{s_.BlanksLength} + count)) {
            error_ = E_OUTOFMEMORY;
            return 0;
        }
        std::memcpy(s_.Blanks.Get() + s_.BlanksLength, source.data(), count);
        s_.BlanksLength += static_cast<uint32_t>(count);
        return count;
    }

    bool ReserveBlanks(uint64_t size) noexcept {
        if (size <= s_.BlanksCapacity) return true;
        constexpr uint64_t kUnit = QuotedPrintableState::kBlanksUnit;
        const uint64_t capacity = (size + kUnit - 1) / kUnit * kUnit;
        if (capacity > std::numeric_limits<uint32_t>::max()) return false;
        void* const grown = com::TaskRealloc(s_.Blanks.Get(), static_cast<SIZE_T>(capacity));
        if (!grown) return false;
        static_cast<void>(s_.Blanks.Detach());
        s_.Blanks.Reset(static_cast<BYTE*>(grown));
        s_.BlanksCapacity = static_cast<uint32_t>(capacity);
        return true;
    }

    size_t CleanRun(ByteSpan source) noexcept {
        const size_t size = std::min(source.size(), write_.Room());
        BYTE* const place = write_.Take(size);
        if (!place) return 0;
        const kernels::Run run = kernels::QuotedPrintableDecodeRun(place, source.data(), size);
        write_.Return(size - run.Written);
        return run.Read;
    }

    QuotedPrintableState& s_;
    const ByteSpan lineBreak_;
    Writer write_;
    Verdict verdict_;
    HRESULT error_ = S_OK;  // other than a defect
};

// An upper bound of what one call writes: a line break takes what its type takes, and every other character one byte at
// most, blanks and the broken escape that earlier calls hold included. Two breaks may have been read before besides.
uint64_t DecodedSizeBound(const Conversion& c, uint64_t sourceSize) noexcept {
    const uint64_t breakSize = std::max<size_t>(LineBreakBytes(c.Chosen.EndOfLineType).size(), 1);
    return (sourceSize + 2) * breakSize + c.Now.QuotedPrintable.BlanksLength + c.Now.QuotedPrintable.EscapeLength;
}

}  // namespace

HRESULT QuotedPrintableDecode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    if (const HRESULT hr = out.Allocate(DecodedSizeBound(c, input.Source.size())); FAILED(hr)) return hr;

    QuotedPrintableReader reader(c, out);
    for (ByteSpan rest = input.Source; !rest.empty();) {
        const size_t taken = reader.Take(rest);
        if (taken == 0) return reader.Result();
        rest = rest.subspan(taken);
    }
    if (input.EndOfData && !reader.Finish()) return reader.Result();
    out.ShrinkTo(reader.Count());
    return reader.Result();
}

}  // namespace talvo
