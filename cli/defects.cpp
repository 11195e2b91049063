// The second decoding has a chain of its own, fresh from the server, and throws its output away.
#include "cli/defects.h"

#include "cli/chain.h"

namespace talvo {
namespace {

constexpr ULONGLONG kReadAgainAtMost = 1u << 30;

// Decodes what came before the piece, in the pieces of the first time.
bool ReadUpTo(ULONGLONG offset, const Options& options, Chain& chain, TextPosition& position) {
    Source source;
    if (options.source == kStandardStream || offset > kReadAgainAtMost) return false;
    if (source.Open(options.source, {options.offset, offset}) != ERROR_SUCCESS || !IsDiskFile(source.Handle()))
        return false;
    ChunkReader reader({&source}, kChunkSize);
    for (ChunkReader::Chunk chunk; !chunk.last;) {
        if (reader.Next(chunk) != ERROR_SUCCESS || FAILED(chain.Convert(chunk.bytes, false))) return false;
        position.Advance(chunk.bytes);
    }
    return true;
}

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

std::optional<std::string> FindDefect(const Server& server, const Options& options, const ChunkReader::Chunk& piece) {
    Chain chain;
    TextPosition position(options.offset);
    if (chain.Open(server, Command::Decode, options.stages, options.tolerant)) return std::nullopt;
    if (piece.offset != 0 && !ReadUpTo(piece.offset, options, chain, position)) return std::nullopt;
    for (size_t i = 0; i < piece.bytes.size(); ++i) {
        const auto byte = piece.bytes.subspan(i, 1);
        if (FAILED(chain.Convert(byte, false))) return position.Describe();
        position.Advance(byte);
    }
    return piece.last ? std::optional<std::string>("at the end") : std::nullopt;
}

}  // namespace talvo
