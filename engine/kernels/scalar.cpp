// Portable kernels of hexadecimal and quoted-printable: a table with the two digits of every byte, and one with what a
// character is.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "engine/hexa_tables.h"
#include "engine/kernels/kernels.h"
#include "engine/quoted_printable_tables.h"

namespace talvo::kernels {
namespace {

struct CharacterPair {
    char text[2];
};

constexpr std::array<CharacterPair, 256> MakeHexPairs() noexcept {
    std::array<CharacterPair, 256> pairs{};
    for (size_t byte = 0; byte < pairs.size(); ++byte) pairs[byte] = {{kHexDigits[byte >> 4], kHexDigits[byte & 15]}};
    return pairs;
}

// What a character is to a run of quoted-printable text.
enum TextClass : uint8_t { kPlain, kBlank, kEquals, kLineBreak };

constexpr std::array<TextClass, 256> MakeTextClasses() noexcept {
    std::array<TextClass, 256> classes{};
    classes['\t'] = classes[' '] = kBlank;
    classes['='] = kEquals;
    classes['\n'] = classes['\r'] = kLineBreak;
    return classes;
}

constexpr auto kHexPairs = MakeHexPairs();
constexpr auto kTextClasses = MakeTextClasses();

}  // namespace

void HexEncodeBytes(BYTE* out, const BYTE* in, size_t size) noexcept {
    for (size_t i = 0; i != size; ++i) std::memcpy(out + 2 * i, kHexPairs[in[i]].text, 2);
}

size_t HexDecodePairs(BYTE* out, const BYTE* in, size_t pairs) noexcept {
    size_t done = 0;
    for (; done != pairs; ++done, in += 2) {
        const unsigned high = kHexClasses[in[0]], low = kHexClasses[in[1]];
        if ((high | low) > 15) break;
        out[done] = static_cast<BYTE>(high << 4 | low);
    }
    return done;
}

Run QuotedPrintableEncodeRun(BYTE* out, size_t room, const BYTE* in, size_t size) noexcept {
    Run run{0, 0};
    for (;;) {
        const size_t end = run.Read + std::min(size - run.Read, room - run.Written);
        while (run.Read != end && kQuotedPrintableLiterals[in[run.Read]]) out[run.Written++] = in[run.Read++];
        if (run.Read == end || room - run.Written < 3) return run;
        const BYTE c = in[run.Read];
        if (kTextClasses[c] == kLineBreak) return run;
        out[run.Written] = '=';
        std::memcpy(out + run.Written + 1, kHexPairs[c].text, 2);
        run.Written += 3;
        ++run.Read;
    }
}

Run QuotedPrintableDecodeRun(BYTE* out, const BYTE* in, size_t size) noexcept {
    Run run{0, 0};
    Run sure{0, 0};  // behind the last character that is no blank
    while (run.Read != size) {
        const BYTE c = in[run.Read];
        const TextClass textClass = kTextClasses[c];
        if (textClass == kEquals) {
            BYTE* const byte = out + run.Written;
            if (size - run.Read < 3 || HexDecodePairs(byte, in + run.Read + 1, 1) == 0) break;
            run.Read += 2;
        } else if (textClass == kLineBreak) {
            break;
        } else {
            out[run.Written] = c;
        }
        ++run.Read;
        ++run.Written;
        if (textClass != kBlank) sure = run;
    }
    return sure;
}

}  // namespace talvo::kernels
