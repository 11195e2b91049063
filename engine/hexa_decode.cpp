// Hexadecimal decode step. The character-by-character rules define the format; whole clean bytes go through a kernel.
#include <algorithm>

#include "engine/decode_loop.h"
#include "engine/hexa_tables.h"
#include "engine/kernels/kernels.h"
#include "engine/steps.h"
#include "engine/verdict.h"

namespace talvo {
namespace {

constexpr uint32_t kDigits = 2;  // a byte

class HexReader {
public:
    HexReader(EncodingSession& session, const Output& out) noexcept
        : s_(session), write_(out), verdict_(session.ContinueOnInvalidData) {}

    bool Character(BYTE c) noexcept {
        switch (const uint8_t characterClass = kHexClasses[c]; characterClass) {
            case kHexBlank:
                return true;
            case kHexInvalid:
                return verdict_.Repairs(berInvalidCharacterInData);
            case kHexLineBreak:
                return s_.HeldCount == 0 || DropDigit(berInvalidNumberOfCharacterOnLine);
            default:
                return Digit(characterClass);
        }
    }

    size_t CleanRun(ByteSpan source) noexcept {
        if (s_.HeldCount != 0) return 0;
        const size_t pairs = std::min(source.size() / kDigits, write_.Room());
        BYTE* const place = write_.Take(pairs);
        if (!place) return 0;
        const size_t done = kernels::HexDecodePairs(place, source.data(), pairs);
        write_.Return(pairs - done);
        return done * kDigits;
    }

    // End of data: no digit may be left alone.
    bool Finish() noexcept { return s_.HeldCount == 0 || DropDigit(berRemainingData); }

    HRESULT Result() const noexcept { return overrun_ ? berInternalError : verdict_.Result(); }
    uint32_t Count() const noexcept { return write_.Count(); }

private:
    bool Digit(uint32_t value) noexcept {
        s_.Accumulator = s_.Accumulator << 4 | value;
        if (++s_.HeldCount != kDigits) return true;
        overrun_ = !write_.Put(static_cast<BYTE>(s_.Accumulator));
        Drop();
        return !overrun_;
    }

    bool DropDigit(HRESULT defect) noexcept {
        if (!verdict_.Repairs(defect)) return false;
        Drop();
        return true;
    }

    void Drop() noexcept {
        s_.Accumulator = 0;
        s_.HeldCount = 0;
    }

    EncodingSession& s_;
    Writer write_;
    Verdict verdict_;
    bool overrun_ = false;
};

}  // namespace

HRESULT HexDecode(EncodingSession& s, const StepInput& input, Output& out) noexcept {
    const uint64_t bound = (s.HeldCount + uint64_t{input.Source.size()}) / kDigits;
    if (const HRESULT hr = out.Allocate(bound); FAILED(hr)) return hr;
    return DecodeAll(HexReader(s, out), input, out);
}

}  // namespace talvo
