// Hexadecimal decode step. The character-by-character rules define the format; whole clean bytes go through a kernel.
#include "engine/decode_loop.h"
#include "engine/hexa_tables.h"
#include "engine/kernels/kernels.h"
#include "engine/steps.h"

namespace talvo {
namespace {

constexpr uint32_t kDigits = 2;  // a byte

class HexReader : public GroupReader {
public:
    using GroupReader::GroupReader;

    bool Character(BYTE c) noexcept {
        switch (const uint8_t characterClass = kHexClasses[c]; characterClass) {
            case kHexBlank:
                return true;
            case kHexInvalid:
                return verdict_.Repairs(berInvalidCharacterInData);
            case kHexLineBreak:
                return DropHeld(berInvalidNumberOfCharacterOnLine);
            default:
                return Digit(characterClass);
        }
    }

    size_t CleanRun(ByteSpan source) noexcept {
        return s_.HeldCount == 0 ? CleanGroups(write_, source, kDigits, 1, kernels::HexDecodePairs) : 0;
    }

private:
    bool Digit(uint32_t value) noexcept {
        s_.Accumulator = s_.Accumulator << 4 | value;
        if (++s_.HeldCount != kDigits) return true;
        const auto byte = static_cast<BYTE>(s_.Accumulator);
        return PutGroup(ByteSpan(&byte, 1));
    }
};

}  // namespace

HRESULT HexDecode(EncodingSession& s, const StepInput& input, Output& out) noexcept {
    const uint64_t bound = (s.HeldCount + uint64_t{input.Source.size()}) / kDigits;
    if (const HRESULT hr = out.Allocate(bound); FAILED(hr)) return hr;
    return DecodeAll(HexReader(s, out), input, out);
}

}  // namespace talvo
