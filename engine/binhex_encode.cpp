// BinHex encode step: the binary layer as a few ranges, then two passes over them. The first measures what the
// run-length layer makes of them, so that the output has its exact size; the second writes it.
#include <algorithm>
#include <cstring>
#include <utility>

#include "engine/binhex_runs.h"
#include "engine/binhex_stream.h"
#include "engine/crc16.h"
#include "engine/kernels/kernels.h"
#include "engine/output.h"

namespace talvo {
namespace {

// Characters of the 6-bit layer, and the ":" in front of them.
uint64_t CharacterCount(const Conversion& c, uint64_t coded, const StepInput& input) noexcept {
    const uint64_t bytes = c.Now.Group.HeldBytes + coded;
    const uint64_t rest = bytes % kGroupBytes;
    return bytes / kGroupBytes * kGroupCharacters + (input.EndOfData && rest != 0 ? rest + 1 : 0) +
           (input.StartOfSession && c.Chosen.IncludeHeaderFooter ? 1 : 0);
}

// The identification line and what follows the last character.
uint64_t FrameSize(const Options& options, const StepInput& input) noexcept {
    if (!options.IncludeHeaderFooter) return 0;
    const uint64_t lineBreak = LineBreakBytes(options.EndOfLineType).size();
    return (input.StartOfSession ? kIdentificationLine.size() + lineBreak : 0) + (input.EndOfData ? 1 + lineBreak : 0);
}

// What one call adds to the binary layer.
class BinaryLayer {
public:
    // berInvalidLengthInHeader at the end of data that is not as long as the forks announced.
    HRESULT Collect(const Conversion& c, const StepInput& input) noexcept {
        if (!c.Chosen.IncludeHeaderFooter) {
            Add(input.Source);
            return S_OK;
        }
        if (input.StartOfSession) {
            header_ = BuildHeaderBlock(c.Header);
            Add(ByteSpan(header_.Bytes, header_.Size));
        }
        BinHexState& s = c.Now.BinHex;
        const uint64_t before = s.SourceCount;
        s.SourceCount += input.Source.size();
        ByteSpan rest = input.Source;
        if (!s.DataForkDone && s.SourceCount >= c.Header.HeaderDataForkLength) {
            const auto missing = static_cast<size_t>(c.Header.HeaderDataForkLength - before);
            AddFork(s, rest.first(missing));
            AddCrc(s, dataCrc_);
            rest = rest.subspan(missing);
            s.DataForkDone = true;
        }
        AddFork(s, rest);
        if (!input.EndOfData) return S_OK;
        if (s.SourceCount != uint64_t{c.Header.HeaderDataForkLength} + c.Header.HeaderResourceForkLength) {
            return berInvalidLengthInHeader;
        }
        AddCrc(s, resourceCrc_);
        return S_OK;
    }

    // Its coded bytes. The coder is left as the next call needs it.
    template <class Sink>
    void Code(RunEncoder& runs, bool endOfData, Sink&& sink) const noexcept {
        for (size_t i = 0; i < count_; ++i) runs.Encode(parts_[i], sink);
        if (endOfData) runs.Flush(sink);
    }

private:
    void Add(ByteSpan part) noexcept { parts_[count_++] = part; }
    void AddFork(BinHexState& s, ByteSpan bytes) noexcept {
        s.ForkCrc = Crc16(bytes, s.ForkCrc);
        Add(bytes);
    }
    void AddCrc(BinHexState& s, BYTE (&place)[kCrcSize]) noexcept {
        place[0] = static_cast<BYTE>(s.ForkCrc >> 8);
        place[1] = static_cast<BYTE>(s.ForkCrc);
        s.ForkCrc = 0;
        Add(place);
    }

    EncodedHeader header_;
    BYTE dataCrc_[kCrcSize];
    BYTE resourceCrc_[kCrcSize];
    ByteSpan parts_[5];  // header block, data fork, CRC, resource fork, CRC
    size_t count_ = 0;
};

// The 6-bit and the text layer. Coded bytes are gathered into blocks of whole groups; what is left of a group goes into
// the held group.
class TextWriter {
public:
    TextWriter(const Conversion& c, const Output& out, bool opensWithBreak) noexcept
        : group_(c.Now.Group), lines_(c, out, 1, opensWithBreak) {
        for (; filled_ != group_.HeldBytes; ++filled_) {
            block_[filled_] = static_cast<BYTE>(group_.Accumulator >> 8 * (group_.HeldBytes - 1u - filled_));
        }
    }

    // The ":" is a character of the first line.
    void Open() noexcept {
        lines_.Outside(ByteSpan(reinterpret_cast<const BYTE*>(kIdentificationLine.data()), kIdentificationLine.size()));
        Characters(ByteSpan(&kDelimiter, 1));
    }

    void operator()(ByteSpan coded) noexcept {
        while (!coded.empty()) {
            const size_t count = std::min(coded.size(), kBlockSize - filled_);
            std::memcpy(block_ + filled_, coded.data(), count);
            filled_ += count;
            coded = coded.subspan(count);
            if (filled_ == kBlockSize) WholeGroups();
        }
    }

    void Finish(bool endOfData) noexcept {
        WholeGroups();
        if (endOfData) LastGroup();
        group_.Accumulator = 0;
        for (size_t i = 0; i < filled_; ++i) group_.Accumulator = group_.Accumulator << 8 | block_[i];
        group_.HeldBytes = static_cast<uint16_t>(filled_);
    }

    // The ":" stays on the last line, however full that is.
    void Close() noexcept { lines_.Outside(ByteSpan(&kDelimiter, 1)); }

    bool Complete() const noexcept { return lines_.Complete(); }

private:
    void WholeGroups() noexcept {
        const size_t groups = filled_ / kGroupBytes;
        BYTE text[kBlockSize / kGroupBytes * kGroupCharacters];
        kernels::BinHexEncodeGroups(text, block_, groups);
        Characters(ByteSpan(text, groups * kGroupCharacters));
        const size_t taken = groups * kGroupBytes;
        filled_ -= taken;
        std::memmove(block_, block_ + taken, filled_);
    }

    // One byte gives two characters, two give three; the bits that are missing are zero.
    void LastGroup() noexcept {
        if (filled_ == 0) return;
        const BYTE group[kGroupBytes] = {block_[0], filled_ == 2 ? block_[1] : BYTE{0}, 0};
        BYTE text[kGroupCharacters];
        kernels::BinHexEncodeGroups(text, group, 1);
        Characters(ByteSpan(text, filled_ + 1));
        filled_ = 0;
    }

    void Characters(ByteSpan text) noexcept {
        while (!text.empty()) {
            size_t count = text.size();
            BYTE* const place = lines_.Place(count);
            if (!place) return;
            std::memcpy(place, text.data(), count);
            text = text.subspan(count);
        }
    }

    static constexpr size_t kBlockSize = 1024 * kGroupBytes;
    static constexpr BYTE kDelimiter = ':';

    GroupState& group_;
    LineWriter lines_;
    BYTE block_[kBlockSize];
    size_t filled_ = 0;
};

}  // namespace

HRESULT BinHexEncode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    BinHexState& s = c.Now.BinHex;
    BinaryLayer layer;
    if (const HRESULT hr = layer.Collect(c, input); FAILED(hr)) return hr;

    RunEncoder runs(s.RunByte, s.RunLength);
    uint64_t coded = 0;
    RunEncoder measure = runs;
    layer.Code(measure, input.EndOfData, [&coded](ByteSpan bytes) { coded += bytes.size(); });

    const bool opensWithBreak = OpensWithBreak(c, c.Now.Group.HeldBytes + coded, input.EndOfData);
    const uint64_t lines = LinedSize(c, CharacterCount(c, coded, input), opensWithBreak);
    if (const HRESULT hr = out.Allocate(lines + FrameSize(c.Chosen, input)); FAILED(hr)) return hr;

    TextWriter writer(c, out, opensWithBreak);
    if (c.Chosen.IncludeHeaderFooter && input.StartOfSession) writer.Open();
    layer.Code(runs, input.EndOfData, writer);
    writer.Finish(input.EndOfData);
    if (c.Chosen.IncludeHeaderFooter && input.EndOfData) writer.Close();
    s.RunByte = runs.Byte();
    s.RunLength = static_cast<uint16_t>(runs.Length());
    return writer.Complete() ? S_OK : berInternalError;
}

}  // namespace talvo
