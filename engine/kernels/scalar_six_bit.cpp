// Portable kernels of the alphabets with six bits a character, which differ in their tables only: two characters a
// look-up when encoding, four look-ups a group when decoding.
#include <array>
#include <cstdint>
#include <cstring>

#include "engine/base64_tables.h"
#include "engine/binhex_tables.h"
#include "engine/kernels/kernels.h"
#include "engine/uuxx_tables.h"

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

}  // namespace talvo::kernels
