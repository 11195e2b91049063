// See idl_types.h. The names of Windows' own headers stand for what those headers make of them.
#include "platform/idl_types.h"

#include <algorithm>
#include <iterator>

#include "platform/variant.h"
#include "platform/wide_text.h"

namespace platform {
namespace {

constexpr size_t kMaxTypes = 1024;  // listing a type may list those it uses: bounds that recursion
constexpr BYTE kMaxPointers = 8;

const struct {
    std::string_view name;
    VARTYPE type;
} kNames[] = {
    {"void", VT_VOID},        {"float", VT_R4},          {"double", VT_R8},      {"boolean", VT_I1},
    {"wchar_t", VT_I2},       {"BYTE", VT_UI1},          {"UCHAR", VT_UI1},      {"CHAR", VT_I1},
    {"SHORT", VT_I2},         {"USHORT", VT_UI2},        {"WORD", VT_UI2},       {"WCHAR", VT_I2},
    {"OLECHAR", VT_I2},       {"INT", VT_INT},           {"UINT", VT_UINT},      {"LONG", VT_I4},
    {"ULONG", VT_UI4},        {"DWORD", VT_UI4},         {"BOOL", VT_I4},        {"LONGLONG", VT_I8},
    {"ULONGLONG", VT_UI8},    {"FLOAT", VT_R4},          {"DOUBLE", VT_R8},      {"DATE", VT_DATE},
    {"CURRENCY", VT_CY},      {"DECIMAL", VT_DECIMAL},   {"SCODE", VT_ERROR},    {"HRESULT", VT_HRESULT},
    {"VARIANT", VT_VARIANT},  {"VARIANT_BOOL", VT_BOOL}, {"BSTR", VT_BSTR},      {"LPSTR", VT_LPSTR},
    {"LPCSTR", VT_LPSTR},     {"LPWSTR", VT_LPWSTR},     {"LPCWSTR", VT_LPWSTR}, {"LPOLESTR", VT_LPWSTR},
    {"LPCOLESTR", VT_LPWSTR}, {"LCID", VT_UI4},          {"DISPID", VT_I4},      {"OLE_COLOR", VT_UI4},
    {"SIZE_T", VT_UI8},
};

// Words that together name a number: unsigned long int, ...
struct NumberWords {
    bool isUnsigned = false;
    std::string_view size;  // of short, long, hyper, small, char, int: the one that decides
    size_t count = 0;
};

bool AddNumberWord(std::string_view word, NumberWords& words) {
    constexpr std::string_view kSizes[] = {"char", "small", "short", "long", "hyper", "__int64"};
    if (word == "unsigned" || word == "signed") {
        words.isUnsigned = word == "unsigned";
    } else if (std::find(std::begin(kSizes), std::end(kSizes), word) != std::end(kSizes)) {
        words.size = word;
    } else if (word == "int") {
        if (words.size.empty()) words.size = word;
    } else {
        return false;
    }
    ++words.count;
    return true;
}

VARTYPE NumberType(const NumberWords& words) {
    if (words.size == "char" || words.size == "small") return words.isUnsigned ? VT_UI1 : VT_I1;
    if (words.size == "short") return words.isUnsigned ? VT_UI2 : VT_I2;
    if (words.size == "long") return words.isUnsigned ? VT_UI4 : VT_I4;
    if (words.size == "hyper" || words.size == "__int64") return words.isUnsigned ? VT_UI8 : VT_I8;
    return words.isUnsigned ? VT_UINT : VT_INT;
}

}  // namespace

ULONG SizeOf(const TypeUse& use) {
    if (use.pointers != 0) return sizeof(void*);
    if (use.base == VT_USERDEFINED) return use.target->size;
    if (use.base == VT_HRESULT) return sizeof(HRESULT);
    const ULONG size = TypeSize(use.base);
    return size != 0 ? size : ULONG{sizeof(void*)};
}

IdlSymbol& IdlTypes::Declare(Library& library, IdlLexer& lexer, std::string_view name, TYPEKIND kind) {
    const auto found = symbols_.find(name);
    if (found != symbols_.end()) {
        if (found->second.entry->kind != kind) lexer.Fail(std::string(name) + " is declared as something else");
        return found->second;
    }
    if (library.storage.size() == kMaxTypes) lexer.Fail("too many types");
    library.storage.push_back(std::make_unique<TypeEntry>());
    TypeEntry* const entry = library.storage.back().get();
    entry->library = &library;
    entry->kind = kind;
    if (!Widen(name, entry->name)) lexer.Fail("malformed name");
    IdlSymbol& symbol = symbols_[std::string(name)];
    symbol.entry = entry;
    symbol.line = lexer.Current().line;
    byEntry_[entry] = &symbol;
    return symbol;
}

IdlSymbol* IdlTypes::Find(std::string_view name) {
    const auto found = symbols_.find(name);
    return found == symbols_.end() ? nullptr : &found->second;
}

IdlSymbol* IdlTypes::Find(const TypeEntry* entry) {
    const auto found = byEntry_.find(entry);
    return found == byEntry_.end() ? nullptr : found->second;
}

const TypeEntry* IdlTypes::FindStandard(std::string_view name) const {
    std::u16string wide;
    if (!standard_ || !Widen(name, wide)) return nullptr;
    const auto found = std::find_if(standard_->types.begin(), standard_->types.end(),
                                    [&](const TypeEntry* entry) { return entry->name == wide; });
    return found == standard_->types.end() ? nullptr : *found;
}

TypeUse IdlTypes::TakeNumberType(IdlLexer& lexer) {
    NumberWords words;
    while (lexer.Current().kind == TokenKind::Word && AddNumberWord(lexer.Current().text, words)) lexer.Advance();
    TypeUse use;
    use.base = words.count == 0 ? static_cast<VARTYPE>(VT_EMPTY) : NumberType(words);
    return use;
}

TypeUse IdlTypes::TakeNamedType(IdlLexer& lexer) {
    if (!lexer.Accept("enum")) lexer.Accept("struct");
    const size_t line = lexer.Current().line;
    const std::string_view name = lexer.TakeWord();
    TypeUse use;
    if (const IdlSymbol* const symbol = Find(name)) {
        use.base = VT_USERDEFINED;
        use.target = symbol->entry;
        if (symbol->entry->kind == TKIND_COCLASS) throw IdlError{line, "a class is no type"};
        return use;
    }
    const auto* const known =
        std::find_if(std::begin(kNames), std::end(kNames), [&](const auto& row) { return row.name == name; });
    if (known != std::end(kNames)) {
        use.base = known->type;
        return use;
    }
    use.target = FindStandard(name);
    if (!use.target) throw IdlError{line, "unknown type " + std::string(name)};
    use.base = VT_USERDEFINED;
    return use;
}

TypeUse IdlTypes::TakeType(IdlLexer& lexer) {
    lexer.Accept("const");
    const size_t line = lexer.Current().line;
    TypeUse use = TakeNumberType(lexer);
    if (use.base == VT_EMPTY) use = TakeNamedType(lexer);
    while (lexer.Is("*") || lexer.Is("const")) {
        if (lexer.Is("*") && ++use.pointers > kMaxPointers) lexer.Fail("too many pointers");
        lexer.Advance();
    }
    if (use.base != VT_USERDEFINED) return use;
    const bool isInterface = use.target->kind == TKIND_INTERFACE || use.target->kind == TKIND_DISPATCH;
    if (isInterface && use.pointers == 0) throw IdlError{line, "an interface is used by pointer only"};
    // The two base interfaces have a type of their own, which is a pointer already.
    if (isInterface && use.target->library == standard_) {
        use.base = use.target->level == 0 ? VT_UNKNOWN : VT_DISPATCH;
        use.target = nullptr;
        --use.pointers;
    }
    return use;
}

}  // namespace platform
