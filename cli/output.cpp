// Files that the user named are opened before anything is read; files that a text names never replace what is there.
#include "cli/output.h"

#include <algorithm>
#include <utility>

#include "cli/carried_name.h"
#include "cli/text.h"
#include "com/unique.h"

namespace talvo {
namespace {

constexpr const char* kResourceSuffix = ".rsrc";

}  // namespace

Failure Output::Open(std::vector<HANDLE> sources) {
    sources_ = std::move(sources);
    const bool decodes = options_.command == Command::Decode;
    const bool byCarriedName = decodes && NamesFolder(options_.destination);
    if (byCarriedName && !AnyHeader()) return NameNeeded(ExitCode::Usage, "texts of this format carry no file name");
    if (!byCarriedName) {
        if (Failure failure = OpenOne(data_, options_.destination, true); failure) return failure;
    }
    if (!decodes || options_.resourceFork.empty()) return {};
    return OpenOne(resource_, options_.resourceFork, true);
}

Failure Output::OpenOne(Destination& destination, const std::string& name, bool chosenByUser) {
    using Mode = Destination::Mode;
    const bool replaces = chosenByUser || options_.overwrite;
    const DWORD code = destination.Open(name, options_.append ? Mode::Append : replaces ? Mode::Replace : Mode::New);
    Failure isSource = {ExitCode::FileFailed, {destination.Name() + ": the destination is the source"}};
    if (code == ERROR_SUCCESS) return IsSource(destination.Handle()) ? isSource : Failure();
    if (code == ERROR_SHARING_VIOLATION) {
        const com::UniqueFile probe(CreateFile(name.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (IsSource(probe.Get())) return isSource;
    }
    Failure failure = FileFailure(destination.Name(), "open for writing", code);
    if (code == ERROR_FILE_EXISTS)
        failure.messages.push_back("--overwrite replaces it; --output FILE chooses another name");
    return failure;
}

bool Output::IsSource(HANDLE file) const {
    return std::ranges::any_of(sources_, [&](HANDLE source) { return SameFile(source, file); });
}

// Of the formats of a chain the one nearest to the data knows best what it is called.
std::string Output::CarriedName() const {
    std::string name;
    for (size_t i = options_.stages.size(); i-- > 0 && name.empty();) name = chain_.ReadHeader(i).name;
    return name;
}

Failure Output::OpenByCarriedName() {
    const std::string name = CarriedName();
    const std::string fault = NameFault(name);
    if (fault.empty()) return OpenOne(data_, InFolder(options_.destination, name), false);
    return NameNeeded(ExitCode::BadData,
                      name.empty() ? "the text carries no file name"
                                   : "the text carries the name '" + Printable(name) + "', which is refused: " + fault);
}

Failure Output::NameNeeded(ExitCode exit, const std::string& why) const {
    return {exit, {why, "choose a name yourself: --output " + InFolder(options_.destination, "FILE")}};
}

bool Output::AnyHeader() const { return std::ranges::any_of(options_.stages, &Stage::HasHeader); }

bool Output::SplitsForks() const {
    const Stage& last = options_.stages.back();
    return options_.command == Command::Decode && last.format == Format::BinHex && last.HasHeader();
}

Failure Output::OpenResourceFork() {
    if (data_.IsStandard()) {
        remark_ = "the resource fork is left out; --resource-fork FILE writes it";
        return {};
    }
    return OpenOne(resource_, data_.Name() + kResourceSuffix, false);
}

Failure Output::Begin() {
    begun_ = true;
    if (!data_.IsOpen()) {
        if (Failure failure = OpenByCarriedName(); failure) return failure;
    }
    if (!SplitsForks()) return {};
    const Header header = chain_.ReadHeader(options_.stages.size() - 1);
    split_ = header.forks.has_value();
    if (!split_) return {};
    dataLeft_ = header.forks->dataLength;
    return header.forks->resourceLength == 0 || resource_.IsOpen() ? Failure() : OpenResourceFork();
}

Failure Output::Write(std::span<const BYTE> bytes) {
    if (bytes.empty()) return {};
    if (!begun_) {
        if (Failure failure = Begin(); failure) return failure;
    }
    const auto data = split_ ? static_cast<size_t>(std::min<ULONGLONG>(dataLeft_, bytes.size())) : bytes.size();
    dataLeft_ -= split_ ? data : 0;
    if (Failure failure = WriteTo(data_, bytes.first(data)); failure) return failure;
    return resource_.IsOpen() ? WriteTo(resource_, bytes.subspan(data)) : Failure();
}

Failure Output::WriteTo(Destination& destination, std::span<const BYTE> bytes) {
    const DWORD code = destination.Write(bytes);
    if (code == ERROR_SUCCESS) return {};
    if (destination.IsStandard() && ReaderIsGone(code)) return {ExitCode::FileFailed, {}};
    return FileFailure(destination.Name(), "write", code);
}

Failure Output::Finish() {
    if (!begun_) {
        if (Failure failure = Begin(); failure) return failure;
    }
    for (Destination* const destination : {&data_, &resource_}) {
        if (!destination->IsOpen()) continue;
        if (const DWORD code = destination->Finish(); code != ERROR_SUCCESS)
            return FileFailure(destination->Name(), "write", code);
    }
    return {};
}

std::vector<std::string> Output::Abandon() {
    std::vector<std::string> left;
    for (Destination* const destination : {&data_, &resource_}) {
        destination->Abandon();
        if (destination->Changed())
            left.push_back(destination->Name() + " is incomplete (" + Counted(destination->Written(), "byte") +
                           " written)");
    }
    return left;
}

}  // namespace talvo
