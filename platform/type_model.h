// What a type library says, as plain data, as far as late-bound calls and registration need it: the reader of records
// fills it, type information serves it. Nothing changes afterwards, so any number of threads may read it.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <memory>
#include <string>
#include <vector>

namespace platform {

inline constexpr size_t kMaxParameters = 64;

// A type as a member uses it: the innermost type, and how many pointers stand before it. An enumeration is the number
// that it is; other types of a library are VT_USERDEFINED.
struct TypeUse {
    VARTYPE base = VT_VOID;
    BYTE pointers = 0;
};

struct Parameter {
    std::u16string name;  // empty: it has none
    TypeUse type;
    WORD flags = 0;  // PARAMFLAG_*

    bool IsResult() const { return (flags & PARAMFLAG_FRETVAL) != 0; }
};

struct Function {
    std::u16string name;
    MEMBERID id = 0;
    INVOKEKIND kind = INVOKE_FUNC;
    WORD flags = 0;  // FUNCFLAG_*
    SHORT slot = 0;  // in the virtual table
    TypeUse result;
    std::vector<Parameter> parameters;

    bool IsPut() const { return kind == INVOKE_PROPERTYPUT || kind == INVOKE_PROPERTYPUTREF; }
    // For a late-bound caller the last parameter may be what the member gives back.
    bool GivesResult() const { return !parameters.empty() && parameters.back().IsResult(); }
};

struct TypeEntry {
    TYPEKIND kind = TKIND_INTERFACE;  // a dual interface: TKIND_DISPATCH
    GUID guid = {};
    std::u16string name;
    WORD flags = 0;  // TYPEFLAG_*
    WORD majorVersion = 0;
    WORD minorVersion = 0;

    // Of an interface:
    const TypeEntry* base = nullptr;  // when it is of the same library
    SHORT slots = 0;                  // of its virtual table; of a dual one those of IDispatch
    std::vector<Function> functions;  // its own; of a dual one all, in the order of the virtual table
};

struct Library {
    GUID guid = {};
    LCID lcid = 0;
    WORD majorVersion = 0;
    WORD minorVersion = 0;
    WORD flags = 0;  // LIBFLAG_*
    std::u16string name;
    std::u16string help;
    std::vector<std::unique_ptr<TypeEntry>> types;
};

}  // namespace platform
