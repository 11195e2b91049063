// Two tolerant decodings run side by side: the first takes large pieces; where it finds fault with one, the second,
// which has come as far, takes the same piece byte by byte and so finds the place.
#include "cli/commands.h"

#include <windows.h>

#include <string>
#include <vector>

#include "cli/carried_name.h"
#include "cli/chain.h"
#include "cli/defects.h"
#include "cli/detection.h"
#include "cli/messages.h"
#include "cli/progress.h"
#include "cli/source.h"
#include "cli/text.h"

namespace talvo {
namespace {

constexpr size_t kMostDefects = 20;

std::string Line(const std::string& name, const std::string& value) {
    return name + ":" + std::string(15 - name.size(), ' ') + value + "\n";
}

// The digits, which --type takes, and the characters where they can be shown.
std::string Signature(const FourBytes& bytes) {
    std::string digits, characters;
    bool shown = true;
    for (const uint8_t byte : bytes) {
        digits += InBase(16, byte, 2);
        characters += static_cast<char>(byte);
        shown &= byte >= 0x20 && byte < 0x7F;
    }
    return digits + (shown ? " '" + characters + "'" : "");
}

std::string HeaderLines(const Header& header) {
    const std::string fault = NameFault(header.name);
    std::string name = header.name.empty() ? "none" : Printable(header.name);
    if (!header.name.empty() && !fault.empty()) name += " (decoding into a folder refuses it: " + fault + ")";
    std::string text = Line("name", name);
    if (header.permissions) text += Line("permissions", InBase(8, *header.permissions, 4));
    if (!header.forks) return text;
    text += Line("type", Signature(header.forks->type)) + Line("creator", Signature(header.forks->creator));
    text += Line("flags", "0x" + InBase(16, header.forks->flags, 4));
    text += Line("data fork", Counted(header.forks->dataLength, "byte"));
    return text + Line("resource fork", Counted(header.forks->resourceLength, "byte"));
}

class Survey {
public:
    explicit Survey(const Options& options) : options_(options) {}

    ExitCode Run() {
        Failure failure = Prepare();
        if (!failure) failure = Decode();
        for (const std::string& message : failure.messages) Say(message);
        if (failure) return failure.exit;
        const ExitCode printed = Print(Report());
        return printed != ExitCode::Done || defects_.empty() ? printed : ExitCode::BadData;
    }

private:
    Failure Prepare() {
        Failure failure = OpenSource(source_, options_.source, {options_.offset, options_.size});
        return failure ? failure : server_.Connect(options_.module);
    }

    Failure Decode() {
        ChunkReader reader({&source_}, kChunkSize);
        Progress progress(WantsProgress(options_, source_.Handle()), source_.Size());
        for (ChunkReader::Chunk chunk; !chunk.last;) {
            if (const DWORD code = reader.Next(chunk); code != ERROR_SUCCESS)
                return FileFailure(source_.Name(), "read", code);
            if (chunk.offset == 0) {
                if (Failure failure = Choose(chunk); failure) return failure;
            }
            if (const HRESULT hr = Take(chunk); FAILED(hr)) return ResultFailure(source_.Name(), hr);
            progress.Show(chunk.offset + chunk.bytes.size());
        }
        if (scout_.LacksBeginLine()) defects_.push_back(std::string("at the end: ") + kNoBeginLine);
        return {};
    }

    Failure Choose(const ChunkReader::Chunk& first) {
        stage_ = options_.stages.front();
        if (!options_.formatGiven) {
            const auto guess = Detect(server_, first.bytes, first.last);
            if (!guess) return {ExitCode::BadData, {source_.Name() + ": no format is recognised; -f FORMAT names one"}};
            stage_ = guess->stage;
            Explain(*guess);
        }
        Failure failure = scout_.Open(server_, Command::Decode, std::span(&stage_, 1), true);
        if (!failure) failure = finder_.Open(server_, Command::Decode, std::span(&stage_, 1), true);
        return failure;
    }

    // How sure the choice is.
    void Explain(const Guess& guess) {
        std::string others;
        for (const std::string_view other : guess.others) others += (others.empty() ? "" : ", ") + std::string(other);
        if (!guess.said) remark_ = " (a guess from its characters";
        if (!others.empty()) remark_ += (guess.said ? " (unsure: " : "; ") + others + " would fit as well";
        if (!remark_.empty()) remark_ += ")";
    }

    HRESULT Take(const ChunkReader::Chunk& chunk) {
        const HRESULT hr = scout_.Convert(chunk.bytes, chunk.last);
        if (FAILED(hr)) return hr;
        size_ += scout_.Output().size();
        if (hr != S_OK) return Find(chunk);
        if (more_) return S_OK;  // no more places are wanted
        position_.Advance(chunk.bytes);
        return finder_.Convert(chunk.bytes, chunk.last);
    }

    HRESULT Find(const ChunkReader::Chunk& chunk) {
        for (size_t i = 0; i < chunk.bytes.size() && !more_; ++i) {
            const auto byte = chunk.bytes.subspan(i, 1);
            const HRESULT hr = finder_.Convert(byte, false);
            if (FAILED(hr)) return hr;
            if (hr != S_OK) Note(position_.Describe(), hr);
            position_.Advance(byte);
        }
        if (!chunk.last || more_) return S_OK;
        const HRESULT hr = finder_.Convert({}, true);
        if (SUCCEEDED(hr) && hr != S_OK) Note("at the end", hr);
        return hr;
    }

    void Note(const std::string& place, HRESULT hr) {
        more_ = defects_.size() == kMostDefects;
        if (!more_) defects_.push_back(place + ": " + DescribeResult(hr));
    }

    std::string Report() const {
        std::string text =
            Line("format", std::string(NameOf(stage_.format)) + (stage_.noHeader ? ", no header" : "") + remark_);
        if (stage_.HasHeader()) text += HeaderLines(scout_.ReadHeader(0));
        text += Line("decoded size", Counted(size_, "byte"));
        text +=
            Line("defects", defects_.empty() ? "none" : (more_ ? "more than " : "") + std::to_string(defects_.size()));
        for (const std::string& defect : defects_) text += "  " + defect + "\n";
        return text;
    }

    const Options& options_;
    Server server_;
    Stage stage_;
    Chain scout_, finder_;
    Source source_;
    TextPosition position_{options_.offset};
    std::string remark_;
    std::vector<std::string> defects_;
    bool more_ = false;  // than the report lists
    ULONGLONG size_ = 0;
};

}  // namespace

ExitCode TellInfo(const Options& options) { return Survey(options).Run(); }

}  // namespace talvo
