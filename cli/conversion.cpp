// The loop reads a piece, lets the component convert it, and writes the buffer that comes back: memory stays the same
// however long the input is. Whatever fails becomes one Failure, told in one place when everything is closed.
#include "cli/commands.h"

#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "TalvoBinaryEncoding.h"

#include "cli/carried_name.h"
#include "cli/chain.h"
#include "cli/defects.h"
#include "cli/interruption.h"
#include "cli/messages.h"
#include "cli/output.h"
#include "cli/progress.h"
#include "cli/server_access.h"
#include "cli/source.h"
#include "cli/text.h"

namespace talvo {
namespace {

constexpr ULONGLONG kLargestFork = 0xFFFFFFFF;

// The warnings of a run, each kind once.
class Warnings {
public:
    void Note(HRESULT result) {
        const auto row = std::ranges::find(rows_, result, &Row::result);
        if (row != rows_.end())
            ++row->calls;
        else
            rows_.push_back({result, DescribeResult(result), 1});
    }
    void Tell(const std::string& name) const {
        for (const Row& row : rows_) Say(name + ": warning: " + row.text + " (in " + Counted(row.calls, "chunk") + ")");
    }

private:
    struct Row {
        HRESULT result;
        std::string text;
        ULONGLONG calls;
    };
    std::vector<Row> rows_;
};

class Conversion {
public:
    explicit Conversion(const Options& options) : options_(options) {}

    ExitCode Run() {
        Failure failure = Prepare();
        if (!failure) failure = Transfer();
        const std::vector<std::string> left = output_.Abandon();
        warnings_.Tell(source_.Name());
        if (!output_.Remark().empty()) Say(source_.Name() + ": " + output_.Remark());
        for (const std::string& message : failure.messages) Say(message);
        if (failure && !failure.messages.empty()) {
            for (const std::string& message : left) Say(message);
        }
        return failure.exit;
    }

private:
    bool Encodes() const { return options_.command == Command::Encode; }

    // Nothing is opened for writing before everything else is there.
    Failure Prepare() {
        if (Failure failure = OpenSources(); failure) return failure;
        if (Failure failure = CompleteHeaders(); failure) return failure;
        if (Failure failure = server_.Connect(options_.module); failure) return failure;
        Failure failure = chain_.Open(server_, options_.command, options_.stages, options_.tolerant);
        if (failure) return failure;
        if (options_.verbose) TellOrigin();
        return output_.Open({source_.Handle(), resource_.Handle()});
    }

    Failure OpenSources() {
        if (Failure failure = OpenSource(source_, options_.source, {options_.offset, options_.size}); failure)
            return failure;
        return Encodes() && !options_.resourceFork.empty() ? OpenSource(resource_, options_.resourceFork, {})
                                                           : Failure();
    }

    // What the headers of an encoding say where the command line does not: the name of the source and its length.
    Failure CompleteHeaders() {
        if (!Encodes()) return {};
        const bool named = options_.source != kStandardStream;
        for (Stage& stage : options_.stages) {
            if (HasHeader(stage.format) && !stage.name && named) stage.name = LastSegment(options_.source);
        }
        for (size_t i = 0; i < options_.stages.size(); ++i) {
            Stage& stage = options_.stages[i];
            if (stage.format != Format::BinHex || stage.noHeader || (stage.dataLength && i != 0)) continue;
            if (i != 0) return LengthUnknown("what BinHex encodes here");
            if (Failure failure = CompleteForks(stage); failure) return failure;
        }
        return {};
    }

    static Failure LengthUnknown(const std::string& what) {
        return {ExitCode::Usage, {"the length of " + what + " is not known, and its header needs it: --data-length N"}};
    }

    // Without a second file, what is behind the data fork in the first is the resource fork.
    Failure CompleteForks(Stage& stage) const {
        const auto size = source_.Size();
        const auto resource = options_.resourceFork.empty() ? std::optional<ULONGLONG>(0) : resource_.Size();
        if (!stage.dataLength && !(size && resource)) return LengthUnknown(source_.Name());
        if (!(size && resource)) return {};
        const ULONGLONG total = *size + *resource;
        const ULONGLONG data = stage.dataLength ? *stage.dataLength
                               : *resource != 0 ? *size
                                                : total - std::min<ULONGLONG>(total, stage.resourceLength.value_or(0));
        const ULONGLONG behind = stage.resourceLength.value_or(0);
        const ULONGLONG rest = stage.resourceLength ? behind : total - std::min(total, data);
        if (data > kLargestFork || rest > kLargestFork)
            return {ExitCode::Usage, {source_.Name() + ": a fork holds at most 4294967295 bytes"}};
        stage.dataLength = static_cast<uint32_t>(data);
        stage.resourceLength = static_cast<uint32_t>(rest);
        return {};
    }

    void TellOrigin() const {
        for (const std::string& attempt : server_.Failures()) Say("not " + attempt);
        Say("component from " + server_.Origin());
    }

    Failure Transfer() {
        std::vector<Source*> sources = {&source_};
        if (resource_.Handle() != INVALID_HANDLE_VALUE) sources.push_back(&resource_);
        ChunkReader reader(std::move(sources), kChunkSize);
        ChunkReader::Chunk chunk;
        Progress progress(WantsProgress(options_, source_.Handle(), output_.Handle()), source_.Size());
        const Interruption interruption(output_);
        while (!chunk.last) {
            if (const DWORD code = reader.Next(chunk); code != ERROR_SUCCESS)
                return FileFailure(reader.Current().Name(), "read", code);
            const auto pause = Interruption::Pause();
            if (Failure failure = ConvertChunk(chunk); failure) return failure;
            progress.Show(chunk.offset + chunk.bytes.size());
        }
        const auto pause = Interruption::Pause();
        if (chain_.LacksBeginLine())
            return {ExitCode::BadData, {source_.Name() + ": " + kNoBeginLine, "--no-header decodes lines without one"}};
        return output_.Finish();
    }

    Failure ConvertChunk(const ChunkReader::Chunk& chunk) {
        const HRESULT hr = chain_.Convert(chunk.bytes, chunk.last);
        if (FAILED(hr)) return ConversionFailure(hr, chunk);
        if (hr != S_OK) warnings_.Note(hr);
        return output_.Write(chain_.Output());
    }

    Failure ConversionFailure(HRESULT hr, const ChunkReader::Chunk& chunk) const {
        Failure failure = ResultFailure(source_.Name(), hr);
        if (hr == berEmptyFileNameInHeader) failure.messages.emplace_back("--name NAME gives it a name");
        if (failure.exit == ExitCode::BadData && !Encodes()) failure.messages.back() += " (" + Place(chunk) + ")";
        return failure;
    }

    std::string Place(const ChunkReader::Chunk& chunk) const {
        if (const auto place = FindDefect(server_, options_, chunk)) return *place;
        if (chunk.bytes.empty()) return "at the end";
        const ULONGLONG first = options_.offset + chunk.offset;
        return "between the offsets " + std::to_string(first) + " and " +
               std::to_string(first + chunk.bytes.size() - 1);
    }

    Options options_;
    Server server_;
    Chain chain_;
    Source source_, resource_;
    Output output_{options_, chain_};
    Warnings warnings_;
};

}  // namespace

ExitCode Convert(const Options& options) { return Conversion(options).Run(); }

}  // namespace talvo
