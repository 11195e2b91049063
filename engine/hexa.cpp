// Hexadecimal steps (RFC 4648, section 8, in lines): two digits a byte, so that an encoding holds no byte between calls.
// When decoding, the character-by-character rules define the format; whole clean bytes go through a kernel.
#include "engine/alphabets.h"
#include "engine/decode_loop.h"
#include "engine/kernels/kernels.h"
#include "engine/output.h"

namespace talvo {
namespace {

constexpr uint32_t kDigits = 2;  // a byte

class HexaReader : public GroupReader {
public:
    using GroupReader::GroupReader;

    bool Character(BYTE c) noexcept {
        switch (const uint8_t characterClass = kHexaClasses[c]; characterClass) {
            case kHexaBlank:
                return true;
            case kHexaInvalid:
                return verdict_.Repairs(berInvalidCharacterInData);
            case kHexaLineBreak:
                return DropHeld(berInvalidNumberOfCharacterOnLine);
            default:
                return Digit(characterClass);
        }
    }

    size_t CleanRun(ByteSpan source) noexcept {
        return group_.HeldCharacters == 0 ? CleanGroups(write_, source, kDigits, 1, kernels::HexaDecodePairs) : 0;
    }

private:
    bool Digit(uint32_t value) noexcept {
        group_.Accumulator = group_.Accumulator << 4 | value;
        if (++group_.HeldCharacters != kDigits) return true;
        const auto byte = static_cast<BYTE>(group_.Accumulator);
        return PutGroup(ByteSpan(&byte, 1));
    }
};

}  // namespace

uint64_t HexaEncodedSize(const Conversion& c, uint64_t sourceSize, bool endOfData) noexcept {
    return LinedSize(c, sourceSize * kDigits, OpensWithBreak(c, sourceSize, endOfData));
}

HRESULT HexaEncode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    ByteSpan rest = input.Source;
    if (const HRESULT hr = out.Allocate(HexaEncodedSize(c, rest.size(), input.EndOfData)); FAILED(hr)) return hr;

    LineWriter lines(c, out, kDigits, OpensWithBreak(c, rest.size(), input.EndOfData));
    while (!rest.empty()) {
        size_t run = rest.size();
        BYTE* const place = lines.Place(run);
        if (!place) return berInternalError;
        kernels::HexaEncodeBytes(place, rest.data(), run);
        rest = rest.subspan(run);
    }
    return lines.Complete() ? S_OK : berInternalError;
}

HRESULT HexaDecode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    const uint64_t bound = (c.Now.Group.HeldCharacters + uint64_t{input.Source.size()}) / kDigits;
    if (const HRESULT hr = out.Allocate(bound); FAILED(hr)) return hr;
    return DecodeAll(HexaReader(c, out), input, out);
}

}  // namespace talvo
