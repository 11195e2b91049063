// The second decoding has a chain of its own, fresh from the server, and throws its output away.
#include "cli/defects.h"

#include <algorithm>

#include "cli/chain.h"
#include "cli/source.h"

namespace talvo {
namespace {

constexpr ULONGLONG kReadAgainAtMost = 1u << 30;

}  // namespace

void TextPosition::Advance(std::span<const BYTE> bytes) {
    for (const BYTE byte : bytes) {
        const bool second = byte == '\n' && afterCr_;  // of CR LF
        afterCr_ = byte == '\r';
        ++offset_;
        if (byte != '\n' && byte != '\r') continue;
        lineStart_ = offset_;
        if (!second) ++line_;
    }
}

std::string TextPosition::Describe() const {
    std::string text = "offset " + std::to_string(offset_);
    if (countsLines_)
        text += ": line " + std::to_string(line_) + ", column " + std::to_string(offset_ - lineStart_ + 1);
    return text;
}

std::optional<std::string> FindDefect(const Server& server, const Options& options, ULONGLONG pieceOffset) {
    Source source;
    Chain chain;
    if (options.source == kStandardStream || pieceOffset > kReadAgainAtMost) return std::nullopt;
    if (source.Open(options.source, {options.offset, options.size}) != ERROR_SUCCESS) return std::nullopt;
    if (!source.IsRepeatable() || chain.Open(server, Command::Decode, options.stages, options.tolerant))
        return std::nullopt;
    TextPosition position(options.offset);
    ChunkReader reader({&source}, kChunkSize);
    for (ChunkReader::Chunk chunk; !chunk.last;) {
        if (reader.Next(chunk) != ERROR_SUCCESS) return std::nullopt;
        const size_t step = chunk.offset < pieceOffset ? kChunkSize : 1;
        for (std::span<const BYTE> rest = chunk.bytes; !rest.empty();) {
            const auto piece = rest.first(std::min(step, rest.size()));
            if (FAILED(chain.Convert(piece, false))) return position.Describe();
            position.Advance(piece);
            rest = rest.subspan(piece.size());
        }
    }
    return FAILED(chain.Convert({}, true)) ? std::optional<std::string>("at the end") : std::nullopt;
}

}  // namespace talvo
