// Reads lines as CR, LF or CR LF end them. The character-by-character rules define the 6-bit layer; whole clean groups
// go through a kernel.
#include "engine/binhex_text.h"

#include <cstring>

#include "engine/binhex_stream.h"
#include "engine/binhex_tables.h"
#include "engine/decode_loop.h"
#include "engine/kernels/kernels.h"
#include "engine/sextets.h"

namespace talvo {
namespace {

bool IsLineBreak(BYTE c) noexcept { return c == '\r' || c == '\n'; }

bool HoldsIdentification(const EncodingSession& s) noexcept {
    return s.WorkLength > kIdentificationCompared &&
           std::memcmp(s.WorkBuffer.Get(), kIdentificationLine.data(), kIdentificationCompared) == 0;
}

// Takes one character; true for the ":" that opens the data.
bool OpensData(EncodingSession& s, BYTE c) noexcept {
    if (IsLineBreak(c)) {
        s.AtLineStart = true;
        return false;
    }
    if (s.AtLineStart) {
        s.AtLineStart = false;
        if (c == ':' && HoldsIdentification(s)) return true;
        s.WorkLength = 0;
    }
    if (s.WorkLength < kDecoderWorkSize) s.WorkBuffer.Get()[s.WorkLength++] = c;
    return false;
}

class CharacterReader {
public:
    CharacterReader(EncodingSession& session, Verdict& verdict, Writer& write) noexcept
        : s_(session), verdict_(verdict), write_(write) {}

    // False: the call ends with the verdict.
    bool Character(BYTE c) noexcept {
        if (s_.EndKeyword) {
            s_.EndKeyword = false;
            if (IsLineBreak(c)) {
                s_.Finished = true;
                s_.HeldCount = 0;
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
                s_.EndKeyword = true;
                return Convert();
            default:
                s_.Accumulator = s_.Accumulator << 6 | characterClass;
                return ++s_.HeldCount != kGroupCharacters || Convert();
        }
    }

    // Whole groups of digits from the front of `text`; returns the characters taken.
    size_t CleanRun(ByteSpan text) noexcept {
        if (s_.HeldCount != 0 || s_.EndKeyword) return 0;
        return CleanGroups(write_, text, kGroupCharacters, kGroupBytes, kernels::BinHexDecodeGroups);
    }

    // The bytes that the held characters are enough for: n characters hold 6n bits. A single character is none, and the
    // ":" that it stands in front of then ends nothing.
    bool Convert() noexcept {
        const unsigned held = s_.HeldCount;
        if (held == 1) {
            if (!verdict_.Repairs(berInvalidEndOfData)) return false;
            s_.EndKeyword = false;
        }
        const uint32_t bits = s_.Accumulator << 6 * (kGroupCharacters - held);
        write_.Put(ByteSpan(BytesOfGroup(bits)).first(held * 6 / 8));
        s_.Accumulator = 0;
        s_.HeldCount = 0;
        return true;
    }

private:
    EncodingSession& s_;
    Verdict& verdict_;
    Writer& write_;
};

}  // namespace

ByteSpan FindBinHexData(EncodingSession& s, ByteSpan text) noexcept {
    while (!s.HeaderFound && !text.empty()) {
        s.HeaderFound = OpensData(s, text.front());
        text = text.subspan(1);
    }
    return text;
}

uint64_t BinHexBytesBound(const EncodingSession& s, uint64_t size) noexcept {
    return (s.HeldCount + size + kGroupCharacters - 1) / kGroupCharacters * kGroupBytes;
}

bool ReadBinHexCharacters(EncodingSession& s, ByteSpan text, bool endOfData, Verdict& verdict, Writer& write) noexcept {
    CharacterReader reader(s, verdict, write);
    while (!s.Finished && !text.empty()) {
        text = text.subspan(reader.CleanRun(text));
        if (text.empty()) break;
        if (!reader.Character(text.front())) return false;
        text = text.subspan(1);
    }
    return !endOfData || reader.Convert();
}

}  // namespace talvo
