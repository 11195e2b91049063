// What calls on a component, formats that link to each other and a client's processor come to: who owns a conversion,
// which way a session goes, what is frozen, who leads to whom, what lies in which file. What a session converts the model
// learns from an object of the same class to which nothing else ever happens.
#pragma once

#include "tests/support/module/client_processor.h"
#include "tests/support/module/file_calls.h"
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
    std::string Filename;

    FormatObject Straight;  // the open session, on an object of its own
    std::string Text;       // what a client would decode
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
    // The code and the error information of a put of the name.
    std::pair<std::string, std::string> PutName(const std::string& name) {
        const std::string code = Frozen() ? "berSessionOpened" : "S_OK";
        if (!Frozen()) Filename = name;
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
    int Forward = -1;        // the slot whose format the client's processor hands everything to
    bool CallsBack = false;  // to every object that is inside a call; they are noted below, one group a call
    std::vector<std::vector<int>> Inside;
    std::map<std::string, std::string> Files;
    bool Wild = false;  // a text has named a file as not every system lets one be named

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

    FileResult CallFile(Method method, const FileCall& call, Form form) {
        FileResult result;
        Wild = false;
        DWORD read = 0;
        DWORD written = 0;
        std::string code = Transfer(method, call, read, written, result);
        if (form == Form::Dual && method == Method::Read && Failed(code)) read = 0;
        if (form == Form::Dual && method == Method::Read && !Failed(code)) code = "S_OK";  // no warning is passed on
        result.Line = code + " " + std::to_string(read) + " " + std::to_string(written);
        if (form == Form::Dual || result.Error.empty()) result.Error = ErrorFor(kProgId, code);
        return result;
    }

    // Text for a client to decode: what this node's chain makes of the bytes, as its options are now.
    std::string Encoded(const Node& node, const std::string& bytes) {
        return test::Process(node.Fresh().Data.Get(), node.Next ? Encoded(*node.Next, bytes) : bytes, true).Bytes;
    }

private:
    // The code, and in `result` the output of ReadFile and what the native form leaves other than for its code. There
    // are less bytes than one slice has.
    std::string Transfer(Method method, const FileCall& call, DWORD& read, DWORD& written, FileResult& result) {
        const bool decode = call.Action == bfpDecode;
        const bool flush = method != Method::Write && call.Source.empty();
        if (call.Action > bfpDecode) return "berInvalidFileProcessing";
        if (flush && (call.Offset != 0 || call.Size != 0 || !call.End)) return "berInvalidFilename";
        std::string bytes = method == Method::Write ? call.Data : "";
        if (method != Method::Write && !flush) {
            if (!decode && Held && Held->Filename.empty()) {
                const auto [code, error] = Held->PutName(call.Source);
                if (code != "S_OK") return result.Error = error, code;
            }
            const auto file = Files.find(call.Source);
            if (file == Files.end()) return "berFileNotFound";
            if (file->second.empty()) return "berEmptyFile";
            if (call.Offset >= file->second.size()) return "berInvalidFileOffset";
            bytes = file->second.substr(call.Offset, call.Size != 0 ? call.Size : std::string::npos);
        }
        const auto size = static_cast<DWORD>(bytes.size());
        const bool folder = call.Destination.ends_with('\\');  // its file is opened when there is output
        const bool early = method != Method::Read && !flush && !folder;
        if (early && !Open(call.Destination, call.Append)) return "berPathNotFound";
        if (method == Method::Write && size == 0 && !call.End) return "S_OK";

        const Converted output = Through(decode, bytes, call.End);
        if (method == Method::Read) {
            read = size;
            result.Data = output.Bytes;
            return output.Code;
        }
        if (Failed(output.Code)) return output.Code;
        if (!output.Bytes.empty()) {
            if (!flush) result.Error = ErrorFor(kProgId, output.Code);  // that of the conversion, should the file fail
            if (folder && Held->Filename.empty()) return "berAccessDenied";
            Wild = folder && (Held->Filename.find_first_not_of("abcdefghijklmnopqrstuvwxyz.") != std::string::npos ||
                              Held->Filename.front() == '.');
            if (Wild) return output.Code;
            const std::string name = folder ? "folder/" + Held->Filename : call.Destination;
            if (!early && !Open(name, call.Append)) return "berPathNotFound";
            result.Error.clear();
            Files[name] += output.Bytes;
            written = static_cast<DWORD>(output.Bytes.size());
        }
        if (method == Method::Process) read = size;
        return !folder || flush ? output.Code : output.Bytes.empty() ? "S_FALSE" : "S_OK";
    }
    bool Open(const std::string& name, bool append) {
        if (name.starts_with("none")) return false;
        if (!append) Files[name].clear();
        return Files[name], true;
    }

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
