// A record is read twice: first what heads each type, so that members may name types that come later, then the members.
// Late-bound calls go through virtual tables at the numbers that stand here, so the numbers must fit together.
#include "platform/type_record.h"

#include <algorithm>
#include <charconv>
#include <span>

namespace platform {
namespace {

struct Word {
    std::string_view text;
    WORD value;
};
using Words = std::span<const Word>;

constexpr Word kLibraryFlags[] = {{"control", LIBFLAG_FCONTROL}};
constexpr Word kTypeFlags[] = {{"cancreate", TYPEFLAG_FCANCREATE},
                               {"hidden", TYPEFLAG_FHIDDEN},
                               {"control", TYPEFLAG_FCONTROL},
                               {"dual", TYPEFLAG_FDUAL},
                               {"nonextensible", TYPEFLAG_FNONEXTENSIBLE},
                               {"oleautomation", TYPEFLAG_FOLEAUTOMATION},
                               {"restricted", TYPEFLAG_FRESTRICTED},
                               {"dispatchable", TYPEFLAG_FDISPATCHABLE}};
constexpr Word kFunctionFlags[] = {{"restricted", FUNCFLAG_FRESTRICTED}, {"hidden", FUNCFLAG_FHIDDEN}};
constexpr Word kParameterFlags[] = {{"in", PARAMFLAG_FIN}, {"out", PARAMFLAG_FOUT}, {"retval", PARAMFLAG_FRETVAL}};
constexpr Word kImplementationFlags[] = {{"default", 1}};
constexpr Word kKinds[] = {
    {"enum", TKIND_ENUM}, {"interface", TKIND_INTERFACE}, {"dispatch", TKIND_DISPATCH}, {"coclass", TKIND_COCLASS}};
constexpr Word kInvocations[] = {
    {"call", INVOKE_FUNC}, {"get", INVOKE_PROPERTYGET}, {"put", INVOKE_PROPERTYPUT}, {"putref", INVOKE_PROPERTYPUTREF}};
// The last three are types of the standard library, which members of IDispatch use.
constexpr Word kTypes[] = {{"i1", VT_I1},
                           {"i2", VT_I2},
                           {"i4", VT_I4},
                           {"ui1", VT_UI1},
                           {"ui2", VT_UI2},
                           {"ui4", VT_UI4},
                           {"int", VT_INT},
                           {"uint", VT_UINT},
                           {"bstr", VT_BSTR},
                           {"bool", VT_BOOL},
                           {"void", VT_VOID},
                           {"disp", VT_DISPATCH},
                           {"variant", VT_VARIANT},
                           {"unk", VT_UNKNOWN},
                           {"hresult", VT_HRESULT},
                           {"GUID", VT_USERDEFINED},
                           {"DISPPARAMS", VT_USERDEFINED},
                           {"EXCEPINFO", VT_USERDEFINED}};
constexpr Word kStandardSlots[] = {{"IUnknown", 3}, {"IDispatch", 7}};

constexpr size_t kMaxPointers = 8;

const Word* Find(Words words, std::string_view text) {
    const auto found = std::find_if(words.begin(), words.end(), [&](const Word& word) { return word.text == text; });
    return found == words.end() ? nullptr : &*found;
}

std::u16string Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// What is left of a line. Each step takes its part from the front, or fails.
class Line {
public:
    Line(std::string_view text, size_t number) : rest_(text), number_(number) {
        const auto printed = [](char c) { return c >= ' ' && c <= '~'; };
        if (!std::all_of(text.begin(), text.end(), printed)) Fail("a character that no record has");
    }

    [[noreturn]] void Fail(const std::string& reason) const { throw RecordError{number_, reason}; }

    std::string_view Rest() const { return rest_; }
    bool Accept(std::string_view text) {
        const bool found = rest_.starts_with(text);
        if (found) rest_.remove_prefix(text.size());
        return found;
    }
    void Expect(std::string_view text) {
        if (!Accept(text)) Fail("\"" + std::string(text) + "\" is missing");
    }
    std::string_view TakeName() {
        constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
        const std::string_view name = rest_.substr(0, rest_.find_first_not_of(kLetters));
        if (name.empty()) Fail("a name is missing");
        rest_.remove_prefix(name.size());
        return name;
    }
    WORD TakeWord(Words words) {
        const std::string_view name = TakeName();
        const Word* const word = Find(words, name);
        if (!word) Fail("unknown word " + std::string(name));
        return word->value;
    }
    template <class Number>
    Number TakeNumber(int base = 10) {
        Number number = 0;
        const auto [end, code] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number, base);
        if (code != std::errc()) Fail("a number is missing or too large");
        rest_.remove_prefix(static_cast<size_t>(end - rest_.data()));
        return number;
    }
    MEMBERID TakeId() {
        Expect(" id 0x");
        return static_cast<MEMBERID>(TakeNumber<DWORD>(16));
    }
    GUID TakeGuid() {
        Expect(" ");
        GUID guid = {};
        const std::u16string text = Wide(rest_.substr(0, rest_.find('}') + 1));
        if (FAILED(IIDFromString(text.c_str(), &guid))) Fail("an identifier is missing or malformed");
        rest_.remove_prefix(text.size());
        return guid;
    }
    WORD TakeFlags(Words words) {
        if (!Accept(" [")) return 0;
        unsigned flags = 0;
        do {
            flags |= TakeWord(words);
        } while (Accept(","));
        Expect("]");
        return static_cast<WORD>(flags);
    }
    // The help string, if there is one, ends the line.
    std::u16string TakeHelp() {
        if (!rest_.empty() && (!rest_.starts_with(" \"") || rest_.size() < 3 || rest_.back() != '"')) {
            Fail("unexpected at the end: " + std::string(rest_));
        }
        return rest_.empty() ? std::u16string() : Wide(rest_.substr(2, rest_.size() - 3));
    }

private:
    std::string_view rest_;
    size_t number_;
};

// A type; a dual interface has two, that of its dispatch members and that of its virtual table.
struct Section {
    TypeEntry* entry;
    TYPEKIND kind;
    SHORT slots;
    Line heading;
    std::vector<Line> members;
    SHORT next = -1;  // slot of the next member
};

class Reader {
public:
    std::shared_ptr<const Library> Run(std::string_view text) {
        for (size_t number = 1; !text.empty(); ++number) {
            const size_t end = text.find('\n');
            const Line line(text.substr(0, end), number);
            if (end == std::string_view::npos) line.Fail("the line has no end");
            text.remove_prefix(end + 1);
            if (number == 1) {
                ReadLibrary(line);
            } else if (line.Rest().starts_with("  ") && !sections_.empty()) {
                sections_.back().members.push_back(line);
            } else if (!line.Rest().empty()) {
                ReadHeading(line);
            }
        }
        if (sections_.empty()) throw RecordError{1, "no types"};
        RequireVirtualTable();
        for (Section& section : sections_) ReadMembers(section);
        return library_;
    }

private:
    void ReadLibrary(Line line) {
        line.Expect("library ");
        library_->name = Wide(line.TakeName());
        library_->guid = line.TakeGuid();
        ReadVersion(line, *library_);
        line.Expect(" locale ");
        library_->lcid = line.TakeNumber<LCID>();
        library_->flags = line.TakeFlags(kLibraryFlags);
        library_->help = line.TakeHelp();
    }

    template <class Versioned>
    static void ReadVersion(Line& line, Versioned& out) {
        line.Expect(" version ");
        out.majorVersion = line.TakeNumber<WORD>();
        line.Expect(".");
        out.minorVersion = line.TakeNumber<WORD>();
    }

    void ReadHeading(const Line& whole) {
        Line line = whole;
        TypeEntry read;
        read.kind = static_cast<TYPEKIND>(line.TakeWord(kKinds));
        line.Expect(" ");
        read.name = Wide(line.TakeName());
        read.guid = line.TakeGuid();
        ReadVersion(line, read);
        read.flags = line.TakeFlags(kTypeFlags);
        if (line.Accept(" size ")) {
            line.TakeNumber<ULONG>();
            line.Expect("/");
            line.TakeNumber<WORD>();
        }
        if (line.Accept(" slots ")) read.slots = line.TakeNumber<SHORT>();
        if (line.Accept(" locale ")) line.TakeNumber<LCID>();
        line.TakeHelp();

        TypeEntry* entry = FindEntry(read.name);
        const bool otherSide = AwaitsVirtualTable() && sections_.back().entry == entry;
        if (!otherSide) RequireVirtualTable();
        if (entry && (!otherSide || read.kind != TKIND_INTERFACE || read.guid != entry->guid)) {
            line.Fail("a type of that name stands before");
        }
        const Section section = {entry, read.kind, read.slots, whole, {}};
        if (!entry) library_->types.push_back(std::make_unique<TypeEntry>(std::move(read)));
        sections_.push_back(section);
        sections_.back().entry = entry ? entry : library_->types.back().get();
    }

    bool AwaitsVirtualTable() const { return !sections_.empty() && sections_.back().kind == TKIND_DISPATCH; }
    void RequireVirtualTable() const {
        if (AwaitsVirtualTable()) sections_.back().heading.Fail("its virtual table does not follow");
    }

    TypeEntry* FindEntry(std::u16string_view name) const {
        const auto& types = library_->types;
        const auto found =
            std::find_if(types.begin(), types.end(), [&](const auto& type) { return type->name == name; });
        return found == types.end() ? nullptr : found->get();
    }

    void ReadMembers(Section& section) {
        for (Line line : section.members) {
            line.Expect("  ");
            if (section.kind == TKIND_ENUM) {
                ReadEnumerator(line);
            } else if (line.Accept("implements ")) {
                ReadBase(line, section);
            } else {
                ReadFunction(line, section);
            }
        }
        if (section.kind != TKIND_INTERFACE) return;
        const bool dual = section.entry->kind == TKIND_DISPATCH;
        const bool told = !dual || section.entry->functions.size() == static_cast<size_t>(section.slots);
        if (section.next < 0 || section.next != section.slots || !told) {
            section.heading.Fail("its virtual table is not complete");
        }
    }

    static void ReadEnumerator(Line& line) {
        line.TakeName();
        line.TakeId();
        line.Expect(" : int = ");
        line.TakeNumber<LONG>();
        line.TakeHelp();
    }

    // A base stands before the interfaces that derive from it, so that none leads back to itself.
    void ReadBase(Line& line, Section& section) const {
        const std::string_view name = line.TakeName();
        const Word* const standard = Find(kStandardSlots, name);
        const TypeEntry* const base = standard ? nullptr : FindEntry(Wide(name));
        line.TakeFlags(kImplementationFlags);
        line.TakeHelp();
        if (!standard && !base) line.Fail("unknown type " + std::string(name));
        if (section.kind == TKIND_COCLASS) return;
        const bool before = standard || (base->kind == TKIND_INTERFACE && IsBefore(*base, *section.entry));
        if (!before || section.next >= 0) line.Fail("no base: " + std::string(name));
        const SHORT slots = standard ? static_cast<SHORT>(standard->value) : base->slots;
        section.next = section.kind == TKIND_DISPATCH ? SHORT{0} : slots;
        section.entry->base = base;
    }

    bool IsBefore(const TypeEntry& first, const TypeEntry& second) const {
        const auto& types = library_->types;
        const auto either = [&](const auto& type) { return type.get() == &first || type.get() == &second; };
        return &first != &second && std::find_if(types.begin(), types.end(), either)->get() == &first;
    }

    void ReadFunction(Line& line, Section& section) const {
        Function read;
        line.Expect("slot ");
        read.slot = line.TakeNumber<SHORT>();
        if (read.slot < 0 || read.slot != section.next) line.Fail("a slot out of turn");
        ++section.next;
        read.id = line.TakeId();
        line.Expect(" ");
        read.kind = static_cast<INVOKEKIND>(line.TakeWord(kInvocations));
        line.Expect(section.kind == TKIND_DISPATCH ? "/dispatch" : "/virtual");
        read.flags = line.TakeFlags(kFunctionFlags);
        line.Expect(" ");
        read.result = TakeType(line);
        line.Expect(" ");
        read.name = Wide(line.TakeName());
        ReadParameters(line, read);
        line.TakeHelp();
        CheckFunction(line, read);
        Keep(line, section, std::move(read));
    }

    void ReadParameters(Line& line, Function& function) const {
        line.Expect("(");
        while (!line.Accept(")")) {
            if (!function.parameters.empty()) line.Expect(", ");
            Parameter parameter;
            parameter.type = TakeType(line);
            line.Expect(" ");
            if (!line.Accept("-")) parameter.name = Wide(line.TakeName());
            parameter.flags = line.TakeFlags(kParameterFlags);
            function.parameters.push_back(std::move(parameter));
        }
    }

    TypeUse TakeType(Line& line) const {
        TypeUse use;
        const std::string_view name = line.TakeName();
        if (const Word* const known = Find(kTypes, name)) {
            use.base = known->value;
        } else if (const TypeEntry* const entry = FindEntry(Wide(name))) {
            use.base = entry->kind == TKIND_ENUM ? VT_I4 : VT_USERDEFINED;
        } else {
            line.Fail("unknown type " + std::string(name));
        }
        while (line.Accept("*")) {
            if (++use.pointers > kMaxPointers) line.Fail("too many pointers");
        }
        return use;
    }

    // What invoking relies on.
    static void CheckFunction(const Line& line, const Function& function) {
        if (function.parameters.size() > kMaxParameters) line.Fail("too many parameters");
        if (function.IsPut() && (function.parameters.empty() || function.GivesResult())) line.Fail("no value to put");
        for (const Parameter& parameter : function.parameters) {
            const bool last = &parameter == &function.parameters.back();
            if (parameter.IsResult() && (!last || parameter.type.pointers == 0)) line.Fail("no place for a result");
        }
    }

    // The virtual table of a dual interface tells the same members again, as they are called: they replace what the
    // dispatch side says of them.
    static void Keep(const Line& line, const Section& section, Function&& read) {
        std::vector<Function>& functions = section.entry->functions;
        if (section.kind == section.entry->kind) return functions.push_back(std::move(read));
        const size_t slot = static_cast<size_t>(read.slot);
        const bool same = slot < functions.size() && functions[slot].name == read.name &&
                          functions[slot].id == read.id && functions[slot].kind == read.kind;
        if (!same) line.Fail("not what the dispatch side says");
        functions[slot] = std::move(read);
    }

    std::shared_ptr<Library> library_ = std::make_shared<Library>();
    std::vector<Section> sections_;
};

}  // namespace

std::shared_ptr<const Library> ReadTypeRecord(std::string_view text, RecordError& error) {
    try {
        return Reader().Run(text);
    } catch (const RecordError& found) {
        error = found;
        return nullptr;
    }
}

}  // namespace platform
