// Base64 steps. Encoding (RFC 4648, section 4; lines as in RFC 2045): size first, then whole lines by kernel, then the
// rest. Decoding: the character-by-character rules define the format; whole clean groups go through a kernel.
#include <algorithm>

#include "engine/alphabets.h"
#include "engine/decode_loop.h"
#include "engine/kernels/kernels.h"
#include "engine/output.h"

namespace talvo {
namespace {

uint64_t CharacterCount(const GroupState& group, uint64_t sourceSize, bool endOfData) noexcept {
    const uint64_t bytes = group.HeldBytes + sourceSize;
    const bool padded = endOfData && bytes % kGroupBytes != 0;
    return bytes / kGroupBytes * kGroupCharacters + (padded ? kGroupCharacters : 0);
}

class Base64Writer {
public:
    Base64Writer(const Conversion& c, const Output& out, bool opensWithBreak) noexcept
        : group_(c.Now.Group), lines_(c, out, kGroupCharacters, opensWithBreak) {}

    void Hold(BYTE byte) noexcept {
        group_.Accumulator = group_.Accumulator << 8 | byte;
        if (++group_.HeldBytes != kGroupBytes) return;
        Groups(BytesOfGroup(group_.Accumulator).data(), 1);
        group_.Accumulator = 0;
        group_.HeldBytes = 0;
    }

    // Whole groups, line after line.
    void Groups(const BYTE* source, size_t groups) noexcept {
        while (groups != 0) {
            size_t run = groups;
            BYTE* const place = lines_.Place(run);
            if (!place) return;
            kernels::Base64EncodeGroups(place, source, run);
            source += run * kGroupBytes;
            groups -= run;
        }
    }

    // The last group, completed with "=": one byte gives two characters, two give three.
    void Finish() noexcept {
        const unsigned held = group_.HeldBytes;
        if (held == 0) return;
        size_t one = 1;
        BYTE* const place = lines_.Place(one);
        if (!place) return;
        kernels::Base64EncodeGroups(place, BytesOfGroup(group_.Accumulator << 8 * (kGroupBytes - held)).data(), 1);
        std::fill(place + held + 1, place + kGroupCharacters, BYTE{'='});
    }

    bool Complete() const noexcept { return lines_.Complete(); }

private:
    GroupState& group_;
    LineWriter lines_;
};

// An upper bound of the bytes that one call emits.
// Strict: every three bytes take four data characters. Tolerant: repairs complete quanta from fewer characters, but
// never more than one byte a character: in "=ab" the "=" stands for two data characters, and after padding each further
// "=" emits one byte. Only the characters held from before add to that: three held can give three bytes at the first
// character, two can give two.
uint64_t DecodedSizeBound(const Conversion& c, uint64_t sourceSize) noexcept {
    const GroupState& group = c.Now.Group;
    if (c.Chosen.ContinueOnInvalidData) return sourceSize + (group.HeldCharacters > 1 ? group.HeldCharacters - 1u : 0u);
    return (sourceSize + group.HeldCharacters + group.PadCount) / kGroupCharacters * kGroupBytes;
}

class Base64Reader : public GroupReader {
public:
    using GroupReader::GroupReader;

    bool Character(BYTE c) noexcept {
        if (!Judge(kBase64Classes[c])) return false;
        if (group_.HeldCharacters + group_.PadCount != kGroupCharacters) return true;
        return PutGroup(ByteSpan(BytesOfGroup(group_.Accumulator)).first(kGroupBytes - group_.PadCount));
    }

    size_t CleanRun(ByteSpan source) noexcept {
        if (group_.HeldCharacters != 0 || group_.PadCount != 0) return 0;
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
        if (group_.HeldCharacters >= 2) {
            group_.Accumulator <<= 6;
            ++group_.PadCount;
            return true;
        }
        if (!verdict_.Repairs(berInvalidEndOfData)) return false;
        group_.HeldCharacters = 2;  // the "=" stands for the missing data characters and is not counted itself
        return true;
    }

    // The padding count outlives a padded quantum: what follows it is past the end of the data.
    bool Digit(uint32_t value) noexcept {
        if (group_.PadCount == 0) {
            group_.Accumulator = group_.Accumulator << 6 | value;
            ++group_.HeldCharacters;
            return true;
        }
        if (!verdict_.Repairs(berInvalidEndOfData)) return false;
        group_.PadCount = 0;
        return true;
    }
};

}  // namespace

uint64_t Base64EncodedSize(const Conversion& c, uint64_t sourceSize, bool endOfData) noexcept {
    const uint64_t characters = CharacterCount(c.Now.Group, sourceSize, endOfData);
    return LinedSize(c, characters, OpensWithBreak(c, sourceSize, endOfData));
}

HRESULT Base64Encode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    const size_t size = input.Source.size();
    if (const HRESULT hr = out.Allocate(Base64EncodedSize(c, size, input.EndOfData)); FAILED(hr)) return hr;
    Base64Writer writer(c, out, OpensWithBreak(c, size, input.EndOfData));
    return EncodeAll(writer, c.Now.Group, input);
}

HRESULT Base64Decode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    if (const HRESULT hr = out.Allocate(DecodedSizeBound(c, input.Source.size())); FAILED(hr)) return hr;
    return DecodeAll(Base64Reader(c, out), input, out);
}

}  // namespace talvo
