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
                                                {2, "get SubProcessing", &World::GetLink},
                                                {2, "component: Reset", &World::ResetComponent},
                                                {2, "calls without out pointers", &World::Pointers},
                                                {1, "component: get EncodingFormat", &World::GetHeld},
                                                {1, "release and renew", &World::RenewSlot},
                                                {1, "release and renew the component", &World::RenewHolder},
                                                {1, "component: ToString and FromString", &World::Text}};
        return kinds;
    }

    explicit World(unsigned seed) {
        for (unsigned slot = 0; slot < kSlots; ++slot) Renew(slot, seed / (slot ? slot * 6 : 1));
        RenewComponent();
        processor_->OnReset = [this] {
            CallBack(true);
            client_.Reset();
            if (model_.Forward >= 0) formats_[model_.Forward].Data->Reset();
        };
    }
    // The component's end resets what it holds, and so the processor.
    ~World() {
        model_.CallsBack = false;
        model_.Forward = -1;
        component_ = {};
        for (FormatObject& format : formats_) format = {};
    }

    // Empty, or what went wrong.
    std::string Do(const Op& op) {
        const Kind& kind = Kinds()[op.Call];
        steps_ << "\n  " << kind.Name << " [" << Slot(op) << "] ";
        std::string wrong = (this->*kind.Do)(op);
        if (wrong.empty()) wrong = broken_;
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
    std::ostream& Show(const Chunk& chunk) {
        return steps_ << chunk.Bytes.size() << " bytes" << (chunk.End ? ", the last" : "");
    }

    std::string Convert(const Op& op) {
        const bool decode = op.B & 1;
        const Chunk chunk = Next(op, &Its(op), decode);
        steps_ << "(" << Real(op).Class << (decode ? ") Revert " : ") Process ");
        Show(chunk);
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
        steps_ << (decode ? "Decode " : "Encode ") << (form == Form::Dual ? "of a VARIANT, " : "");
        Show(chunk);
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
        steps_ << name << " = " << value;
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
        steps_ << name << " and HeaderFilename";
        if (property.Native.Value() != Its(op).Numbers.at(name)) return "another value";
        return Check({"S_OK", Narrow(Its(op).Filename)}, Real(op).Header() ? "none" : "stale", [&] {
            return Converted{"S_OK", FilenameOf(Real(op).Data.Get())};
        });
    }
    std::string PutName(const Op& op) {
        const std::string name(op.C % 3 ? "name.bin" : "");
        steps_ << '"' << name << '"';
        const auto [code, error] = Its(op).PutName(name);
        return Check({code}, error, [&] { return Real(op).Data->put_HeaderFilename(Bstr(name).Get()); });
    }

    // --- Who leads to whom

    std::string Link(const Op& op) {
        const unsigned target = op.C % (kSlots + 3);  // a slot, the client's processor, none, no processor at all
        const bool none = target == kSlots + 1;
        steps_ << "to " << target;
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
    // The same object on both interfaces.
    template <class I>
    std::string Same(IUnknown* expected, const std::function<HRESULT(I**)>& getNative,
                     const std::function<HRESULT(IDispatch**)>& getDual) {
        com::ComPtr<I> native;
        com::ComPtr<IDispatch> dual;
        const std::string wrong = Check({"S_OK"}, "none", [&] {
            const HRESULT hr = getNative(native.Put());
            return hr == S_OK ? getDual(dual.Put()) : hr;
        });
        return Identity(native) == expected && Identity(dual) == expected ? wrong : "another object";
    }
    std::string GetLink(const Op& op) {
        const Node& node = Its(op);
        return Same<ITalvoProcessData>(node.LeadsToClient ? Identity(processor_)
                                       : node.Next        ? node.Next->Real
                                                          : nullptr,
                                       Real(op).Linked, Real(op).LinkedDual);
    }
    std::string GetHeld(const Op&) {
        return Same<ITalvoEncodeData>(
            model_.Held ? model_.Held->Real : nullptr,
            [&](ITalvoEncodeData** held) { return component_.Native->get_EncodingFormat(held); },
            [&](IDispatch** held) { return component_.Dual->get_EncodingFormat(held); });
    }
    std::string Hold(const Op& op) {
        const unsigned kind = op.C % 8;  // none, an object that is no format, a format on either interface
        steps_ << (kind == 0 ? "none" : kind == 1 ? "a stranger" : "it");
        if (kind != 1) model_.Held = kind == 0 ? nullptr : model_.Slots[Slot(op)];
        const std::string code = kind == 1 ? "E_INVALIDARG" : "S_OK";
        const auto format = kind == 0 ? com::ComPtr<ITalvoEncodeData>() : Real(op).Data;
        return Check({code}, ErrorFor(kProgId, code), [&] {
            return kind == 1  ? component_.Dual->putref_EncodingFormat(processor_.Get())
                   : kind % 2 ? component_.Dual->putref_EncodingFormat(As<IDispatch>(format).Get())
                              : component_.Native->putref_EncodingFormat(format.Get());
        });
    }

    // --- What needs no model

    std::string Pointers(const Op& op) {
        ITalvoEncodeData& data = *Real(op).Data.Get();
        DWORD size = 0;
        BYTE* block = nullptr;
        for (const HRESULT hr :
             {data.Process(nullptr, 0, 0, 0, 0, nullptr, &size), data.get_CanDetectEndOfData(nullptr),
              data.Revert(nullptr, 0, 1, &block, &size, nullptr), data.Process(nullptr, 5, 1, 0, 0, &block, &size)}) {
            if (hr != E_POINTER) return "answers " + Name(hr);
        }
        LONG detects = 7;
        return Check({"berNoEncodingFormat"}, "stale", [&] { return data.get_CanDetectEndOfData(&detects); });
    }
    std::string Text(const Op&) {
        return Check({"S_OK", "bytes abc"}, "none", [&] {
            com::UniqueBstr text;
            Variant bytes;
            component_.Native->ToString(reinterpret_cast<const BYTE*>("abc"), 3, text.Put());
            const HRESULT hr = component_.Dual->FromString(text.Get(), bytes.Put());
            return Converted{Name(hr), bytes.Show()};
        });
    }

    // --- Coming and going

    std::string Behave(const Op& op) {
        model_.Client.Is = client_.Is = op.A % Manner::kCount;
        model_.Forward = op.B % 4 == 0 ? static_cast<int>(op.C % kSlots) : -1;
        model_.CallsBack = op.B % 4 == 1;
        steps_ << "manner " << client_.Is << ", forwards to " << model_.Forward
               << (model_.CallsBack ? ", calls back" : "");
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

    // --- The real processor: the same manner, and every call back to an object inside a call must be refused.

    Reply Answer(std::string_view operation, std::string_view source, LONG end) {
        CallBack(false);
        if (model_.Forward < 0) return client_(source, end);
        ITalvoProcessData* const to = formats_[model_.Forward].Data.Get();
        const Converted answer = operation == "Process" ? Process(to, source, end) : Revert(to, source, end);
        return {answer.Code.starts_with("S_") ? S_OK : CodeOf(answer.Code), answer.Bytes};
    }
    void CallBack(bool inReset) {
        if (!model_.CallsBack) return;
        if (model_.Inside.empty()) {
            broken_ = "the processor is asked more often than the model says";
            return;
        }
        for (const int slot : model_.Inside.front()) {
            const FormatObject& format = formats_[slot];
            const bool held = model_.Held == model_.Slots[slot];
            const std::string codes = Process(format.Data.Get(), "x", true).Code + ' ' +
                                      Revert(format.Data.Get(), "x", true).Code + ' ' + Name(format.Data->Reset()) +
                                      ' ' + (held ? Name(component_.Native->Reset()) : "berBusy") + ' ' +
                                      Name(format.Data->put_HeaderFilename(nullptr)) + ' ' +
                                      (inReset ? "berSessionOpened" : Name(format.Link(nullptr)));
            if (codes != "berBusy berBusy berBusy berBusy berSessionOpened berSessionOpened")
                broken_ = "called back: " + codes;
        }
        model_.Inside.erase(model_.Inside.begin());
        LeaveStaleError();
    }

    Model model_;
    FormatObject formats_[kSlots];
    Component component_;
    Manner client_;
    com::ComPtr<ClientProcessor> processor_ = ClientProcessor::New(
        [this](const char* operation, std::string_view source, LONG end) { return Answer(operation, source, end); });
    std::ostringstream steps_;
    std::string broken_;
};

}  // namespace talvo::test
