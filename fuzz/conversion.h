// What the fuzz targets share: a conversion described by the first bytes of an input, run whole or in pieces. An input
// begins with four option bytes, chosen so that a text editor can write them:
//   '0'  bit 0: tolerant, bit 1: without header and footer
//   '1'  the line break type, 0 to 3
//   'L'  the line length, 0 to 255
//   'x'  how the input is cut into calls
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "com/unique.h"
#include "engine/session.h"
#include "server/results/result_codes.h"

namespace talvo::fuzz {

// The format of the target.
inline constexpr FormatKind kFormat = FormatKind::TALVO_FUZZ_FORMAT;

struct Options {
    bool Tolerant, Header;
    int32_t LineBreak;
    uint32_t Line;
    unsigned Cuts;
};
inline constexpr size_t kOptionBytes = 4;

inline Options ReadOptions(const BYTE* data) noexcept {
    return {(data[0] & 1) != 0, (data[0] & 2) == 0, data[1] & 3, data[2], data[3]};
}

// The target's process ends here, and the fuzzer keeps the input.
inline void Demand(bool holds, const char* what, HRESULT code = S_OK) noexcept {
    if (holds) return;
    std::fprintf(stderr, "Broken promise: %s (0x%08X)\n", what, static_cast<unsigned>(code));
    std::abort();
}

// False: the format refuses the options.
inline bool Prepare(EncodingSession& session, const Options& options) noexcept {
    Demand(session.SelectFormat(kFormat) == S_OK, "a new session takes a format");
    session.ContinueOnInvalidData = options.Tolerant;
    session.IncludeHeaderFooter = options.Header;
    if (session.SetMaxLineLength(options.Line) != S_OK || session.SetEndOfLineType(options.LineBreak) != S_OK) {
        return false;
    }
    return !(kFormat == FormatKind::BinHex && options.Header && options.LineBreak == kNoBreak);
}

struct Result {
    HRESULT Code = S_OK;  // the error, or what whole input would warn of
    std::string Bytes;
};

enum class Direction { Encode, Decode };

// One call; the source lies in a block of its own, so that a step that reads beyond it is seen.
inline HRESULT Feed(EncodingSession& session, Direction direction, std::string_view piece, bool end,
                    std::string& out) noexcept {
    const std::unique_ptr<BYTE[]> source(new BYTE[piece.size()]);
    std::copy(piece.begin(), piece.end(), source.get());
    BYTE* data = nullptr;
    DWORD size = 0;
    const auto method = direction == Direction::Encode ? &EncodingSession::EncodeChunk : &EncodingSession::DecodeChunk;
    const HRESULT hr = (session.*method)(source.get(), static_cast<uint32_t>(piece.size()), end, &data, &size);
    const com::UniqueTaskBytes owner(data);
    Demand((data == nullptr) == (size == 0), "a block has a size, and a size a block", hr);
    Demand(SUCCEEDED(hr) || !data, "no block comes with an error", hr);
    Demand(hr != berInternalError && hr != E_OUTOFMEMORY, "the step has room for what it writes", hr);
    if (data) out.append(reinterpret_cast<const char*>(data), size);
    return hr;
}

// `cuts`: 0 for one call, else what the lengths of the pieces follow from.
inline Result Convert(EncodingSession& session, Direction direction, std::string_view input, unsigned cuts) noexcept {
    std::minstd_rand random(cuts);
    const size_t longest = cuts == 0 ? input.size() + 1 : size_t{1} << (cuts % 8);
    Result result;
    for (bool end = false; !end;) {
        const size_t size = std::min(input.size(), cuts == 0 ? longest : 1 + random() % longest);
        // An empty last call now and then, when decoding: encoders write a pending break then.
        end = size == input.size() && (direction == Direction::Encode || size == 0 || cuts % 3 != 1);
        const HRESULT hr = Feed(session, direction, input.substr(0, size), end, result.Bytes);
        if (FAILED(hr)) return {hr, {}};
        if (result.Code == S_OK || hr == berWarningInvalidCharacterInData) result.Code = hr;
        input.remove_prefix(size);
    }
    Demand(session.State == SessionState::Idle && !session.Now.UuXx.SearchedLine && !session.Now.BinHex.HeaderBlock &&
               !session.Now.QuotedPrintable.Blanks,
           "the end closes");
    return result;
}

inline bool Equal(const com::UniqueBstr& a, const com::UniqueBstr& b) noexcept {
    return SysStringLen(a.Get()) == SysStringLen(b.Get()) &&
           std::equal(a.Get(), a.Get() + SysStringLen(a.Get()), b.Get());
}

inline bool SameHeader(const EncodingSession& a, const EncodingSession& b) noexcept {
    return Equal(a.HeaderFilename, b.HeaderFilename) && a.HeaderPermissions == b.HeaderPermissions &&
           Equal(a.BinHexHeaderFilename, b.BinHexHeaderFilename) && a.HeaderFlags == b.HeaderFlags &&
           std::memcmp(a.HeaderType, b.HeaderType, 4) == 0 && std::memcmp(a.HeaderCreator, b.HeaderCreator, 4) == 0 &&
           a.HeaderDataForkLength == b.HeaderDataForkLength && a.HeaderResourceForkLength == b.HeaderResourceForkLength;
}

}  // namespace talvo::fuzz
