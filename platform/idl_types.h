// Names that a text may use for types, and the types that it has declared itself.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "platform/idl_lexer.h"
#include "platform/type_model.h"

namespace platform {

// A declared type; complete once its body was read.
struct IdlSymbol {
    TypeEntry* entry = nullptr;
    size_t line = 0;
    bool complete = false;
    bool listed = false;
};

// The bytes of a value of that type.
ULONG SizeOf(const TypeUse& use);

class IdlTypes {
public:
    explicit IdlTypes(const Library* standard) : standard_(standard) {}

    // The type of that name and kind, declared now if it was not before; fails when it is something else.
    IdlSymbol& Declare(Library& library, IdlLexer& lexer, std::string_view name, TYPEKIND kind);
    IdlSymbol* Find(std::string_view name);
    IdlSymbol* Find(const TypeEntry* entry);
    const TypeEntry* FindStandard(std::string_view name) const;

    // Reads a type with its pointers, as it stands ahead of a name.
    TypeUse TakeType(IdlLexer& lexer);

private:
    TypeUse TakeNumberType(IdlLexer& lexer);
    TypeUse TakeNamedType(IdlLexer& lexer);

    const Library* standard_;
    std::map<std::string, IdlSymbol, std::less<>> symbols_;
    std::map<const TypeEntry*, IdlSymbol*> byEntry_;
};

}  // namespace platform
