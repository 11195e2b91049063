// The loop reads a piece, lets the component convert it, and writes the buffer that comes back: memory stays the same
// however long the input is. Whatever fails becomes one Failure, told in one place when everything is closed.
#include "cli/conversion.h"

#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <string>
#include <vector>

#include "TalvoBinaryEncoding.h"

#include "cli/format_classes.h"
#include "cli/messages.h"
#include "cli/progress.h"
#include "cli/server_access.h"
#include "cli/streams.h"
#include "com/com_ptr.h"
#include "com/unique.h"

namespace talvo {
namespace {

constexpr size_t kChunkSize = size_t{256} * 1024;

struct Failure {
    ExitCode exit = ExitCode::Done;
    std::vector<std::string> messages;  // none: fails without a word

    explicit operator bool() const { return exit != ExitCode::Done; }
};

Failure FileFailure(const std::string& name, const char* action, DWORD code) {
    return {ExitCode::FileFailed, {name + ": cannot " + action + ": " + DescribeError(code)}};
}

ExitCode ExitCodeFor(HRESULT result) {
    switch (result) {
        case berInvalidCharacterInData:
        case berInvalidEndOfData:
        case berRemainingData:
        case berInvalidLineLengthInData:
        case berInvalidNumberOfCharacterOnLine:
        case berInvalidChecksum:
        case berInvalidHeaderChecksum:
        case berInvalidLengthInHeader:
            return ExitCode::BadData;
        case berInvalidEndOfLineType:
        case berEmptyFileNameInHeader:
            return ExitCode::Usage;
        default:
            return ExitCode::Unavailable;
    }
}

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
        destination_.Abandon();
        warnings_.Tell(source_.Name());
        for (const std::string& message : failure.messages) Say(message);
        if (failure && !failure.messages.empty() && destination_.Changed())
            Say(destination_.Name() + " is incomplete (" + Counted(destination_.Written(), "byte") + " written)");
        return failure.exit;
    }

private:
    // Nothing is opened for writing before everything else is there.
    Failure Prepare() {
        if (options_.source != kStandardStream && SameName(options_.source, options_.destination))
            return DestinationIsSource();
        if (const DWORD code = source_.Open(options_.source); code != ERROR_SUCCESS)
            return FileFailure(source_.Name(), "open for reading", code);
        if (Failure failure = ConnectComponent(); failure) return failure;
        const DWORD code = destination_.Open(options_.destination);
        return code == ERROR_SUCCESS ? Failure() : DestinationFailure(code);
    }

    Failure DestinationIsSource() const {
        return {ExitCode::FileFailed, {options_.destination + ": the destination is the source"}};
    }

    // The source shares with no writer: if the destination opens once the source is closed, they are one file.
    Failure DestinationFailure(DWORD code) {
        if (code == ERROR_SHARING_VIOLATION && options_.source != kStandardStream) {
            source_.Close();
            if (destination_.Open(options_.destination) == ERROR_SUCCESS) return DestinationIsSource();
        }
        return FileFailure(destination_.Name(), "open for writing", code);
    }

    Failure ConnectComponent() {
        const FormatClass& format = ClassOf(options_.format);
        HRESULT hr = com_.Result();
        if (SUCCEEDED(hr)) hr = server_.CreateComponent(options_.module, component_);
        if (FAILED(hr)) return Unavailable("the component cannot be created", hr);
        com::ComPtr<ITalvoEncodeData> object;
        if (hr = server_.CreateFormat(format, object); FAILED(hr))
            return Unavailable("format " + std::string(NameOf(options_.format)) + " cannot be created", hr);
        if (const Refusal refusal = format.setOptions(object.Get(), options_); FAILED(refusal.result))
            return OptionRefused(refusal);
        if (hr = component_->putref_EncodingFormat(object.Get()); FAILED(hr))
            return {ExitCode::Unavailable, {DescribeResult(hr)}};
        if (options_.verbose) TellRoad();
        return {};
    }

    Failure Unavailable(const std::string& what, HRESULT hr) const {
        Failure failure{ExitCode::Unavailable, {what + ": " + DescribeSystemResult(hr)}};
        for (const std::string& attempt : server_.Failures()) failure.messages.push_back("  " + attempt);
        return failure;
    }

    static Failure OptionRefused(const Refusal& refusal) {
        const bool ours = HRESULT_FACILITY(refusal.result) == FACILITY_ITF;
        return {ours ? ExitCode::Usage : ExitCode::Unavailable,
                {std::string(refusal.option) + ": " + DescribeResult(refusal.result)}};
    }

    void TellRoad() const {
        for (const std::string& attempt : server_.Failures()) Say("not " + attempt);
        Say("component from " + server_.Origin());
    }

    Failure Transfer() {
        ChunkReader reader(source_, kChunkSize);
        ChunkReader::Chunk chunk;
        Progress progress(WantsProgress(), source_.Size());
        while (!chunk.last) {
            if (const DWORD code = reader.Next(chunk); code != ERROR_SUCCESS)
                return FileFailure(source_.Name(), "read", code);
            if (Failure failure = ConvertChunk(chunk); failure) return failure;
            progress.Show(chunk.offset + chunk.bytes.size());
        }
        const DWORD code = destination_.Finish();
        return code == ERROR_SUCCESS ? Failure() : WriteFailure(code);
    }

    // Among the bytes that come out on a terminal, or while somebody types the input, a bar would only disturb.
    bool WantsProgress() const {
        if (options_.quiet || options_.progress) return !options_.quiet;
        return IsTerminal(StandardHandle(STD_ERROR_HANDLE)) && !IsTerminal(source_.Handle()) &&
               !IsTerminal(destination_.Handle());
    }

    Failure ConvertChunk(const ChunkReader::Chunk& chunk) {
        com::UniqueTaskBytes bytes;
        DWORD size = 0;
        const auto call =
            options_.command == Command::Encode ? &ITalvoBinaryEncoding::Encode : &ITalvoBinaryEncoding::Decode;
        const HRESULT hr = (component_.Get()->*call)(chunk.bytes.data(), static_cast<DWORD>(chunk.bytes.size()),
                                                     chunk.last, bytes.Put(), &size);
        if (FAILED(hr)) return ConversionFailure(hr, chunk);
        if (hr != S_OK) warnings_.Note(hr);
        const DWORD code = destination_.Write({bytes.Get(), size});
        return code == ERROR_SUCCESS ? Failure() : WriteFailure(code);
    }

    Failure ConversionFailure(HRESULT hr, const ChunkReader::Chunk& chunk) const {
        const ExitCode exit = ExitCodeFor(hr);
        std::string message = source_.Name() + ": " + DescribeResult(hr);
        if (exit == ExitCode::BadData && !chunk.bytes.empty())
            message += " (in the bytes " + std::to_string(chunk.offset) + " to " +
                       std::to_string(chunk.offset + chunk.bytes.size() - 1) + " of the input)";
        return {exit, {message}};
    }

    Failure WriteFailure(DWORD code) const {
        if (destination_.IsStandard() && ReaderIsGone(code)) return {ExitCode::FileFailed, {}};
        return FileFailure(destination_.Name(), "write", code);
    }

    const Options& options_;
    ComLibrary com_;  // first of these, so that it goes last
    Server server_;
    com::ComPtr<ITalvoBinaryEncoding> component_;
    Source source_;
    Destination destination_;
    Warnings warnings_;
};

}  // namespace

ExitCode Convert(const Options& options) { return Conversion(options).Run(); }

}  // namespace talvo
