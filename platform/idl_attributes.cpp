// See idl_attributes.h.
#include "platform/idl_attributes.h"

#include <algorithm>
#include <iterator>

#include "platform/wide_text.h"

namespace platform {
namespace {

const struct {
    std::string_view name;
    DWORD flag;
} kFlags[] = {
    {"control", kControl},
    {"hidden", kHidden},
    {"restricted", kRestricted},
    {"dual", kDual},
    {"oleautomation", kOleAutomation},
    {"nonextensible", kNonExtensible},
    {"object", kObject},
    {"local", kLocal},
    {"propget", kPropGet},
    {"propput", kPropPut},
    {"propputref", kPropPutRef},
    {"in", kIn},
    {"out", kOut},
    {"retval", kRetval},
    {"default", kDefault},
    {"v1_enum", kV1Enum},
    {"noncreatable", kNonCreatable},
    // About marshalling, which in-process calls do without.
    {"unique", 0},
    {"ref", 0},
    {"string", 0},
};

// Attributes with an argument that says how data is marshalled.
constexpr std::string_view kSkipped[] = {"pointer_default", "size_is", "length_is", "max_is", "iid_is"};

GUID TakeGuid(IdlLexer& lexer) {
    std::u16string text;
    GUID guid;
    const std::string_view raw = lexer.TakeRaw();
    if (!Widen(raw, text) || FAILED(IIDFromString((u'{' + text + u'}').c_str(), &guid))) lexer.Fail("malformed uuid");
    return guid;
}

WORD TakeVersionPart(IdlLexer& lexer, std::string_view& raw) {
    DWORD number = 0;
    size_t count = 0;
    for (; count < raw.size() && raw[count] >= '0' && raw[count] <= '9'; ++count) {
        number = number * 10 + static_cast<DWORD>(raw[count] - '0');
        if (number > 0xFFFF) lexer.Fail("version too large");
    }
    if (count == 0) lexer.Fail("malformed version");
    raw.remove_prefix(count);
    return static_cast<WORD>(number);
}

void TakeVersion(IdlLexer& lexer, Attributes& attributes) {
    std::string_view raw = lexer.TakeRaw();
    attributes.majorVersion = TakeVersionPart(lexer, raw);
    if (raw.starts_with('.')) {
        raw.remove_prefix(1);
        attributes.minorVersion = TakeVersionPart(lexer, raw);
    }
    if (!raw.empty()) lexer.Fail("malformed version");
}

void SkipArgument(IdlLexer& lexer) {
    for (size_t depth = 0; depth != 0 || !lexer.Is(")"); lexer.Advance()) {
        if (lexer.Current().kind == TokenKind::End) lexer.Fail("missing )");
        if (lexer.Is("(")) ++depth;
        if (lexer.Is(")")) --depth;
    }
}

// An attribute with an argument; the opening parenthesis is the current token.
void ReadArgument(IdlLexer& lexer, std::string_view name, Attributes& attributes) {
    if (name == "uuid") {
        attributes.guid = TakeGuid(lexer);
    } else if (name == "version") {
        TakeVersion(lexer, attributes);
    } else {
        lexer.Advance();
        if (name == "lcid") {
            attributes.lcid = static_cast<DWORD>(lexer.TakeInteger());
        } else if (name == "id") {
            attributes.id = static_cast<LONG>(lexer.TakeInteger());
        } else if (name == "helpstring") {
            attributes.help = lexer.TakeString();
        } else if (name == "helpfile") {
            attributes.helpFile = lexer.TakeString();
        } else if (std::find(std::begin(kSkipped), std::end(kSkipped), name) != std::end(kSkipped)) {
            SkipArgument(lexer);
        } else {
            lexer.Fail("unknown attribute " + std::string(name));
        }
    }
    lexer.Expect(")");
}

void ReadAttribute(IdlLexer& lexer, Attributes& attributes) {
    const std::string_view name = lexer.TakeWord();
    if (lexer.Is("(")) return ReadArgument(lexer, name, attributes);
    const auto* const known =
        std::find_if(std::begin(kFlags), std::end(kFlags), [&](const auto& flag) { return flag.name == name; });
    if (known == std::end(kFlags)) lexer.Fail("unknown attribute " + std::string(name));
    attributes.flags |= known->flag;
}

}  // namespace

Attributes ReadAttributes(IdlLexer& lexer) {
    Attributes attributes;
    attributes.line = lexer.Current().line;
    while (lexer.Accept("[")) {
        do {
            ReadAttribute(lexer, attributes);
        } while (lexer.Accept(","));
        lexer.Expect("]");
    }
    return attributes;
}

void CheckFlags(const Attributes& attributes, DWORD allowed, const char* place) {
    const DWORD wrong = attributes.flags & ~allowed;
    if (wrong == 0) return;
    const auto* const known =
        std::find_if(std::begin(kFlags), std::end(kFlags), [&](const auto& flag) { return (flag.flag & wrong) != 0; });
    throw IdlError{attributes.line, std::string(known->name) + " does not apply to " + place};
}

WORD TypeFlags(const Attributes& attributes) {
    WORD flags = 0;
    if (attributes.Has(kHidden)) flags |= TYPEFLAG_FHIDDEN;
    if (attributes.Has(kRestricted)) flags |= TYPEFLAG_FRESTRICTED;
    if (attributes.Has(kControl)) flags |= TYPEFLAG_FCONTROL;
    if (attributes.Has(kNonExtensible)) flags |= TYPEFLAG_FNONEXTENSIBLE;
    if (attributes.Has(kOleAutomation)) flags |= TYPEFLAG_FOLEAUTOMATION;
    if (attributes.Has(kDual)) flags |= TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION;
    return flags;
}

WORD FunctionFlags(const Attributes& attributes) {
    WORD flags = 0;
    if (attributes.Has(kRestricted)) flags |= FUNCFLAG_FRESTRICTED;
    if (attributes.Has(kHidden)) flags |= FUNCFLAG_FHIDDEN;
    return flags;
}

WORD ParameterFlags(const Attributes& attributes) {
    WORD flags = 0;
    if (attributes.Has(kIn)) flags |= PARAMFLAG_FIN;
    if (attributes.Has(kOut)) flags |= PARAMFLAG_FOUT;
    if (attributes.Has(kRetval)) flags |= PARAMFLAG_FRETVAL;
    return flags;
}

INVOKEKIND KindOf(const Attributes& attributes) {
    if (attributes.Has(kPropGet)) return INVOKE_PROPERTYGET;
    if (attributes.Has(kPropPut)) return INVOKE_PROPERTYPUT;
    return attributes.Has(kPropPutRef) ? INVOKE_PROPERTYPUTREF : INVOKE_FUNC;
}

}  // namespace platform
