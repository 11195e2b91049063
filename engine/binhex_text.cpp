// Reads lines as CR, LF or CR LF end them. The character-by-character rules define the 6-bit layer; whole clean groups
// go through a kernel.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "engine/alphabets.h"
#include "engine/binhex_decode.h"
#include "engine/binhex_stream.h"
#include "engine/decode_loop.h"
#include "engine/kernels/kernels.h"

namespace talvo {
namespace {

bool IsLineBreak(BYTE c) noexcept { return c == '\r' || c == '\n'; }

bool HoldsIdentification(const BinHexState& s) noexcept {
    constexpr size_t kCompared = BinHexState::kIdentificationCompared;
    return s.LineStartLength > kCompared && std::memcmp(s.LineStart, kIdentificationLine.data(), kCompared) == 0;
}

// Takes one character; true for the ":" that opens the data.
bool OpensData(BinHexState& s, BYTE c) noexcept {
    if (IsLineBreak(c)) {
        s.AtLineStart = true;
        return false;
    }
    if (s.AtLineStart) {
        s.AtLineStart = false;
        if (c == ':' && HoldsIdentification(s)) return true;
        s.LineStartLength = 0;
    }
    if (s.LineStartLength < std::size(s.LineStart)) s.LineStart[s.LineStartLength++] = c;
    return false;
}

class CharacterReader {
public:
    CharacterReader(Working& now, Verdict& verdict, Writer& write) noexcept
        : s_(now.BinHex), group_(now.Group), verdict_(verdict), write_(write) {}

    // False: the call ends with the verdict.
    bool Character(BYTE c) noexcept {
        if (s_.ColonSeen) {
            s_.ColonSeen = false;
            if (IsLineBreak(c)) {
                s_.Finished = true;
                group_.HeldCharacters = 0;
                return true;
            }
            if (!verdict_.Repairs(berInvalidEndOfData)) return false;
        }
        switch (const uint8_t characterClass = kBinHexClasses[c]) {
            case kBinHexBlank:
                return true;
            case kBinHexInvalid:
                return verdict_.Repairs(berInvalidCharacterInData);
            case kBinHexDelimiter:
                s_.ColonSeen = true;
                return Convert();
            default:
                group_.Accumulator = group_.Accumulator << 6 | characterClass;
                return ++group_.HeldCharacters != kGroupCharacters || Convert();
        }
    }

    // Whole groups of digits from the front of `text`; returns the characters taken.
    size_t CleanRun(ByteSpan text) noexcept {
        if (group_.HeldCharacters != 0 || s_.ColonSeen) return 0;
        return CleanGroups(write_, text, kGroupCharacters, kGroupBytes, kernels::BinHexDecodeGroups);
    }

    // The bytes that the held characters are enough for: n characters hold 6n bits. A single character is none, and the
    // ":" that it stands in front of then ends nothing.
    bool Convert() noexcept {
        const unsigned held = group_.HeldCharacters;
        if (held == 1) {
            if (!verdict_.Repairs(berInvalidEndOfData)) return false;
            s_.ColonSeen = false;
        }
        const uint32_t bits = group_.Accumulator << 6 * (kGroupCharacters - held);
        write_.Put(ByteSpan(BytesOfGroup(bits)).first(held * 6 / 8));
        group_.Accumulator = 0;
        group_.HeldCharacters = 0;
        return true;
    }

private:
    BinHexState& s_;
    GroupState& group_;
    Verdict& verdict_;
    Writer& write_;
};

}  // namespace

ByteSpan FindBinHexData(BinHexState& s, ByteSpan text) noexcept {
    while (!s.DataFound && !text.empty()) {
        s.DataFound = OpensData(s, text.front());
        text = text.subspan(1);
    }
    return text;
}

uint64_t BinHexBytesBound(const GroupState& group, uint64_t size) noexcept {
    return (group.HeldCharacters + size + kGroupCharacters - 1) / kGroupCharacters * kGroupBytes;
}

bool ReadBinHexCharacters(Working& now, ByteSpan text, bool endOfData, Verdict& verdict, Writer& write) noexcept {
    CharacterReader reader(now, verdict, write);
    while (!now.BinHex.Finished && !text.empty()) {
        text = text.subspan(reader.CleanRun(text));
        if (text.empty()) break;
        if (!reader.Character(text.front())) return false;
        text = text.subspan(1);
    }
    return !endOfData || reader.Convert();
}

}  // namespace talvo
