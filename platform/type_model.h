// What a type library says, as plain data: the parser fills it, type information serves it. Nothing changes afterwards, so
// any number of threads may read it.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <memory>
#include <string>
#include <vector>

namespace platform {

struct Library;
struct TypeEntry;

// A type as a declaration uses it: the innermost type, and how many pointers stand before it.
struct TypeUse {
    VARTYPE base = VT_VOID;
    BYTE pointers = 0;
    const TypeEntry* target = nullptr;  // of VT_USERDEFINED
    ULONG elements = 0;                 // not 0: a one-dimensional array of so many
};

struct Parameter {
    std::u16string name;
    TypeUse type;
    WORD flags = 0;  // PARAMFLAG_*

    bool IsResult() const { return (flags & PARAMFLAG_FRETVAL) != 0; }
};

struct Function {
    std::u16string name;
    std::u16string help;
    MEMBERID id = 0;
    INVOKEKIND kind = INVOKE_FUNC;
    WORD flags = 0;  // FUNCFLAG_*
    SHORT slot = 0;  // in the virtual table
    TypeUse result;
    std::vector<Parameter> parameters;

    // Seen as a member of a dispatch interface, the last parameter may be what the member gives back.
    bool GivesResult() const { return !parameters.empty() && parameters.back().IsResult(); }
};

// An enumerator or a field.
struct Variable {
    std::u16string name;
    std::u16string help;
    MEMBERID id = 0;
    TypeUse type;
    bool constant = false;
    LONG value = 0;    // of an enumerator
    ULONG offset = 0;  // of a field
};

struct Implementation {
    const TypeEntry* type = nullptr;
    INT flags = 0;  // IMPLTYPEFLAG_*
};

struct TypeEntry {
    const Library* library = nullptr;
    UINT index = 0;
    TYPEKIND kind = TKIND_INTERFACE;  // a dual interface: TKIND_DISPATCH
    GUID guid = {};
    std::u16string name;
    std::u16string help;
    WORD flags = 0;  // TYPEFLAG_*
    WORD majorVersion = 0;
    WORD minorVersion = 0;
    ULONG size = 0;
    WORD alignment = 0;
    std::vector<Variable> variables;
    std::vector<Implementation> implementations;  // of a class

    // Of an interface:
    const TypeEntry* base = nullptr;
    WORD level = 0;  // number of bases
    SHORT slots = 0;
    std::vector<Function> functions;  // its own

    bool IsDual() const { return (flags & TYPEFLAG_FDUAL) != 0; }
};

struct Library {
    GUID guid = {};
    LCID lcid = 0;
    WORD majorVersion = 0;
    WORD minorVersion = 0;
    WORD flags = 0;  // LIBFLAG_*
    std::u16string name;
    std::u16string help;
    std::u16string helpFile;
    std::vector<std::unique_ptr<TypeEntry>> storage;
    std::vector<TypeEntry*> types;            // what the library lists
    std::shared_ptr<const Library> standard;  // the library that the bases of all interfaces come from
};

// The standard library: IUnknown, IDispatch and what their members are made of.
std::shared_ptr<const Library> StandardLibrary();

}  // namespace platform
