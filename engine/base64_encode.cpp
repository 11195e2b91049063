// Base64 encode step (RFC 4648, section 4; lines as in RFC 2045): size first, then whole lines by kernel, then the
// rest.
#include "engine/base64_tables.h"
#include "engine/encode_loop.h"
#include "engine/kernels/kernels.h"
#include "engine/line_writer.h"
#include "engine/sextets.h"
#include "engine/steps.h"

namespace talvo {
namespace {

uint64_t CharacterCount(const EncodingSession& s, uint64_t sourceSize, bool endOfData) noexcept {
    const uint64_t bytes = s.HeldCount + sourceSize;
    const bool padded = endOfData && bytes % kGroupBytes != 0;
    return bytes / kGroupBytes * kGroupCharacters + (padded ? kGroupCharacters : 0);
}

class Base64Writer {
public:
    Base64Writer(EncodingSession& session, const Output& out, bool opensWithBreak) noexcept
        : s_(session), lines_(session, out, kGroupCharacters, opensWithBreak) {}

    void Hold(BYTE byte) noexcept {
        s_.Accumulator = s_.Accumulator << 8 | byte;
        if (++s_.HeldCount != kGroupBytes) return;
        Groups(BytesOfGroup(s_.Accumulator).data(), 1);
        s_.Accumulator = 0;
        s_.HeldCount = 0;
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
        const unsigned held = s_.HeldCount;
        if (held == 0) return;
        const uint32_t bits = s_.Accumulator << (held == 1 ? 16 : 8);
        size_t one = 1;
        BYTE* const place = lines_.Place(one);
        for (unsigned i = 0; place && i < kGroupCharacters; ++i) {
            place[i] = static_cast<BYTE>(i <= held ? kBase64Alphabet[bits >> (18 - 6 * i) & 63] : '=');
        }
    }

    bool Complete() const noexcept { return lines_.Complete(); }

private:
    EncodingSession& s_;
    LineWriter lines_;
};

}  // namespace

uint64_t Base64EncodedSize(const EncodingSession& s, uint64_t sourceSize, bool endOfData) noexcept {
    return LinedSize(s, CharacterCount(s, sourceSize, endOfData), OpensWithBreak(s, sourceSize, endOfData));
}

HRESULT Base64Encode(EncodingSession& s, const StepInput& input, Output& out) noexcept {
    const size_t size = input.Source.size();
    const bool opensWithBreak = OpensWithBreak(s, size, input.EndOfData);
    const uint64_t characters = CharacterCount(s, size, input.EndOfData);
    if (const HRESULT hr = AllocateLines(s, characters, opensWithBreak, out); FAILED(hr)) return hr;

    Base64Writer writer(s, out, opensWithBreak);
    return EncodeAll(writer, s, input);
}

}  // namespace talvo
