// Random sequences of every call on a component, three formats that link to each other, and a client's processor, beside
// a model of who owns a conversion, which way its session goes, what is frozen and who is linked to whom. What a session
// converts the model learns from an object of the same class to which nothing else ever happens. A sequence that fails
// is shortened before it is shown.
#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <random>
#include <sstream>

#include "tests/component/variants.h"
#include "tests/formats/client_processor.h"
#include "tests/formats/format_classes.h"

namespace talvo::test {
namespace {

constexpr const char* kComponentId = "Talvo.BinaryEncoding.1";
constexpr int kSlots = 3;  // formats in the world; in a choice of targets, this number is the client's processor
// More than one line of every format, with bytes of every kind.
const std::string kSample = [] {
    std::string text = "Mixed: a=b, \t \r\n.\r\n";
    for (int i = 0; i < 300; ++i) text += static_cast<char>(i * 7);
    return text;
}();

bool Failed(const std::string& code) { return code != "S_OK" && code != "S_PASSTHROUGH" && !code.starts_with("berW"); }

enum class Owner { None, Process, Revert };
enum class Way { Idle, Encoding, Decoding };

// --- The model

struct Node {
    int Class = 0;
    IUnknown* Real = nullptr;  // whom it stands for; not counted
    Owner Owns = Owner::None;
    Way Session = Way::Idle;
    bool Busy = false;
    bool LeadsToClient = false;
    std::shared_ptr<Node> Next;
    std::map<std::string, int64_t> Numbers;
    std::string Filename;

    // The open session, on an object of its own, and what has gone through it.
    FormatObject Straight;
    std::string Fed, Given;
    std::string Text;  // what a client would decode
    size_t Cursor = 0;

    bool Frozen() const { return Busy || Session != Way::Idle; }
    FormatObject Fresh() const {
        FormatObject made = New(Class);
        for (const auto& [name, value] : Numbers) made.Number(name.c_str()).Native.Put(value);
        made.Data->put_HeaderFilename(Bstr(Filename).Get());
        return made;
    }
    void ReadOptions(const FormatObject& from) {
        for (const auto& [name, property] : from.Numbers) Numbers[name] = property.Native.Value();
        Filename = FilenameOf(from.Data.Get());
    }
};

class Model {
public:
    std::shared_ptr<Node> Slots[kSlots];
    std::shared_ptr<Node> Held;  // by the component
    MannerOfProcessor Client;
    int Forward = -1;        // the slot whose format the client's processor hands everything to
    bool CallsBack = false;  // to every object that is inside a call; they are noted below, one group a call
    std::vector<std::vector<int>> Inside;
    std::string Broken;

    Converted Process(Node& node, std::string_view source, bool end) {
        if (node.Busy) return {"berBusy"};
        if (node.Owns == Owner::Revert) return {"berSessionOpened"};
        node.Owns = Owner::Process;
        node.Busy = true;
        std::string bytes(source);
        Converted result = {"S_OK"};
        if (node.Next || node.LeadsToClient) {
            result = node.Next ? Process(*node.Next, source, end) : AskClient(true, source, end);
            if (!Failed(result.Code) && result.Code != "S_PASSTHROUGH") bytes = result.Bytes;
        }
        const bool stopped = Failed(result.Code);
        result = stopped ? Converted{result.Code} : Convert(node, Way::Encoding, bytes, end);
        node.Busy = false;
        if (end || stopped) node.Owns = Owner::None;
        return result;
    }

    Converted Revert(Node& node, std::string_view source, bool end) {
        if (node.Busy) return {"berBusy"};
        if (node.Owns == Owner::Process) return {"berSessionOpened"};
        node.Owns = Owner::Revert;
        node.Busy = true;
        Converted result = Convert(node, Way::Decoding, source, end);
        if (!Failed(result.Code) && (node.Next || node.LeadsToClient)) {
            Converted sub = node.Next ? Revert(*node.Next, result.Bytes, end) : AskClient(false, result.Bytes, end);
            if (sub.Code == "S_PASSTHROUGH") sub = {"S_OK", result.Bytes, 0};
            sub.Consumed = static_cast<DWORD>(source.size());
            if (Failed(sub.Code)) sub.Bytes.clear();
            result = sub;
        }
        node.Busy = false;
        if (end || Failed(result.Code)) node.Owns = Owner::None;
        return result;
    }

    std::string Reset(Node& node) {
        if (node.Busy) return "berBusy";
        node.Busy = true;
        if (node.Next) Reset(*node.Next);
        if (node.LeadsToClient) ResetClient();
        node.Busy = false;
        node.Session = Way::Idle;
        node.Owns = Owner::None;
        return "S_OK";
    }

    // Text for a client to decode: what this node's chain makes of the sample, as its options are now.
    std::string Encoded(const Node& node) {
        return test::Process(node.Fresh().Data.Get(), node.Next ? Encoded(*node.Next) : kSample, true).Bytes;
    }

private:
    Converted AskClient(bool process, std::string_view source, bool end) {
        NoteInside();
        if (Forward >= 0) {
            Node& to = *Slots[Forward];
            Converted answer = process ? Process(to, source, end) : Revert(to, source, end);
            return {answer.Code, answer.Bytes, 0};
        }
        const Reply reply = Client(source, end);
        return {Name(reply.Code), reply.Bytes.value_or(""), 0};
    }
    void ResetClient() {
        NoteInside();
        Client.Reset();
        if (Forward >= 0) Reset(*Slots[Forward]);
    }
    void NoteInside() {
        if (!CallsBack) return;
        Inside.emplace_back();
        for (int slot = 0; slot < kSlots; ++slot) {
            if (Slots[slot]->Busy) Inside.back().push_back(slot);
        }
    }

    Converted Convert(Node& node, Way way, std::string_view source, bool end) {
        if (node.Session != Way::Idle && node.Session != way) return {"berSessionOpened"};
        if (node.Session == Way::Idle) {
            node.Straight = node.Fresh();
            node.Fed.clear();
            node.Given.clear();
        }
        ITalvoEncodeData* const straight = node.Straight.Data.Get();
        const Converted result =
            way == Way::Encoding ? test::Process(straight, source, end) : test::Revert(straight, source, end);
        node.Session = Failed(result.Code) || end ? Way::Idle : way;
        if (way == Way::Decoding) node.ReadOptions(node.Straight);  // what a header has supplied
        node.Fed += source;
        node.Given += result.Bytes;
        if (way == Way::Encoding && end && result.Code == "S_OK") CompareWithOneCall(node, source.empty());
        return result;
    }
    // However it was cut. Only an empty last call writes the line break that a full line still owes.
    void CompareWithOneCall(const Node& node, bool emptyEnd) {
        const std::string whole = test::Process(node.Fresh().Data.Get(), node.Fed, true).Bytes;
        const std::string& given = node.Given;
        const bool owed = emptyEnd && given.size() > whole.size() && given.size() <= whole.size() + 2;
        if (owed ? !given.starts_with(whole) : given != whole) Broken = "the output depends on how the input was cut";
    }
};

// --- Sequences

enum class What {
    Convert,
    Component,
    Reset,
    ResetComponent,
    Put,
    Get,
    PutName,
    Link,
    GetLink,
    Hold,
    GetHeld,
    Behave,
    Renew,
    RenewComponent,
    Pointers,
    Text,
    Count
};
struct Op {
    What Do;
    unsigned A, B, C, D;
};
using Ops = std::vector<Op>;

Ops RandomOps(unsigned seed) {
    static constexpr unsigned kWeights[] = {40, 25, 4, 2, 8, 4, 2, 10, 2, 6, 1, 5, 1, 1, 2, 1};
    std::mt19937 random(seed);
    std::discrete_distribution<int> what(std::begin(kWeights), std::end(kWeights));
    Ops ops(70);
    for (Op& op : ops) {
        op.Do = static_cast<What>(what(random));
        for (unsigned* part : {&op.A, &op.B, &op.C, &op.D}) *part = static_cast<unsigned>(random());
    }
    return ops;
}

// The real objects and the model side by side. Each operation asks the model first and compares the answer, the bytes
// and the thread's error information.
class World {
public:
    explicit World(unsigned seed) {
        for (unsigned slot = 0; slot < kSlots; ++slot) Renew(static_cast<int>(slot), seed / (slot ? slot * 6 : 1));
        RenewComponent();
    }

    // The component's end resets what it holds, and so the processor.
    ~World() {
        model_.CallsBack = false;
        model_.Forward = -1;
        native_.Reset();
        dual_.Reset();
        for (FormatObject& format : formats_) format = {};
    }

    // Empty, or what went wrong.
    std::string Do(const Op& op) {
        const unsigned slot = op.A % kSlots;
        Node& node = *model_.Slots[slot];
        const FormatObject& format = formats_[slot];
        switch (op.Do) {
            case What::Convert:
                return Convert(op, node, format);
            case What::Component:
                return ConvertThroughComponent(op);
            case What::Reset:
                Step() << "Reset " << slot;
                return Check({model_.Reset(node)}, "stale", [&] { return format.Data->Reset(); });
            case What::ResetComponent: {
                Step() << "component: Reset";
                const std::string code = model_.Held ? model_.Reset(*model_.Held) : "S_OK";
                return Check({code}, "none", [&] { return native_->Reset(); });
            }
            case What::Put:
                return Put(op, node, format);
            case What::Get:
                return Get(op, node, format);
            case What::PutName: {
                const std::string name(op.C % 3 ? "name.bin" : "");
                Step() << "put HeaderFilename " << slot << " \"" << name << '"';
                const std::string code = node.Frozen() ? "berSessionOpened" : "S_OK";
                if (!node.Frozen()) node.Filename = name;
                return Check({code}, NameError(format, code),
                             [&] { return format.Data->put_HeaderFilename(Bstr(name).Get()); });
            }
            case What::Link:
                return Link(op, node, format);
            case What::GetLink:
                return GetLink(node, format, slot);
            case What::Hold:
                return Hold(op, format, slot);
            case What::GetHeld: {
                Step() << "component: get EncodingFormat";
                com::ComPtr<ITalvoEncodeData> held;
                const std::string wrong =
                    Check({"S_OK"}, "none", [&] { return native_->get_EncodingFormat(held.Put()); });
                return Identity(held) == (model_.Held ? model_.Held->Real : nullptr) ? wrong : "another format";
            }
            case What::Behave:
                model_.Client.Is = client_.Is = static_cast<Manner>(op.A % unsigned(Manner::Count));
                model_.Forward = op.B % 4 == 0 ? static_cast<int>(op.C % kSlots) : -1;
                model_.CallsBack = op.B % 4 == 1;
                Step() << "the client's processor: manner " << op.A % unsigned(Manner::Count) << ", forwards to "
                       << model_.Forward << (model_.CallsBack ? ", calls back" : "");
                return "";
            case What::Renew:
                Step() << "release and renew " << slot;
                Renew(static_cast<int>(slot), op.B);
                return "";
            case What::RenewComponent:
                Step() << "release and renew the component";
                if (model_.Held) model_.Reset(*model_.Held);
                RenewComponent();
                return "";
            case What::Pointers:
                return Pointers(format, op.B & 1, slot);
            default: {
                Step() << "component: ToString and FromString";
                return Check({"S_OK", "bytes abc", 0}, "none", [&] {
                    com::UniqueBstr text;
                    Variant bytes;
                    native_->ToString(reinterpret_cast<const BYTE*>("abc"), 3, text.Put());
                    const HRESULT hr = dual_->FromString(text.Get(), bytes.Put());
                    return Converted{Name(hr), bytes.Show(), 0};
                });
            }
        }
    }
    const std::string Broken() { return !broken_.empty() ? broken_ : model_.Broken; }
    std::string Steps() const { return steps_.str(); }

private:
    template <class I>
    static IUnknown* Identity(const com::ComPtr<I>& object) {
        return As<IUnknown>(object).Get();
    }
    std::ostream& Step() { return steps_ << "\n  "; }
    // The real call, over stale error information: its answer, and what it leaves.
    template <class Real>
    static std::string Check(const Converted& expected, const std::string& error, Real call) {
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
    static std::string ErrorFor(const std::string& progId, const std::string& code) {
        return code == "S_OK" ? "none" : ErrorOf(progId, Code(code));
    }
    static HRESULT Code(const std::string& name) {
#define RESULT_CODE(code, value, text) \
    if (name == #code) return static_cast<HRESULT>(value);
#include "server/results/result_codes.def"
#undef RESULT_CODE
        return name == "E_POINTER" ? E_POINTER : name == "E_INVALIDARG" ? E_INVALIDARG : E_FAIL;
    }
    static std::string NameError(const FormatObject& format, const std::string& code) {
        return format.Header() ? ErrorFor(format.ProgId, code) : "stale";
    }
    // The bytes of the next call, and whether it is the last.
    struct Chunk {
        std::string Bytes;
        bool End;
    };
    Chunk Next(const Op& op, Node& node, bool decode) {
        static constexpr size_t kSizes[] = {0, 1, 2, 3, 4, 5, 17, 45, 57, 61, 76, 100, 400};
        const bool whole = op.D % 8 == 0;
        const size_t size = whole ? 100'000 : kSizes[op.C % std::size(kSizes)];
        const bool end = whole || op.D % 8 == 1;
        if (decode && node.Session == Way::Idle) node.Text = model_.Encoded(node);
        if (node.Session == Way::Idle) node.Cursor = 0;
        const std::string& source = decode ? node.Text : kSample;
        if (decode && op.D % 64 == 7) return {std::string("Q\1!"), end};
        const size_t from = std::min(node.Cursor, source.size());
        const std::string bytes = source.substr(from, size);
        node.Cursor = from + bytes.size();
        return {bytes, end};
    }

    std::string Convert(const Op& op, Node& node, const FormatObject& format) {
        const bool decode = op.B & 1;
        const Chunk chunk = Next(op, node, decode);
        Step() << (decode ? "Revert " : "Process ") << op.A % kSlots << " (" << format.Class << ") "
               << chunk.Bytes.size() << " bytes" << (chunk.End ? ", the last" : "");
        const Converted expected =
            decode ? model_.Revert(node, chunk.Bytes, chunk.End) : model_.Process(node, chunk.Bytes, chunk.End);
        return Check(expected, "stale", [&] {
            return decode ? Revert(format.Data.Get(), chunk.Bytes, chunk.End)
                          : Process(format.Data.Get(), chunk.Bytes, chunk.End, op.D % 3, op.D % 5);
        });
    }

    std::string ConvertThroughComponent(const Op& op) {
        const bool decode = op.B & 1;
        const bool dual = op.B & 2;
        const bool held = model_.Held != nullptr;
        const Chunk chunk = held ? Next(op, *model_.Held, decode) : Chunk{"abc", true};
        Step() << "component: " << (decode ? "Decode " : "Encode ") << (dual ? "of a VARIANT, " : "")
               << chunk.Bytes.size() << " bytes" << (chunk.End ? ", the last" : "");
        Converted expected = !held    ? Converted{"berNoEncodingFormat"}
                             : decode ? model_.Revert(*model_.Held, chunk.Bytes, chunk.End)
                                      : model_.Process(*model_.Held, chunk.Bytes, chunk.End);
        expected.Consumed = 0;
        const std::string error = ErrorFor(kComponentId, expected.Code);
        if (!dual) {
            return Check(expected, error, [&] {
                const auto method = decode ? &ITalvoBinaryEncoding::Decode : &ITalvoBinaryEncoding::Encode;
                BYTE* block = nullptr;
                DWORD size = 0;
                const HRESULT hr =
                    (native_.Get()->*method)(reinterpret_cast<const BYTE*>(chunk.Bytes.data()),
                                             static_cast<DWORD>(chunk.Bytes.size()), chunk.End, &block, &size);
                return Converted{Name(hr), TakeBlock(block, size), 0};
            });
        }
        const bool failed = Failed(expected.Code);  // a warning is not passed on
        expected = {failed ? expected.Code : "S_OK", expected.Bytes.empty() ? "(empty)" : "bytes " + expected.Bytes, 0};
        return Check(expected, failed ? error : "none", [&] {
            const auto method = decode ? &DTalvoBinaryEncoding::Decode : &DTalvoBinaryEncoding::Encode;
            Variant source = Variant::Bytes(chunk.Bytes);
            Variant result;
            const HRESULT hr =
                (dual_.Get()->*method)(source.Get(), chunk.End ? VARIANT_TRUE : VARIANT_FALSE, result.Put());
            return Converted{Name(hr), result.Show(), 0};
        });
    }

    static const Property& Pick(const FormatObject& format, unsigned number, std::string& name) {
        auto found = format.Numbers.begin();
        std::advance(found, number % format.Numbers.size());
        name = found->first;
        return found->second;
    }
    std::string Put(const Op& op, Node& node, const FormatObject& format) {
        static constexpr int64_t kValues[] = {0, 1, 2, 3, 4, 20, 61, 76, -1};
        std::string name;
        const Property& property = Pick(format, op.C, name);
        const bool dual = op.B & 1;
        const int64_t value = kValues[op.D % std::size(kValues)];
        Step() << "put " << name << ' ' << op.A % kSlots << " = " << value;
        std::string code = "berSessionOpened";
        if (!node.Frozen()) {
            const FormatObject other = node.Fresh();
            code = test::Name((dual ? other.Number(name.c_str()).Dual : other.Number(name.c_str()).Native).Put(value));
            node.ReadOptions(other);
        }
        return Check({code}, ErrorFor(format.ProgId, code),
                     [&] { return (dual ? property.Dual : property.Native).Put(value); });
    }
    std::string Get(const Op& op, const Node& node, const FormatObject& format) {
        std::string name;
        const Property& property = Pick(format, op.C, name);
        Step() << "get " << name << " and HeaderFilename " << op.A % kSlots;
        if (property.Native.Value() != node.Numbers.at(name)) return "another value";
        return Check({"S_OK", node.Filename, 0}, NameError(format, "S_OK"), [&] {
            return Converted{"S_OK", FilenameOf(format.Data.Get()), 0};
        });
    }

    std::string Link(const Op& op, Node& node, const FormatObject& format) {
        const unsigned target = op.C % (kSlots + 3);  // a slot, the client's processor, none, no processor at all
        const bool dual = (op.B & 1) || target > kSlots + 1;
        Step() << "link " << op.A % kSlots << " to " << target;
        const std::shared_ptr<Node> next = target < kSlots ? model_.Slots[target] : nullptr;
        std::string code = "S_OK";
        for (const Node* along = next.get(); along; along = along->Next.get()) {
            if (along == &node) code = "E_INVALIDARG";
        }
        if (target > kSlots + 1) code = "E_INVALIDARG";
        if (node.Owns != Owner::None) code = "berSessionOpened";
        if (code == "S_OK") {
            node.Next = next;
            node.LeadsToClient = target == kSlots;
        }
        const auto stranger = ClientProcessor::New({}, true, false);
        return Check({code}, ErrorFor(format.ProgId, code), [&] {
            return dual ? format.LinkDual(target < kSlots       ? As<IDispatch>(formats_[target].Data).Get()
                                          : target == kSlots    ? static_cast<IDispatch*>(processor_.Get())
                                          : target > kSlots + 1 ? static_cast<IDispatch*>(stranger.Get())
                                                                : nullptr)
                        : format.Link(target < kSlots    ? formats_[target].Data.Get()
                                      : target == kSlots ? processor_->Data()
                                                         : nullptr);
        });
    }
    std::string GetLink(const Node& node, const FormatObject& format, unsigned slot) {
        Step() << "get SubProcessing " << slot;
        IUnknown* const expected = node.LeadsToClient ? Identity(processor_) : node.Next ? node.Next->Real : nullptr;
        com::ComPtr<ITalvoProcessData> native;
        com::ComPtr<IDispatch> dual;
        const std::string wrong = Check({"S_OK"}, "none", [&] {
            const HRESULT hr = format.Linked(native.Put());
            return hr == S_OK ? format.LinkedDual(dual.Put()) : hr;
        });
        return Identity(native) == expected && Identity(dual) == expected ? wrong : "another object";
    }

    std::string Hold(const Op& op, const FormatObject& format, unsigned slot) {
        const unsigned kind = op.C % 8;  // none, an object that is no format, a format on either interface
        Step() << "component: hold " << (kind == 0 ? "none" : kind == 1 ? "a stranger" : std::to_string(slot));
        if (kind != 1) model_.Held = kind == 0 ? nullptr : model_.Slots[slot];
        const std::string code = kind == 1 ? "E_INVALIDARG" : "S_OK";
        return Check({code}, ErrorFor(kComponentId, code), [&] {
            return kind == 0   ? native_->putref_EncodingFormat(static_cast<ITalvoEncodeData*>(nullptr))
                   : kind == 1 ? dual_->putref_EncodingFormat(static_cast<IDispatch*>(processor_.Get()))
                   : kind % 2  ? dual_->putref_EncodingFormat(As<IDispatch>(format.Data).Get())
                               : native_->putref_EncodingFormat(format.Data.Get());
        });
    }

    std::string Pointers(const FormatObject& format, bool end, unsigned slot) {
        Step() << "calls without out pointers " << slot;
        DWORD size = 0;
        BYTE* block = nullptr;
        for (const HRESULT hr : {format.Data->Process(nullptr, 0, end, 0, 0, nullptr, &size),
                                 format.Data->Revert(nullptr, 0, end, &block, &size, nullptr),
                                 format.Data->Process(nullptr, 5, end, 0, 0, &block, &size),
                                 format.Data->get_CanDetectEndOfData(nullptr)}) {
            if (hr != E_POINTER) return "answers " + Name(hr);
        }
        LONG detects = 7;
        return Check({"berNoEncodingFormat"}, "stale", [&] { return format.Data->get_CanDetectEndOfData(&detects); });
    }

    void Renew(int slot, unsigned classNumber) {
        model_.Slots[slot] = std::make_shared<Node>();
        Node& node = *model_.Slots[slot];
        node.Class = static_cast<int>(classNumber % kFormatCount);
        formats_[slot] = New(node.Class);
        if (classNumber / 8 % 4) formats_[slot].Data->put_HeaderFilename(Bstr("first.txt").Get());
        if (formats_[slot].FileInformation)
            formats_[slot].Number("HeaderDataForkLength").Native.Put(static_cast<int64_t>(kSample.size()));
        node.Real = Identity(formats_[slot].Data);
        node.ReadOptions(formats_[slot]);
    }
    void RenewComponent() {
        native_ = Create<ITalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
        dual_ = {};  // before the one that follows: the old component goes now
        dual_ = As<DTalvoBinaryEncoding>(native_);
        native_->putref_EncodingFormat(static_cast<ITalvoEncodeData*>(nullptr));
        model_.Held = nullptr;
    }

    // The real processor: the same manner, and every call back to an object inside a call must be refused.
    Reply Answer(std::string_view operation, std::string_view source, LONG end) {
        if (model_.CallsBack) CallBack(operation == "Reset");
        ITalvoProcessData* const to = model_.Forward < 0 ? nullptr : formats_[model_.Forward].Data.Get();
        if (operation == "Reset") {
            client_.Reset();
            if (to) to->Reset();
            return {};
        }
        if (!to) return client_(source, end);
        const Converted answer = operation == "Process" ? Process(to, source, end) : Revert(to, source, end);
        return {Failed(answer.Code) || answer.Code.starts_with("berW") ? Code(answer.Code) : S_OK, answer.Bytes};
    }
    void CallBack(bool inReset) {
        if (model_.Inside.empty()) {
            broken_ = "the processor is asked more often than the model says";
            return;
        }
        for (const int slot : model_.Inside.front()) {
            const FormatObject& format = formats_[slot];
            const std::string codes = Process(format.Data.Get(), "x", true).Code + ' ' +
                                      Revert(format.Data.Get(), "x", true).Code + ' ' + Name(format.Data->Reset()) +
                                      ' ' + Name(format.Data->put_HeaderFilename(nullptr)) + ' ' +
                                      (inReset ? "berSessionOpened" : Name(format.Link(nullptr)));
            if (codes != "berBusy berBusy berBusy berSessionOpened berSessionOpened") broken_ = "called back: " + codes;
        }
        model_.Inside.erase(model_.Inside.begin());
        LeaveStaleError();
    }

    Model model_;
    FormatObject formats_[kSlots];
    com::ComPtr<ITalvoBinaryEncoding> native_;
    com::ComPtr<DTalvoBinaryEncoding> dual_;
    MannerOfProcessor client_;
    com::ComPtr<ClientProcessor> processor_ = ClientProcessor::New(
        [this](const char* operation, std::string_view source, LONG end) { return Answer(operation, source, end); });
    std::ostringstream steps_;
    std::string broken_;
};

// Empty when model and objects agree all the way, and nothing is left.
std::string Play(unsigned seed, const Ops& ops) {
    {
        World world(seed);
        for (const Op& op : ops) {
            std::string wrong = world.Do(op);
            if (wrong.empty()) wrong = world.Broken();
            if (!wrong.empty()) return world.Steps() + "\n=> " + wrong;
        }
    }
    SetErrorInfo(0, nullptr);
    return Module::Get().CanUnload() ? "" : "an object outlives the sequence";
}

Ops Shortest(unsigned seed, Ops ops) {
    for (size_t piece = ops.size() / 2; piece != 0; piece /= 2) {
        for (size_t at = 0; at + piece <= ops.size();) {
            Ops fewer = ops;
            fewer.erase(fewer.begin() + static_cast<ptrdiff_t>(at), fewer.begin() + static_cast<ptrdiff_t>(at + piece));
            if (Play(seed, fewer).empty()) {
                at += piece;
            } else {
                ops = std::move(fewer);
            }
        }
    }
    return ops;
}

TEST(Model, RandomSequencesAnswerAsTheModelDoes) {
    constexpr unsigned kSequences = 500;
    constexpr unsigned kLeast = 60;  // where a sequence takes long
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(4);
    unsigned seed = 0;
    for (; seed < kSequences && (seed < kLeast || std::chrono::steady_clock::now() < end); ++seed) {
        const Ops ops = RandomOps(seed);
        if (Play(seed, ops).empty()) continue;
        FAIL() << "seed " << seed << ", shortened:" << Play(seed, Shortest(seed, ops));
    }
    std::printf("  %u sequences\n", seed);
}

}  // namespace
}  // namespace talvo::test
