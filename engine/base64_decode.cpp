// Base64 decode step. The character-by-character rules define the format; whole clean groups go through a kernel.
#include "engine/base64_tables.h"
#include "engine/decode_loop.h"
#include "engine/kernels/kernels.h"
#include "engine/sextets.h"
#include "engine/steps.h"

namespace talvo {
namespace {

// An upper bound of the bytes that one call emits.
// Strict: every three bytes take four data characters. Tolerant: repairs complete quanta from fewer characters, but
// never more than one byte a character: in "=ab" the "=" stands for two data characters, and after padding each further
// "=" emits one byte. Only the characters held from before add to that: three held can give three bytes at the first
// character, two can give two.
uint64_t DecodedSizeBound(const EncodingSession& s, uint64_t sourceSize) noexcept {
    if (s.ContinueOnInvalidData) return sourceSize + (s.HeldCount > 1 ? s.HeldCount - 1u : 0u);
    return (sourceSize + s.HeldCount + s.PadCount) / kGroupCharacters * kGroupBytes;
}

class Base64Reader : public GroupReader {
public:
    using GroupReader::GroupReader;

    bool Character(BYTE c) noexcept {
        if (!Judge(kBase64Classes[c])) return false;
        if (s_.HeldCount + s_.PadCount != kGroupCharacters) return true;
        return PutGroup(ByteSpan(BytesOfGroup(s_.Accumulator)).first(kGroupBytes - s_.PadCount));
    }

    size_t CleanRun(ByteSpan source) noexcept {
        if (s_.HeldCount != 0 || s_.PadCount != 0) return 0;
        return CleanGroups(write_, source, kGroupCharacters, kGroupBytes, kernels::Base64DecodeGroups);
    }

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
                return DropHeld(berInvalidNumberOfCharacterOnLine);
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
};

}  // namespace

HRESULT Base64Decode(EncodingSession& s, const StepInput& input, Output& out) noexcept {
    if (const HRESULT hr = out.Allocate(DecodedSizeBound(s, input.Source.size())); FAILED(hr)) return hr;
    return DecodeAll(Base64Reader(s, out), input, out);
}

}  // namespace talvo
