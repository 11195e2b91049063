// The outermost format is the last one of an encoding and the first one of a decoding; the component holds it, and it
// holds the next one as its sub-processor.
#include "cli/chain.h"

#include <string>
#include <utility>

#include "cli/messages.h"

namespace talvo {
namespace {

Failure OptionRefused(const Refusal& refusal) {
    const bool ours = HRESULT_FACILITY(refusal.result) == FACILITY_ITF;
    return {ours ? ExitCode::Usage : ExitCode::Unavailable,
            {std::string(refusal.option) + ": " + DescribeResult(refusal.result)}};
}

}  // namespace

Failure Chain::Open(const Server& server, Command command, std::span<const Stage> stages, bool tolerant) {
    call_ = command == Command::Encode ? &ITalvoBinaryEncoding::Encode : &ITalvoBinaryEncoding::Decode;
    expectsBeginLine_ = command == Command::Decode && stages.front().HasBeginLine();
    if (Failure failure = server.CreateComponent(component_); failure) return failure;
    for (const Stage& stage : stages) {
        const FormatClass& format = ClassOf(stage.format);
        com::ComPtr<ITalvoEncodeData> object;
        if (Failure failure = server.CreateFormat(format, object); failure) return failure;
        const Refusal refusal = format.setOptions(object.Get(), stage, tolerant);
        if (FAILED(refusal.result)) return OptionRefused(refusal);
        classes_.push_back(&format);
        formats_.push_back(std::move(object));
    }
    const HRESULT hr = Link(command);
    return FAILED(hr) ? Failure{ExitCode::Unavailable, {DescribeResult(hr)}} : Failure();
}

HRESULT Chain::Link(Command command) {
    const size_t count = formats_.size();
    for (size_t i = 1; i < count; ++i) {
        const size_t outer = command == Command::Encode ? i : i - 1;
        const size_t inner = command == Command::Encode ? i - 1 : i;
        const HRESULT hr = classes_[outer]->setInner(formats_[outer].Get(), formats_[inner].Get());
        if (FAILED(hr)) return hr;
    }
    return component_->putref_EncodingFormat(formats_[command == Command::Encode ? count - 1 : 0].Get());
}

HRESULT Chain::Convert(std::span<const BYTE> bytes, bool last) {
    size_ = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    const HRESULT hr = (component_.Get()->*call_)(bytes.data(), size, last, output_.Put(), &size_);
    anything_ |= size_ != 0;
    return hr;
}

Header Chain::ReadHeader(size_t stage) const {
    Header header;
    if (FAILED(classes_[stage]->readHeader(formats_[stage].Get(), header))) header = {};
    return header;
}

bool Chain::LacksBeginLine() const { return expectsBeginLine_ && !anything_ && ReadHeader(0).name.empty(); }

}  // namespace talvo
