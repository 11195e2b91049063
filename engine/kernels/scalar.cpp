// Portable kernels of hexadecimal and quoted-printable: a table with the two digits of every byte, and one with what a
// character is.
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

// A byte as quoted-printable text; width 0 for CR and LF, which the step judges.
struct Printed {
    char text[3];
    uint8_t width;
};

constexpr std::array<Printed, 256> MakePrinted() noexcept {
    std::array<Printed, 256> printed{};
    for (size_t byte = 0; byte < printed.size(); ++byte) {
        const bool literal = kQuotedPrintableLiterals[byte];
        printed[byte] = {{literal ? static_cast<char>(byte) : '=', kHexDigits[byte >> 4], kHexDigits[byte & 15]},
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

constexpr auto kHexPairs = MakeHexPairs();
constexpr auto kPrinted = MakePrinted();
constexpr auto kSpecial = MakeSpecial();

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
        const unsigned high = kHexClasses[from[1]], low = kHexClasses[from[2]];
        if ((high | low) > 15) break;
        *to++ = static_cast<BYTE>(high << 4 | low);
        sure = from += 3;
    }
    for (; from != sure && IsBlank(from[-1]); --from) --to;
    return {static_cast<size_t>(from - in), static_cast<size_t>(to - out)};
}

}  // namespace talvo::kernels
