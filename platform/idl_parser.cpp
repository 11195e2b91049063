// See idl_parser.h. Declarations are read first; then the library lists its types in the order in which they stand, each
// one followed by those it uses, as the compilers of Windows do: indexes and the spelling of names depend on it.
#include "platform/idl_parser.h"

#include <algorithm>
#include <map>
#include <new>

#include "platform/idl_attributes.h"
#include "platform/idl_types.h"
#include "platform/wide_text.h"

namespace platform {
namespace {

constexpr SHORT kMaxSlots = 4000;  // the offset of the last one is a 16-bit number
constexpr size_t kMaxParameters = 64;
constexpr size_t kMaxVariables = 0x7FFF;
constexpr ULONG kMaxElements = 0xFFFF;
constexpr MEMBERID kGivenIds = 0x60000000;
constexpr MEMBERID kVariableIds = 0x40000000;
constexpr DWORD kTypeFlags = kHidden | kRestricted;

class Parser {
public:
    Parser(std::string_view text, std::shared_ptr<const Library> standard)
        : lexer_(text), library_(std::make_shared<Library>()), types_(standard.get()) {
        library_->standard = std::move(standard);
    }

    std::shared_ptr<const Library> Run() {
        while (lexer_.Current().kind != TokenKind::End) ReadDefinition(true);
        if (!found_) lexer_.Fail("no library");
        Spell(library_->name);
        for (TypeEntry* const entry : listed_) List(*types_.Find(entry));
        return library_;
    }

private:
    // ---- Definitions -----------------------------------------------------------------------------------------------------

    void ReadDefinition(bool outside) {
        if (lexer_.Is("import") || lexer_.Is("importlib") || lexer_.Is("cpp_quote")) return SkipQuote();
        if (lexer_.Accept("typedef")) return ReadTypedef(outside);
        const Attributes attributes = ReadAttributes(lexer_);
        if (lexer_.Accept("interface")) return ReadInterface(attributes, outside);
        if (lexer_.Accept("enum")) {
            ReadEnum(attributes, outside);
            return lexer_.Expect(";");
        }
        if (!outside && lexer_.Accept("coclass")) return ReadClass(attributes);
        if (outside && lexer_.Accept("library")) return ReadLibrary(attributes);
        lexer_.Fail("expected a definition");
    }

    void SkipQuote() {
        lexer_.Advance();
        const bool call = lexer_.Accept("(");
        static_cast<void>(lexer_.TakeString());
        while (!call && lexer_.Accept(",")) static_cast<void>(lexer_.TakeString());
        if (call) lexer_.Expect(")");
        lexer_.Accept(";");
    }

    void ReadLibrary(const Attributes& attributes) {
        if (found_) lexer_.Fail("a second library");
        found_ = true;
        CheckFlags(attributes, kControl | kTypeFlags, "a library");
        if (!attributes.guid) throw IdlError{attributes.line, "library without uuid"};
        library_->guid = *attributes.guid;
        library_->lcid = attributes.lcid;
        library_->majorVersion = attributes.majorVersion;
        library_->minorVersion = attributes.minorVersion;
        library_->help = attributes.help;
        library_->helpFile = attributes.helpFile;
        library_->flags = LIBFLAG_FHASDISKIMAGE;
        if (attributes.Has(kControl)) library_->flags |= LIBFLAG_FCONTROL;
        if (attributes.Has(kHidden)) library_->flags |= LIBFLAG_FHIDDEN;
        if (attributes.Has(kRestricted)) library_->flags |= LIBFLAG_FRESTRICTED;
        library_->name = Wide(lexer_.TakeWord());
        lexer_.Expect("{");
        while (!lexer_.Accept("}")) ReadDefinition(false);
        lexer_.Accept(";");
    }

    // Declares the type; one that is new in the library is listed from here on.
    IdlSymbol& Declare(TYPEKIND kind, bool outside) {
        const std::string_view name = lexer_.TakeWord();
        IdlSymbol& symbol = types_.Declare(*library_, lexer_, name, kind);
        if (!outside) listed_.push_back(symbol.entry);
        return symbol;
    }

    TypeEntry& Define(IdlSymbol& symbol, const Attributes& attributes) {
        if (symbol.complete) lexer_.Fail("defined twice");
        symbol.complete = true;
        TypeEntry& entry = *symbol.entry;
        entry.guid = attributes.guid.value_or(GUID{});
        entry.help = attributes.help;
        entry.majorVersion = attributes.majorVersion;
        entry.minorVersion = attributes.minorVersion;
        entry.flags = TypeFlags(attributes);
        return entry;
    }

    void ReadTypedef(bool outside) {
        const Attributes attributes = ReadAttributes(lexer_);
        const TypeEntry* entry = nullptr;
        if (lexer_.Accept("enum")) {
            entry = &ReadEnum(attributes, outside);
        } else {
            lexer_.Expect("struct");
            entry = &ReadStruct(attributes, outside);
        }
        if (Wide(lexer_.TakeWord()) != entry->name) lexer_.Fail("tag and name of a type must be the same");
        lexer_.Expect(";");
    }

    TypeEntry& ReadEnum(const Attributes& attributes, bool outside) {
        CheckFlags(attributes, kTypeFlags | kV1Enum, "an enumeration");
        TypeEntry& entry = Define(Declare(TKIND_ENUM, outside), attributes);
        entry.size = sizeof(LONG);
        entry.alignment = sizeof(LONG);
        LONG value = 0;
        lexer_.Expect("{");
        do {
            if (lexer_.Is("}") && !entry.variables.empty()) break;
            const Attributes member = ReadAttributes(lexer_);
            CheckFlags(member, 0, "an enumerator");
            Variable variable;
            variable.help = member.help;
            const std::string_view name = lexer_.TakeWord();
            variable.name = Wide(name);
            if (lexer_.Accept("=")) value = TakeConstant();
            if (!constants_.emplace(name, value).second) lexer_.Fail("enumerator defined twice");
            variable.type.base = VT_INT;
            variable.constant = true;
            variable.value = value;
            AddVariable(entry, std::move(variable));
            value = static_cast<LONG>(static_cast<DWORD>(value) + 1);
        } while (lexer_.Accept(","));
        lexer_.Expect("}");
        return entry;
    }

    LONG TakeConstant() {
        if (lexer_.Current().kind != TokenKind::Word) return static_cast<LONG>(lexer_.TakeInteger());
        const auto found = constants_.find(lexer_.TakeWord());
        if (found == constants_.end()) lexer_.Fail("unknown constant");
        return found->second;
    }

    TypeEntry& ReadStruct(const Attributes& attributes, bool outside) {
        CheckFlags(attributes, kTypeFlags, "a structure");
        IdlSymbol& symbol = Declare(TKIND_RECORD, outside);
        TypeEntry& entry = Define(symbol, attributes);
        symbol.complete = false;  // a structure cannot hold itself
        entry.alignment = 1;
        lexer_.Expect("{");
        while (!lexer_.Accept("}")) ReadField(entry);
        entry.size = (entry.size + entry.alignment - 1) / entry.alignment * entry.alignment;
        symbol.complete = true;
        return entry;
    }

    void ReadField(TypeEntry& entry) {
        Variable field;
        field.type = types_.TakeType(lexer_);
        RequireComplete(field.type);
        field.name = Wide(lexer_.TakeWord());
        const ULONG one = SizeOf(field.type);
        if (lexer_.Accept("[")) {
            const int64_t count = lexer_.TakeInteger();
            if (count < 1 || count > kMaxElements) lexer_.Fail("array of that size");
            field.type.elements = static_cast<ULONG>(count);
            lexer_.Expect("]");
        }
        lexer_.Expect(";");
        const bool isRecord = field.type.base == VT_USERDEFINED && field.type.pointers == 0;
        const ULONG alignment = std::max<ULONG>(isRecord ? field.type.target->alignment : std::min<ULONG>(one, 8), 1);
        field.offset = (entry.size + alignment - 1) / alignment * alignment;
        const uint64_t end = field.offset + uint64_t{one} * std::max<ULONG>(field.type.elements, 1);
        if (end > INT32_MAX) lexer_.Fail("structure too large");
        entry.size = static_cast<ULONG>(end);
        entry.alignment = static_cast<WORD>(std::max<ULONG>(entry.alignment, alignment));
        AddVariable(entry, std::move(field));
    }

    // A type used by value must be known to its last byte.
    void RequireComplete(const TypeUse& use) {
        if (use.pointers != 0) return;
        if (use.base == VT_VOID) lexer_.Fail("void is no value");
        if (use.base != VT_USERDEFINED) return;
        const IdlSymbol* const symbol = types_.Find(use.target);
        if (symbol && !symbol->complete) lexer_.Fail("type is not complete here");
    }

    void AddVariable(TypeEntry& entry, Variable variable) {
        if (entry.variables.size() == kMaxVariables) lexer_.Fail("too many members");
        variable.id = kVariableIds + static_cast<MEMBERID>(entry.variables.size());
        entry.variables.push_back(std::move(variable));
    }

    void ReadClass(const Attributes& attributes) {
        CheckFlags(attributes, kTypeFlags | kControl | kNonCreatable, "a class");
        TypeEntry& entry = Define(Declare(TKIND_COCLASS, false), attributes);
        if (!attributes.guid) throw IdlError{attributes.line, "class without uuid"};
        if (!attributes.Has(kNonCreatable)) entry.flags |= TYPEFLAG_FCANCREATE;
        entry.size = sizeof(void*);
        entry.alignment = 4;
        lexer_.Expect("{");
        while (!lexer_.Accept("}")) {
            const Attributes member = ReadAttributes(lexer_);
            CheckFlags(member, kDefault, "an interface of a class");
            lexer_.Expect("interface");
            Implementation implementation;
            implementation.type = TakeInterface();
            if (member.Has(kDefault)) implementation.flags |= IMPLTYPEFLAG_FDEFAULT;
            if (entry.implementations.size() == kMaxVariables) lexer_.Fail("too many interfaces");
            entry.implementations.push_back(implementation);
            lexer_.Expect(";");
        }
        lexer_.Accept(";");
    }

    const TypeEntry* TakeInterface() {
        const std::string_view name = lexer_.TakeWord();
        const IdlSymbol* const symbol = types_.Find(name);
        const TypeEntry* const entry = symbol ? symbol->entry : types_.FindStandard(name);
        if (!entry || (entry->kind != TKIND_INTERFACE && entry->kind != TKIND_DISPATCH)) {
            lexer_.Fail("unknown interface " + std::string(name));
        }
        return entry;
    }

    // ---- Interfaces ------------------------------------------------------------------------------------------------------

    void ReadInterface(const Attributes& attributes, bool outside) {
        IdlSymbol& symbol = Declare(TKIND_INTERFACE, outside);
        if (lexer_.Accept(";")) return;
        CheckFlags(attributes, kTypeFlags | kObject | kLocal | kDual | kOleAutomation | kNonExtensible, "an interface");
        TypeEntry& entry = Define(symbol, attributes);
        if (!attributes.guid) throw IdlError{attributes.line, "interface without uuid"};
        symbol.complete = false;  // neither its own base nor its own parameter by value
        entry.size = sizeof(void*);
        entry.alignment = sizeof(void*);
        if (library_->standard || lexer_.Is(":")) ReadBase(entry, attributes);
        entry.slots = entry.base ? entry.base->slots : SHORT{0};
        lexer_.Expect("{");
        while (!lexer_.Accept("}")) ReadMethod(entry);
        lexer_.Accept(";");
        symbol.complete = true;
    }

    void ReadBase(TypeEntry& entry, const Attributes& attributes) {
        lexer_.Expect(":");
        entry.base = TakeInterface();
        const IdlSymbol* const symbol = types_.Find(entry.base);
        if (symbol && !symbol->complete) lexer_.Fail("base is not complete here");
        entry.level = static_cast<WORD>(entry.base->level + 1);
        const TypeEntry* root = entry.base;
        while (root->base && root->base->level != 0) root = root->base;
        const bool dispatches = root->library == library_->standard.get() && root->level == 1;
        if (dispatches) entry.flags |= TYPEFLAG_FDISPATCHABLE;
        if (attributes.Has(kDual) && !dispatches)
            throw IdlError{attributes.line, "a dual interface derives from IDispatch"};
    }

    void ReadMethod(TypeEntry& entry) {
        if (lexer_.Is("cpp_quote")) return SkipQuote();
        const Attributes attributes = ReadAttributes(lexer_);
        CheckFlags(attributes, kTypeFlags | kPropGet | kPropPut | kPropPutRef | kLocal, "a method");
        Function function;
        function.kind = KindOf(attributes);
        function.flags = FunctionFlags(attributes);
        function.help = attributes.help;
        function.result = types_.TakeType(lexer_);
        if (lexer_.Is("__stdcall") || lexer_.Is("STDMETHODCALLTYPE")) lexer_.Advance();
        const size_t line = lexer_.Current().line;
        function.name = Wide(lexer_.TakeWord());
        ReadParameters(function);
        CheckMethod(entry, function, line);
        function.slot = entry.slots++;
        function.id = attributes.id.value_or(GivenId(entry, function));
        lexer_.Expect(";");
        entry.functions.push_back(std::move(function));
    }

    // What invoking relies on.
    static void CheckMethod(const TypeEntry& entry, const Function& function, size_t line) {
        const auto fail = [line](const char* reason) { throw IdlError{line, reason}; };
        if (entry.slots == kMaxSlots) fail("too many methods");
        if (entry.IsDual() && (function.result.base != VT_HRESULT || function.result.pointers != 0)) {
            fail("a method of a dual interface returns HRESULT");
        }
        const bool puts = function.kind == INVOKE_PROPERTYPUT || function.kind == INVOKE_PROPERTYPUTREF;
        if (puts && (function.parameters.empty() || function.GivesResult())) fail("a property needs a value to put");
        for (const Parameter& parameter : function.parameters) {
            if (!parameter.IsResult()) continue;
            const bool last = &parameter == &function.parameters.back();
            const bool pointer = parameter.type.pointers != 0;
            if (!last || !pointer || !(parameter.flags & PARAMFLAG_FOUT))
                fail("retval is the last parameter, a pointer out");
        }
    }

    // Without an identifier of its own a member is numbered by level and position; the accessors of a property share one.
    static MEMBERID GivenId(const TypeEntry& entry, const Function& function) {
        if (function.kind != INVOKE_FUNC) {
            for (const Function& earlier : entry.functions) {
                if (earlier.kind != INVOKE_FUNC && earlier.name == function.name) return earlier.id;
            }
        }
        return kGivenIds | entry.level << 16 | static_cast<MEMBERID>(entry.functions.size());
    }

    void ReadParameters(Function& function) {
        lexer_.Expect("(");
        if (lexer_.Accept(")")) return;
        do {
            const Attributes attributes = ReadAttributes(lexer_);
            CheckFlags(attributes, kIn | kOut | kRetval, "a parameter");
            Parameter parameter;
            parameter.type = types_.TakeType(lexer_);
            const bool nothing = parameter.type.base == VT_VOID && parameter.type.pointers == 0;
            if (nothing && function.parameters.empty() && lexer_.Accept(")")) return;
            RequireComplete(parameter.type);
            parameter.name = Wide(lexer_.TakeWord());
            parameter.flags = ParameterFlags(attributes);
            if (function.parameters.size() == kMaxParameters) lexer_.Fail("too many parameters");
            function.parameters.push_back(std::move(parameter));
        } while (lexer_.Accept(","));
        lexer_.Expect(")");
    }

    // ---- Listing ---------------------------------------------------------------------------------------------------------

    // Names that differ in case only are one name in a library: the first spelling stands for all.
    void Spell(std::u16string& name) { name = spellings_.emplace(Folded(name), name).first->second; }

    void ListUsed(const TypeEntry* entry) {
        if (!entry || entry->library != library_.get()) return;
        List(*types_.Find(entry));
    }

    void List(IdlSymbol& symbol) {
        if (symbol.listed) return;
        if (!symbol.complete) throw IdlError{symbol.line, "declared, used, and never defined"};
        TypeEntry& entry = *symbol.entry;
        symbol.listed = true;
        ListUsed(entry.base);
        entry.index = static_cast<UINT>(library_->types.size());
        library_->types.push_back(&entry);
        Spell(entry.name);
        if (entry.IsDual()) entry.kind = TKIND_DISPATCH;
        for (Variable& variable : entry.variables) {
            ListUsed(variable.type.target);
            Spell(variable.name);
        }
        for (Function& function : entry.functions) {
            ListUsed(function.result.target);
            for (const Parameter& parameter : function.parameters) ListUsed(parameter.type.target);
            Spell(function.name);
            for (Parameter& parameter : function.parameters) Spell(parameter.name);
        }
        for (const Implementation& implementation : entry.implementations) ListUsed(implementation.type);
    }

    std::u16string Wide(std::string_view name) const {
        std::u16string wide;
        if (!Widen(name, wide)) lexer_.Fail("malformed name");
        return wide;
    }

    IdlLexer lexer_;
    std::shared_ptr<Library> library_;
    IdlTypes types_;
    std::map<std::string, LONG, std::less<>> constants_;
    std::vector<TypeEntry*> listed_;  // in the order of the text
    std::map<std::u16string, std::u16string> spellings_;
    bool found_ = false;
};

}  // namespace

std::shared_ptr<const Library> ParseIdl(std::string_view text, std::shared_ptr<const Library> standard,
                                        IdlError& error) {
    try {
        return Parser(text, std::move(standard)).Run();
    } catch (const IdlError& found) {
        error = found;
        return nullptr;
    }
}

}  // namespace platform
