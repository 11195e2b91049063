// The real objects beside the model: the calls that a sequence is made of.
#pragma once

#include <algorithm>
#include <sstream>

#include "tests/formats/model.h"

namespace talvo::test {

inline constexpr int kSlots = Model::kSlots;  // in a choice of targets, this number is the client's processor
// More than one line of every format, with bytes of every kind.
inline const std::string kSample = [] {
    std::string text = "Mixed: a=b, \t \r\n.\r\n";
    for (int i = 0; i < 300; ++i) text += static_cast<char>(i * 7);
    return text;
}();

struct Op {
    size_t Call;
    unsigned A, B, C, D;
};
using Ops = std::vector<Op>;

// Each operation asks the model first and compares the answer, the bytes and the thread's error information.
class World {
public:
    struct Kind {
        unsigned Weight;
        const char* Name;
        std::string (World::*Do)(const Op&);
    };
    static const std::vector<Kind>& Kinds() {
        static const std::vector<Kind> kinds = {{40, "convert by", &World::Convert},
                                                {25, "component:", &World::ThroughComponent},
                                                {10, "link", &World::Link},
                                                {8, "put to", &World::Put},
                                                {6, "component: hold", &World::Hold},
                                                {5, "the client's processor:", &World::Behave},
                                                {4, "Reset", &World::Reset},
                                                {4, "get from", &World::Get},
                                                {2, "name", &World::PutName},
                                                {2, "component: Reset", &World::ResetComponent},
                                                {1, "release and renew", &World::RenewSlot},
                                                {1, "release and renew the component", &World::RenewHolder}};
        return kinds;
    }

    explicit World(unsigned seed) {
        for (unsigned slot = 0; slot < kSlots; ++slot) Renew(slot, seed / (slot ? slot * 6 : 1));
        RenewComponent();
        processor_->OnReset = [this] {
            client_.Reset();
            if (model_.Forward >= 0) formats_[model_.Forward].Data->Reset();
        };
    }
    // The component's end resets what it holds, and so the processor.
    ~World() {
        model_.Forward = -1;
        component_ = {};
        for (FormatObject& format : formats_) format = {};
    }

    // Empty, or what went wrong.
    std::string Do(const Op& op) {
        const Kind& kind = Kinds()[op.Call];
        steps_ << "\n  " << kind.Name << " [" << Slot(op) << "] " << op.A << ' ' << op.B << ' ' << op.C << ' ' << op.D;
        const std::string wrong = (this->*kind.Do)(op);
        return wrong.empty() ? "" : steps_.str() + "\n=> " + wrong;
    }

private:
    static unsigned Slot(const Op& op) { return op.A % kSlots; }
    Node& Its(const Op& op) { return *model_.Slots[Slot(op)]; }
    const FormatObject& Real(const Op& op) const { return formats_[Slot(op)]; }
    template <class I>
    static IUnknown* Identity(const com::ComPtr<I>& object) {
        return As<IUnknown>(object).Get();
    }
    // The real call, over stale error information: its answer, and what it leaves.
    template <class Call>
    static std::string Check(const Converted& expected, const std::string& error, Call call) {
        LeaveStaleError();
        Converted real;
        if constexpr (std::is_same_v<decltype(call()), HRESULT>) {
            real.Code = Name(call());
        } else {
            real = call();
        }
        const std::string found = TakeError();
        std::ostringstream text;
        if (real != expected) text << "answers " << real << " instead of " << expected;
        if (found != error) text << " error information \"" << found << "\" instead of \"" << error << '"';
        return text.str();
    }

    // --- Conversions

    // The bytes of the next call, and whether it is the last.
    struct Chunk {
        std::string Bytes;
        bool End;
    };
    Chunk Next(const Op& op, Node* node, bool decode) {
        static constexpr size_t kSizes[] = {0, 1, 2, 3, 4, 5, 17, 45, 57, 61, 76, 100, 400};
        const bool whole = op.D % 8 == 0;
        const size_t size = whole ? 100'000 : kSizes[op.C % std::size(kSizes)];
        const bool end = whole || op.D % 8 == 1;
        if (!node) return {"abc", end};
        if (decode && node->Session == Way::Idle) node->Text = model_.Encoded(*node, kSample);
        if (node->Session == Way::Idle) node->Cursor = 0;
        const std::string& source = decode ? node->Text : kSample;
        if (decode && op.D % 64 == 7) return {std::string("Q\1!"), end};
        const size_t from = std::min(node->Cursor, source.size());
        const std::string bytes = source.substr(from, size);
        node->Cursor = from + bytes.size();
        return {bytes, end};
    }
    std::string Convert(const Op& op) {
        const bool decode = op.B & 1;
        const Chunk chunk = Next(op, &Its(op), decode);
        const Converted expected =
            decode ? model_.Revert(Its(op), chunk.Bytes, chunk.End) : model_.Process(Its(op), chunk.Bytes, chunk.End);
        return Check(expected, "stale", [&] {
            ITalvoEncodeData* const data = Real(op).Data.Get();
            return decode ? Revert(data, chunk.Bytes, chunk.End)
                          : Process(data, chunk.Bytes, chunk.End, op.D % 3, op.D % 5);
        });
    }

    std::string ThroughComponent(const Op& op) {
        const bool decode = op.B & 1;
        const Form form = op.B & 2 ? Form::Dual : Form::Native;
        const Chunk chunk = Next(op, model_.Held.get(), decode);
        Converted expected = model_.Through(decode, chunk.Bytes, chunk.End);
        if (form == Form::Dual && !Failed(expected.Code)) expected.Code = "S_OK";  // a warning is not passed on
        return Check(expected, ErrorFor(kProgId, expected.Code),
                     [&] { return test::Convert(component_, form, decode, chunk.Bytes, chunk.End); });
    }

    std::string Reset(const Op& op) {
        return Check({model_.Reset(Its(op))}, "stale", [&] { return Real(op).Data->Reset(); });
    }
    std::string ResetComponent(const Op& op) {
        const std::string code = model_.Held ? model_.Reset(*model_.Held) : "S_OK";
        return Check({code}, "none", [&] { return op.B & 1 ? component_.Dual->Reset() : component_.Native->Reset(); });
    }

    // --- Properties

    static const Property& Pick(const FormatObject& format, unsigned number, std::string& name) {
        auto found = format.Numbers.begin();
        std::advance(found, number % format.Numbers.size());
        name = found->first;
        return found->second;
    }
    std::string Put(const Op& op) {
        static constexpr int64_t kValues[] = {0, 1, 2, 3, 4, 20, 61, 76, -1};
        std::string name;
        const auto side = op.B & 1 ? &Property::Dual : &Property::Native;
        const Property& property = Pick(Real(op), op.C, name);
        const int64_t value = kValues[op.D % std::size(kValues)];
        std::string code = "berSessionOpened";
        if (!Its(op).Frozen()) {
            const FormatObject other = Its(op).Fresh();
            code = Name((other.Number(name.c_str()).*side).Put(value));
            Its(op).ReadOptions(other);
        }
        return Check({code}, ErrorFor(Real(op).ProgId, code), [&] { return (property.*side).Put(value); });
    }
    std::string Get(const Op& op) {
        std::string name;
        const Property& property = Pick(Real(op), op.C, name);
        if (property.Native.Value() != Its(op).Numbers.at(name)) return "another value";
        return Check({"S_OK", Narrow(Its(op).Filename)}, Real(op).Header() ? "none" : "stale", [&] {
            return Converted{"S_OK", FilenameOf(Real(op).Data.Get())};
        });
    }
    std::string PutName(const Op& op) {
        const std::string name(op.C % 3 ? "name.bin" : "");
        const auto [code, error] = Its(op).PutName(name);
        return Check({code}, error, [&] { return Real(op).Data->put_HeaderFilename(Bstr(name).Get()); });
    }

    // --- Who leads to whom

    std::string Link(const Op& op) {
        const unsigned target = op.C % (kSlots + 3);  // a slot, the client's processor, none, no processor at all
        const bool none = target == kSlots + 1;
        Node& node = Its(op);
        const std::shared_ptr<Node> next = target < kSlots ? model_.Slots[target] : nullptr;
        std::string code = target > kSlots + 1 ? "E_INVALIDARG" : "S_OK";
        for (const Node* along = next.get(); along; along = along->Next.get()) {
            if (along == &node) code = "E_INVALIDARG";
        }
        if (node.Owns != Owner::None) code = "berSessionOpened";
        if (code == "S_OK") {
            node.Next = next;
            node.LeadsToClient = target == kSlots;
        }
        const auto stranger = ClientProcessor::New({}, true, false);
        const auto format = next ? formats_[target].Data : com::ComPtr<ITalvoEncodeData>();
        return Check({code}, ErrorFor(Real(op).ProgId, code), [&] {
            const bool client = target == kSlots;
            if ((op.B & 1) || (!next && !client && !none))
                return Real(op).LinkDual(next     ? As<IDispatch>(format).Get()
                                         : none   ? nullptr
                                         : client ? processor_.Get()
                                                  : stranger.Get());
            return Real(op).Link(client ? processor_->Data() : format.Get());
        });
    }
    std::string Hold(const Op& op) {
        const unsigned kind = op.C % 8;  // none, an object that is no format, a format on either interface
        if (kind != 1) model_.Held = kind == 0 ? nullptr : model_.Slots[Slot(op)];
        const std::string code = kind == 1 ? "E_INVALIDARG" : "S_OK";
        const auto format = kind == 0 ? com::ComPtr<ITalvoEncodeData>() : Real(op).Data;
        return Check({code}, ErrorFor(kProgId, code), [&] {
            return kind == 1  ? component_.Dual->putref_EncodingFormat(processor_.Get())
                   : kind % 2 ? component_.Dual->putref_EncodingFormat(As<IDispatch>(format).Get())
                              : component_.Native->putref_EncodingFormat(format.Get());
        });
    }

    // --- Coming and going

    std::string Behave(const Op& op) {
        model_.Client.Is = client_.Is = op.A % Manner::kCount;
        model_.Forward = op.B % 4 == 0 ? static_cast<int>(op.C % kSlots) : -1;
        return "";
    }
    std::string RenewSlot(const Op& op) {
        Renew(Slot(op), op.B);
        return "";
    }
    void Renew(unsigned slot, unsigned classNumber) {
        Node& node = *(model_.Slots[slot] = std::make_shared<Node>());
        node.Class = static_cast<int>(classNumber % kFormatCount);
        FormatObject& format = formats_[slot] = New(node.Class);
        if (classNumber / 8 % 4) format.Data->put_HeaderFilename(Bstr("first.txt").Get());
        if (format.FileInformation)
            format.Number("HeaderDataForkLength").Native.Put(static_cast<int64_t>(kSample.size()));
        node.Real = Identity(format.Data);
        node.ReadOptions(format);
    }
    std::string RenewHolder(const Op&) {
        if (const auto held = std::exchange(model_.Held, nullptr)) model_.Reset(*held);
        RenewComponent();
        return "";
    }
    void RenewComponent() {
        component_ = {};
        component_.Native->putref_EncodingFormat(static_cast<ITalvoEncodeData*>(nullptr));
    }

    // --- The real processor

    Reply Answer(std::string_view operation, std::string_view source, LONG end) {
        if (model_.Forward < 0) return client_(source, end);
        ITalvoProcessData* const to = formats_[model_.Forward].Data.Get();
        const Converted answer = operation == "Process" ? Process(to, source, end) : Revert(to, source, end);
        return {answer.Code.starts_with("S_") ? S_OK : CodeOf(answer.Code), answer.Bytes};
    }
    Model model_;
    FormatObject formats_[kSlots];
    Component component_;
    Manner client_;
    com::ComPtr<ClientProcessor> processor_ = ClientProcessor::New(
        [this](const char* operation, std::string_view source, LONG end) { return Answer(operation, source, end); });
    std::ostringstream steps_;
};

}  // namespace talvo::test
