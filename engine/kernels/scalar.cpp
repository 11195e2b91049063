// Portable kernels. The alphabets with six bits a character differ in their tables only: two characters a look-up when
// encoding, four look-ups a group when decoding. Hexadecimal and quoted-printable have a table with the two digits of
// every byte, and one with what a character is.
#include <array>
#include <cstdint>
#include <cstring>

#include "engine/alphabets.h"
#include "engine/kernels/kernels.h"

namespace talvo::kernels {
namespace {

struct CharacterPair {
    char text[2];
};

constexpr uint32_t kNoDigit = 0x80000000;

template <class Digits>
constexpr std::array<CharacterPair, 4096> MakeEncodePairs(const Digits& digits) noexcept {
    std::array<CharacterPair, 4096> pairs{};
    for (size_t bits = 0; bits < pairs.size(); ++bits) pairs[bits] = {{digits[bits >> 6], digits[bits & 63]}};
    return pairs;
}

// Digit values moved to their place in a group, one table a place; kNoDigit marks every other character.
using Places = std::array<std::array<uint32_t, 256>, 4>;

constexpr Places MakePlaces(const std::array<uint8_t, 256>& classes) noexcept {
    Places places{};
    for (size_t place = 0; place < places.size(); ++place) {
        for (size_t c = 0; c < classes.size(); ++c) {
            const uint32_t value = classes[c];
            places[place][c] = value < 64 ? value << (18 - 6 * place) : kNoDigit;
        }
    }
    return places;
}

constexpr auto kBase64Pairs = MakeEncodePairs(kBase64Alphabet);
constexpr auto kUuPairs = MakeEncodePairs(kUuDigits);
constexpr auto kXxPairs = MakeEncodePairs(kXxDigits);
constexpr auto kBinHexPairs = MakeEncodePairs(kBinHexAlphabet);
constexpr Places kBase64Places = MakePlaces(kBase64Classes);
constexpr Places kUuPlaces = MakePlaces(kUuClasses);
constexpr Places kXxPlaces = MakePlaces(kXxClasses);
constexpr Places kBinHexPlaces = MakePlaces(kBinHexClasses);

// aaaaaabb bbbbcccc ccdddddd -> aaaaaa bbbbbb cccccc dddddd
template <const std::array<CharacterPair, 4096>& Pairs>
void EncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    for (; groups != 0; --groups, in += 3, out += 4) {
        std::memcpy(out, Pairs[static_cast<size_t>(in[0] << 4 | in[1] >> 4)].text, 2);
        std::memcpy(out + 2, Pairs[static_cast<size_t>((in[1] & 15) << 8 | in[2])].text, 2);
    }
}

template <const Places& Place>
size_t DecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    size_t done = 0;
    for (; done != groups; ++done, in += 4, out += 3) {
        const uint32_t bits = Place[0][in[0]] | Place[1][in[1]] | Place[2][in[2]] | Place[3][in[3]];
        if (bits & kNoDigit) break;
        out[0] = static_cast<BYTE>(bits >> 16);
        out[1] = static_cast<BYTE>(bits >> 8);
        out[2] = static_cast<BYTE>(bits);
    }
    return done;
}

constexpr std::array<CharacterPair, 256> MakeHexaPairs() noexcept {
    std::array<CharacterPair, 256> pairs{};
    for (size_t byte = 0; byte < pairs.size(); ++byte) pairs[byte] = {{kHexaDigits[byte >> 4], kHexaDigits[byte & 15]}};
    return pairs;
}

// A byte as quoted-printable text; width 0 for CR and LF, which the step judges.
struct Printed {
    char text[3];
    uint8_t width;
};

constexpr std::array<Printed, 256> MakePrinted() noexcept {
    std::array<Printed, 256> printed{};
    for (size_t byte = 0; byte < printed.size(); ++byte) {
        const bool literal = kQuotedPrintableLiterals[byte];
        printed[byte] = {{literal ? static_cast<char>(byte) : '=', kHexaDigits[byte >> 4], kHexaDigits[byte & 15]},
                         static_cast<uint8_t>(literal ? 1 : 3)};
    }
    printed['\r'].width = printed['\n'].width = 0;
    return printed;
}

// What ends a run of characters that stand for themselves.
constexpr std::array<bool, 256> MakeSpecial() noexcept {
    std::array<bool, 256> special{};
    special['='] = special['\r'] = special['\n'] = true;
    return special;
}

constexpr auto kHexaPairs = MakeHexaPairs();
constexpr auto kPrinted = MakePrinted();
constexpr auto kSpecial = MakeSpecial();

}  // namespace

void Base64EncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    EncodeGroups<kBase64Pairs>(out, in, groups);
}
void UuEncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept { EncodeGroups<kUuPairs>(out, in, groups); }
void XxEncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept { EncodeGroups<kXxPairs>(out, in, groups); }
void BinHexEncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    EncodeGroups<kBinHexPairs>(out, in, groups);
}

size_t Base64DecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    return DecodeGroups<kBase64Places>(out, in, groups);
}
size_t UuDecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    return DecodeGroups<kUuPlaces>(out, in, groups);
}
size_t XxDecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    return DecodeGroups<kXxPlaces>(out, in, groups);
}
size_t BinHexDecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    return DecodeGroups<kBinHexPlaces>(out, in, groups);
}

void HexaEncodeBytes(BYTE* out, const BYTE* in, size_t size) noexcept {
    for (size_t i = 0; i != size; ++i) std::memcpy(out + 2 * i, kHexaPairs[in[i]].text, 2);
}

size_t HexaDecodePairs(BYTE* out, const BYTE* in, size_t pairs) noexcept {
    size_t done = 0;
    for (; done != pairs; ++done, in += 2) {
        const unsigned high = kHexaClasses[in[0]], low = kHexaClasses[in[1]];
        if ((high | low) > 15) break;
        out[done] = static_cast<BYTE>(high << 4 | low);
    }
    return done;
}

Run QuotedPrintableEncodeRun(BYTE* out, size_t room, const BYTE* in, size_t size) noexcept {
    Run run{0, 0};
    // Without a branch on what a byte is, as long as any has room: all of its entry is written, its width counts.
    while (run.Read != size && room - run.Written >= sizeof(Printed)) {
        const Printed& printed = kPrinted[in[run.Read]];
        if (printed.width == 0) return run;
        std::memcpy(out + run.Written, &printed, sizeof(Printed));
        run.Written += printed.width;
        ++run.Read;
    }
    while (run.Read != size) {
        const Printed& printed = kPrinted[in[run.Read]];
        if (printed.width == 0 || printed.width > room - run.Written) return run;
        std::memcpy(out + run.Written, printed.text, printed.width);
        run.Written += printed.width;
        ++run.Read;
    }
    return run;
}

Run QuotedPrintableDecodeRun(BYTE* out, const BYTE* in, size_t size) noexcept {
    const BYTE* const end = in + size;
    const BYTE* from = in;
    const BYTE* sure = in;  // behind the last escape
    BYTE* to = out;
    for (;;) {
        for (; from != end && !kSpecial[*from]; ++from, ++to) *to = *from;
        if (end - from < 3 || *from != '=') break;
        const unsigned high = kHexaClasses[from[1]], low = kHexaClasses[from[2]];
        if ((high | low) > 15) break;
        *to++ = static_cast<BYTE>(high << 4 | low);
        sure = from += 3;
    }
    for (; from != sure && IsBlank(from[-1]); --from) --to;
    return {static_cast<size_t>(from - in), static_cast<size_t>(to - out)};
}

}  // namespace talvo::kernels
