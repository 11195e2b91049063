// Portable kernels: two characters a table look-up when encoding, four look-ups a group when decoding.
#include <array>
#include <cstdint>
#include <cstring>

#include "engine/base64_tables.h"
#include "engine/kernels/kernels.h"

namespace talvo::kernels {
namespace {

struct CharacterPair {
    char text[2];
};

constexpr std::array<CharacterPair, 4096> MakeEncodePairs() noexcept {
    std::array<CharacterPair, 4096> pairs{};
    for (size_t bits = 0; bits < pairs.size(); ++bits) {
        pairs[bits] = {{kBase64Alphabet[bits >> 6], kBase64Alphabet[bits & 63]}};
    }
    return pairs;
}

constexpr uint32_t kNoDigit = 0x80000000;

// Digit values moved to their place in a group, one table a place; kNoDigit marks every other character.
constexpr std::array<uint32_t, 256> MakeDecodePlace(unsigned shift) noexcept {
    std::array<uint32_t, 256> place{};
    for (size_t c = 0; c < place.size(); ++c) {
        place[c] = kBase64Classes[c] < 64 ? static_cast<uint32_t>(kBase64Classes[c]) << shift : kNoDigit;
    }
    return place;
}

constexpr auto kEncodePairs = MakeEncodePairs();
constexpr auto kPlace0 = MakeDecodePlace(18);
constexpr auto kPlace1 = MakeDecodePlace(12);
constexpr auto kPlace2 = MakeDecodePlace(6);
constexpr auto kPlace3 = MakeDecodePlace(0);

}  // namespace

// aaaaaabb bbbbcccc ccdddddd -> aaaaaa bbbbbb cccccc dddddd
void Base64EncodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    for (; groups != 0; --groups, in += 3, out += 4) {
        std::memcpy(out, kEncodePairs[static_cast<size_t>(in[0] << 4 | in[1] >> 4)].text, 2);
        std::memcpy(out + 2, kEncodePairs[static_cast<size_t>((in[1] & 15) << 8 | in[2])].text, 2);
    }
}

size_t Base64DecodeGroups(BYTE* out, const BYTE* in, size_t groups) noexcept {
    size_t done = 0;
    for (; done != groups; ++done, in += 4, out += 3) {
        const uint32_t bits = kPlace0[in[0]] | kPlace1[in[1]] | kPlace2[in[2]] | kPlace3[in[3]];
        if (bits & kNoDigit) break;
        out[0] = static_cast<BYTE>(bits >> 16);
        out[1] = static_cast<BYTE>(bits >> 8);
        out[2] = static_cast<BYTE>(bits);
    }
    return done;
}

}  // namespace talvo::kernels
