// Base64 decode step. The character-by-character rules define the format; whole clean groups go through a kernel.
#include <algorithm>

#include "engine/base64_tables.h"
#include "engine/decode_loop.h"
#include "engine/kernels/kernels.h"
#include "engine/steps.h"
#include "engine/verdict.h"

namespace talvo {
namespace {

constexpr uint32_t kGroupBytes = 3;
constexpr uint32_t kQuantum = 4;

// An upper bound of the bytes that one call emits.
// Strict: every three bytes take four data characters. Tolerant: repairs complete quanta from fewer characters, but
// never more than one byte a character: in "=ab" the "=" stands for two data characters, and after padding each further
// "=" emits one byte. Only the characters held from before add to that: three held can give three bytes at the first
// character, two can give two.
uint64_t DecodedSizeBound(const EncodingSession& s, uint64_t sourceSize) noexcept {
    if (s.ContinueOnInvalidData) return sourceSize + (s.HeldCount > 1 ? s.HeldCount - 1u : 0u);
    return (sourceSize + s.HeldCount + s.PadCount) / kQuantum * kGroupBytes;
}

class Base64Reader {
public:
    Base64Reader(EncodingSession& session, const Output& out) noexcept
        : s_(session), write_(out), verdict_(session.ContinueOnInvalidData) {}

    bool Character(BYTE c) noexcept {
        if (!Judge(kBase64Classes[c])) return false;
        if (s_.HeldCount + s_.PadCount != kQuantum) return true;
        return Emit();
    }

    // Whole quanta of digits from the front of `source`; returns the characters taken.
    size_t CleanRun(ByteSpan source) noexcept {
        if (s_.HeldCount != 0 || s_.PadCount != 0) return 0;
        const size_t groups = std::min(source.size() / kQuantum, write_.Room() / kGroupBytes);
        BYTE* const place = write_.Take(groups * kGroupBytes);
        if (!place) return 0;
        const size_t done = kernels::Base64DecodeGroups(place, source.data(), groups);
        write_.Return((groups - done) * kGroupBytes);
        return done * kQuantum;
    }

    // End of data: nothing may be left of a quantum.
    bool Finish() noexcept {
        if (s_.HeldCount == 0) return true;
        if (!verdict_.Repairs(berRemainingData)) return false;
        Drop();
        return true;
    }

    HRESULT Result() const noexcept { return overrun_ ? berInternalError : verdict_.Result(); }
    uint32_t Count() const noexcept { return write_.Count(); }

private:
    bool Judge(uint8_t characterClass) noexcept {
        switch (characterClass) {
            case kBase64Blank:
                return true;
            case kBase64Invalid:
                return verdict_.Repairs(berInvalidCharacterInData);
            case kBase64Pad:
                return Pad();
            case kBase64LineBreak:
                if (s_.HeldCount == 0) return true;
                if (!verdict_.Repairs(berInvalidNumberOfCharacterOnLine)) return false;
                Drop();
                return true;
            default:
                return Digit(characterClass);
        }
    }

    bool Pad() noexcept {
        if (s_.HeldCount >= 2) {
            s_.Accumulator <<= 6;
            ++s_.PadCount;
            return true;
        }
        if (!verdict_.Repairs(berInvalidEndOfData)) return false;
        s_.HeldCount = 2;  // the "=" stands for the missing data characters and is not counted itself
        return true;
    }

    // The padding count outlives a padded quantum: what follows it is past the end of the data.
    bool Digit(uint32_t value) noexcept {
        if (s_.PadCount == 0) {
            s_.Accumulator = s_.Accumulator << 6 | value;
            ++s_.HeldCount;
            return true;
        }
        if (!verdict_.Repairs(berInvalidEndOfData)) return false;
        s_.PadCount = 0;
        return true;
    }

    bool Emit() noexcept {
        const uint32_t bits = s_.Accumulator;
        const BYTE bytes[] = {static_cast<BYTE>(bits >> 16), static_cast<BYTE>(bits >> 8), static_cast<BYTE>(bits)};
        overrun_ = !write_.Put(ByteSpan(bytes, kGroupBytes - s_.PadCount));
        Drop();
        return !overrun_;
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

HRESULT Base64Decode(EncodingSession& s, const StepInput& input, Output& out) noexcept {
    if (const HRESULT hr = out.Allocate(DecodedSizeBound(s, input.Source.size())); FAILED(hr)) return hr;
    return DecodeAll(Base64Reader(s, out), input, out);
}

}  // namespace talvo
