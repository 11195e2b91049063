// What calls on a component, formats that link to each other and a client's processor come to: who owns a conversion,
// which way a session goes, what is frozen, who leads to whom. What a session converts the model learns from an object of
// the same class to which nothing else ever happens.
#pragma once

#include "tests/support/module/client_processor.h"
#include "tests/support/module/component.h"
#include "tests/support/module/format_classes.h"

namespace talvo::test {

inline bool Failed(const std::string& code) { return !code.starts_with("S_") && !code.starts_with("berW"); }

// What is left for the thread after a method that reports.
inline std::string ErrorFor(const char* progId, const std::string& code) {
    return code == "S_OK" ? "none" : ErrorOf(progId, CodeOf(code));
}

// The ways in which a client's processor may behave.
class Manner {
public:
    static constexpr unsigned kCount = 8;
    unsigned Is = 0;

    Reply operator()(std::string_view source, LONG end) {
        const std::string bytes(source);
        const Reply replies[] = {
            {S_PASSTHROUGH}, {S_PASSTHROUGH, "to be disregarded"}, {S_OK},   {S_OK, "<" + bytes + ">"},
            {berBusy},       {berWarningInvalidChecksum, bytes},   {E_FAIL}, {berInvalidChecksum, "to be freed"}};
        if (Is != 6) return replies[Is];
        held_ += bytes;  // holds back what it has got until the end of the data
        return end && !held_.empty() ? Reply{S_OK, std::exchange(held_, {})} : Reply{};
    }
    void Reset() { held_.clear(); }

private:
    std::string held_;
};

enum class Owner { None, Process, Revert };
enum class Way { Idle, Encoding, Decoding };

struct Node {
    int Class = 0;
    IUnknown* Real = nullptr;  // whom it stands for; not counted
    Owner Owns = Owner::None;
    Way Session = Way::Idle;
    bool Busy = false;
    bool LeadsToClient = false;
    std::shared_ptr<Node> Next;
    std::map<std::string, int64_t> Numbers;
    WideText Filename;
    Variant Type, Creator;  // BinHex

    FormatObject Straight;  // the open session, on an object of its own
    std::string Text;       // what a client would decode
    size_t Cursor = 0;

    bool Frozen() const { return Busy || Session != Way::Idle; }
    FormatObject Fresh() const {
        FormatObject made = New(Class);
        for (const auto& [name, value] : Numbers) made.Number(name.c_str()).Native.Put(value);
        made.Data->put_HeaderFilename(
            com::UniqueBstr(SysAllocStringLen(Filename.data(), static_cast<UINT>(Filename.size()))).Get());
        if (const auto file = As<DTalvoBinHexEncodingFormat>(made.Data)) {
            file->put_HeaderType(*Type.Get());
            file->put_HeaderCreator(*Creator.Get());
        }
        return made;
    }
    void ReadOptions(const FormatObject& from) {
        for (const auto& [name, property] : from.Numbers) Numbers[name] = property.Native.Value();
        com::UniqueBstr name;
        from.Data->get_HeaderFilename(name.Put());
        Filename = WideText(name.Get(), SysStringLen(name.Get()));
        if (const auto file = As<DTalvoBinHexEncodingFormat>(from.Data)) {
            file->get_HeaderType(Type.Put());
            file->get_HeaderCreator(Creator.Put());
        }
    }
    // The code and the error information of a put of the name.
    std::pair<std::string, std::string> PutName(const std::string& name) {
        const std::string code = Frozen() ? "berSessionOpened" : "S_OK";
        if (!Frozen()) Filename = Widen(name);
        const FormatObject format = New(Class);
        return {code, format.Header() ? ErrorFor(format.ProgId, code) : "stale"};
    }
};

class Model {
public:
    static constexpr int kSlots = 3;  // formats
    std::shared_ptr<Node> Slots[kSlots];
    std::shared_ptr<Node> Held;  // by the component
    Manner Client;
    int Forward = -1;  // the slot whose format the client's processor hands everything to

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

    // Through the component, which has nothing consumed to tell.
    Converted Through(bool decode, std::string_view source, bool end) {
        if (!Held) return {"berNoEncodingFormat"};
        Converted result = decode ? Revert(*Held, source, end) : Process(*Held, source, end);
        result.Consumed = 0;
        return result;
    }

    // Text for a client to decode: what this node's chain makes of the bytes, as its options are now.
    std::string Encoded(const Node& node, const std::string& bytes) {
        return test::Process(node.Fresh().Data.Get(), node.Next ? Encoded(*node.Next, bytes) : bytes, true).Bytes;
    }

private:
    Converted AskClient(bool process, std::string_view source, bool end) {
        if (Forward >= 0) {
            Node& to = *Slots[Forward];
            Converted answer = process ? Process(to, source, end) : Revert(to, source, end);
            return {answer.Code, answer.Bytes, 0};
        }
        const Reply reply = Client(source, end);
        return {Name(reply.Code), reply.Bytes.value_or(""), 0};
    }
    void ResetClient() {
        Client.Reset();
        if (Forward >= 0) Reset(*Slots[Forward]);
    }
    Converted Convert(Node& node, Way way, std::string_view source, bool end) {
        if (node.Session != Way::Idle && node.Session != way) return {"berSessionOpened"};
        if (node.Session == Way::Idle) node.Straight = node.Fresh();
        ITalvoEncodeData* const straight = node.Straight.Data.Get();
        const Converted result =
            way == Way::Encoding ? test::Process(straight, source, end) : test::Revert(straight, source, end);
        node.Session = Failed(result.Code) || end ? Way::Idle : way;
        if (way == Way::Decoding) node.ReadOptions(node.Straight);  // what a header has supplied
        return result;
    }
};

}  // namespace talvo::test
