// The bracketed attributes ahead of a declaration.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <optional>
#include <string>

#include "platform/idl_lexer.h"

namespace platform {

enum AttributeFlag : DWORD {
    kControl = 1 << 0,
    kHidden = 1 << 1,
    kRestricted = 1 << 2,
    kDual = 1 << 3,
    kOleAutomation = 1 << 4,
    kNonExtensible = 1 << 5,
    kObject = 1 << 6,
    kLocal = 1 << 7,
    kPropGet = 1 << 8,
    kPropPut = 1 << 9,
    kPropPutRef = 1 << 10,
    kIn = 1 << 11,
    kOut = 1 << 12,
    kRetval = 1 << 13,
    kDefault = 1 << 14,
    kV1Enum = 1 << 15,
    kNonCreatable = 1 << 16,
};

struct Attributes {
    size_t line = 0;
    DWORD flags = 0;
    std::optional<GUID> guid;
    WORD majorVersion = 0;
    WORD minorVersion = 0;
    LCID lcid = 0;
    std::optional<LONG> id;
    std::u16string help;
    std::u16string helpFile;

    bool Has(DWORD flag) const { return (flags & flag) != 0; }
};

// Reads "[...]" if it comes next. Fails on attributes that are not known, and on flags outside `allowed`.
Attributes ReadAttributes(IdlLexer& lexer);
void CheckFlags(const Attributes& attributes, DWORD allowed, const char* place);

// What attributes mean for a type, a member and a parameter.
WORD TypeFlags(const Attributes& attributes);
WORD FunctionFlags(const Attributes& attributes);
WORD ParameterFlags(const Attributes& attributes);
INVOKEKIND KindOf(const Attributes& attributes);

}  // namespace platform
