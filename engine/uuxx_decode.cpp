// UU and XX decode step. The character-by-character rules define the format; whole clean lines go through a kernel.
//
// A line's bytes leave when the length character of the next line has come, or at the end of data: until then "end" may
// follow and take the last line back.
#include <algorithm>
#include <string_view>
#include <utility>

#include "engine/uuxx.h"
#include "engine/verdict.h"

namespace talvo {
namespace {

constexpr std::string_view kEnd = "end";
constexpr uint32_t kMaxLineBytes = UuXxState::kMaxLineBytes;
// LineBytesLength of a line that is longer than any may be. It grows no further.
constexpr uint32_t kTooLong = kMaxLineBytes + kGroupBytes;

// Appends lines to the output. A line counts for what its length character announces, and two characters may announce
// 63 bytes; so there is no useful bound, and the block grows, by half at least, when the estimate turns out too small.
class LineOutput {
public:
    explicit LineOutput(Output& out) noexcept : out_(out) {}

    // Makes room for `size` bytes, and if that takes a new block, for what `characters` more give in clean lines.
    HRESULT Reserve(uint32_t size, size_t characters) noexcept {
        if (size <= out_.Size() - count_) return S_OK;
        const uint64_t needed = uint64_t{count_} + size;
        const uint64_t clean = needed + characters / kGroupCharacters * kGroupBytes;
        return out_.GrowTo(needed, std::max(clean, out_.Size() + uint64_t{out_.Size()} / 2));
    }
    // The place of the next `size` bytes, or null.
    BYTE* Place(uint32_t size) const noexcept { return size <= out_.Size() - count_ ? out_.Data() + count_ : nullptr; }
    void Advance(uint32_t size) noexcept { count_ += size; }
    void Finish() noexcept { out_.ShrinkTo(count_); }

private:
    Output& out_;
    uint32_t count_ = 0;
};

class UuXxReader {
public:
    UuXxReader(const Conversion& c, Output& out) noexcept
        : s_(c.Now.UuXx),
          group_(c.Now.Group),
          lines_(out),
          verdict_(c.Chosen.ContinueOnInvalidData),
          mayHaveFooter_(c.Chosen.IncludeHeaderFooter),
          alphabet_(UuXxAlphabetOf(c.Chosen.Kind)) {}

    // Takes the character in front, and the whole line behind its length character if it is clean. False: the call ends
    // with Result().
    bool Next(ByteSpan& rest) noexcept {
        const BYTE c = rest.front();
        if (s_.MayBeFooter) LookForEnd(c);
        if (s_.Finished) return true;
        if (s_.DeferredInvalid && s_.EndMatched == 0) {
            s_.DeferredInvalid = false;
            if (!verdict_.Repairs(berInvalidCharacterInData)) return false;
        }
        const uint8_t characterClass = alphabet_.Classes[c];
        const bool opensLine = s_.AtLineStart && characterClass <= kMaxLineBytes;
        if (opensLine && !CloseLine(rest.size())) return false;
        rest = rest.subspan(1);
        if (!opensLine) return Judge(characterClass);
        s_.AtLineStart = false;
        s_.DeclaredLength = characterClass;
        rest = rest.subspan(CleanLine(rest));
        return true;
    }

    // End of data: the last line has no line behind it.
    bool Finish() noexcept {
        if (s_.EndSeen) s_.DeclaredLength = group_.HeldCharacters = 0;
        if (group_.HeldCharacters != 0 && !verdict_.Repairs(berRemainingData)) return false;
        group_.HeldCharacters = 0;
        return Emit(0);
    }

    void Shrink() noexcept { lines_.Finish(); }
    HRESULT Result() const noexcept { return FAILED(memory_) ? memory_ : verdict_.Result(); }

private:
    // "end" counts if it starts a line and a line break follows; until then its characters are also what they are
    // otherwise, except that those outside the alphabet are not reported yet.
    void LookForEnd(BYTE c) noexcept {
        if (s_.EndSeen) {
            s_.EndSeen = s_.MayBeFooter = false;
            if (alphabet_.Classes[c] != kUuXxLineBreak) return;
            s_.Finished = true;
            s_.DeclaredLength = group_.HeldCharacters = 0;
        } else if (c != static_cast<BYTE>(kEnd[s_.EndMatched])) {
            s_.MayBeFooter = false;
            s_.EndMatched = 0;
        } else if (++s_.EndMatched == kEnd.size()) {
            s_.EndSeen = true;
            s_.DeferredInvalid = false;
        }
    }

    bool Judge(uint8_t characterClass) noexcept {
        switch (characterClass) {
            case kUuXxBlank:
                return true;
            case kUuXxInvalid:
                s_.DeferredInvalid = s_.EndMatched != 0;
                return s_.DeferredInvalid || verdict_.Repairs(berInvalidCharacterInData);
            case kUuXxLineBreak:
                return LineBreak();
            default:
                return Digit(characterClass);
        }
    }

    bool LineBreak() noexcept {
        StartLine();
        if (group_.HeldCharacters == 0) return true;
        if (!verdict_.Repairs(berInvalidNumberOfCharacterOnLine)) return false;
        group_.Accumulator <<= 6 * (kGroupCharacters - group_.HeldCharacters);
        return Group();
    }

    void StartLine() noexcept {
        s_.AtLineStart = true;
        s_.MayBeFooter = mayHaveFooter_;
        s_.EndMatched = 0;
    }

    bool Digit(uint32_t value) noexcept {
        group_.Accumulator = group_.Accumulator << 6 | value;
        return ++group_.HeldCharacters != kGroupCharacters || Group();
    }

    // The held group goes to the line, or is dropped where the line is full.
    bool Group() noexcept {
        const uint32_t bits = std::exchange(group_.Accumulator, 0);
        group_.HeldCharacters = 0;
        if (s_.LineBytesLength >= kMaxLineBytes) {
            s_.LineBytesLength = kTooLong;
            return verdict_.Repairs(berInvalidLineLengthInData);
        }
        const auto bytes = BytesOfGroup(bits);
        std::copy(bytes.begin(), bytes.end(), s_.LineBytes + s_.LineBytesLength);
        s_.LineBytesLength += kGroupBytes;
        return true;
    }

    // The next line begins. The last group may carry bytes beyond the announced ones, a group beyond them is a defect.
    bool CloseLine(size_t charactersLeft) noexcept {
        if (s_.LineBytesLength > s_.DeclaredLength + kGroupBytes - 1 && !verdict_.Repairs(berInvalidLineLengthInData)) {
            return false;
        }
        return Emit(charactersLeft);
    }

    // As many bytes as announced. Those that the line lacks are zero: some mailers strip blanks at the end of a line,
    // and a blank is a zero.
    bool Emit(size_t charactersLeft) noexcept {
        const uint32_t size = std::exchange(s_.DeclaredLength, uint16_t{0});
        const uint32_t decoded = std::min(std::exchange(s_.LineBytesLength, 0), size);
        if (size == 0) return true;
        memory_ = lines_.Reserve(size, charactersLeft);
        BYTE* const place = lines_.Place(size);
        if (FAILED(memory_) || !place) return false;
        std::fill(std::copy_n(s_.LineBytes, decoded, place), place + size, BYTE{0});
        lines_.Advance(size);
        return true;
    }

    // A line of exactly the groups that it announces, its break, and a length character behind it: what the rules would
    // give for it, at once. Returns the characters taken, 0 if the line is to go by the rules.
    size_t CleanLine(ByteSpan rest) noexcept {
        const uint32_t groups = (s_.DeclaredLength + kGroupBytes - 1) / kGroupBytes;
        const size_t length = size_t{groups} * kGroupCharacters;
        constexpr size_t kCrLfAndNext = 3;
        if (groups == 0 || s_.MayBeFooter || s_.EndMatched != 0 || rest.size() < length + kCrLfAndNext) return 0;

        size_t next = length;
        if (alphabet_.Classes[rest[next++]] != kUuXxLineBreak) return 0;
        if (rest[length] == '\r' && rest[next] == '\n') ++next;
        if (alphabet_.Classes[rest[next]] > kMaxLineBytes) return 0;

        if (FAILED(lines_.Reserve(groups * kGroupBytes, rest.size()))) return 0;
        BYTE* const place = lines_.Place(groups * kGroupBytes);
        if (!place || alphabet_.DecodeGroups(place, rest.data(), groups) != groups) return 0;
        lines_.Advance(std::exchange(s_.DeclaredLength, uint16_t{0}));
        StartLine();
        return next;
    }

    UuXxState& s_;
    GroupState& group_;
    LineOutput lines_;
    Verdict verdict_;
    const bool mayHaveFooter_;
    const UuXxAlphabet& alphabet_;
    HRESULT memory_ = S_OK;
};

}  // namespace

HRESULT UuXxDecode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    ByteSpan rest = input.Source;
    if (const HRESULT hr = FindBeginLine(c, rest); FAILED(hr)) return hr;

    UuXxReader reader(c, out);
    while (!rest.empty() && !c.Now.UuXx.Finished) {
        if (!reader.Next(rest)) return reader.Result();
    }
    if (input.EndOfData && !reader.Finish()) return reader.Result();
    reader.Shrink();
    return reader.Result();
}

}  // namespace talvo
