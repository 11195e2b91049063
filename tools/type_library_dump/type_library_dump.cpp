// See type_library_dump.h. What our library does not use has no name here, and would show as a number.
#include "tools/type_library_dump/type_library_dump.h"

#include <objbase.h>
#include <oleauto.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

#include "com/com_ptr.h"
#include "com/unique.h"

namespace talvo {
namespace {

struct ValueName {
    unsigned value;
    const char* name;
};
using Names = std::vector<ValueName>;

const Names kLibraryFlags = {{LIBFLAG_FCONTROL, "control"}};
const Names kTypeFlags = {{TYPEFLAG_FCANCREATE, "cancreate"},
                          {TYPEFLAG_FHIDDEN, "hidden"},
                          {TYPEFLAG_FCONTROL, "control"},
                          {TYPEFLAG_FDUAL, "dual"},
                          {TYPEFLAG_FNONEXTENSIBLE, "nonextensible"},
                          {TYPEFLAG_FOLEAUTOMATION, "oleautomation"},
                          {TYPEFLAG_FRESTRICTED, "restricted"},
                          {TYPEFLAG_FDISPATCHABLE, "dispatchable"}};
const Names kFunctionFlags = {{FUNCFLAG_FRESTRICTED, "restricted"}, {FUNCFLAG_FHIDDEN, "hidden"}};
const Names kParameterFlags = {{PARAMFLAG_FIN, "in"}, {PARAMFLAG_FOUT, "out"}, {PARAMFLAG_FRETVAL, "retval"}};
const Names kImplementationFlags = {{IMPLTYPEFLAG_FDEFAULT, "default"}};
const Names kKinds = {
    {TKIND_ENUM, "enum"}, {TKIND_INTERFACE, "interface"}, {TKIND_DISPATCH, "dispatch"}, {TKIND_COCLASS, "coclass"}};
const Names kTypes = {{VT_I1, "i1"},           {VT_I2, "i2"},       {VT_I4, "i4"},          {VT_UI1, "ui1"},
                      {VT_UI2, "ui2"},         {VT_UI4, "ui4"},     {VT_INT, "int"},        {VT_UINT, "uint"},
                      {VT_BSTR, "bstr"},       {VT_BOOL, "bool"},   {VT_VOID, "void"},      {VT_DISPATCH, "disp"},
                      {VT_VARIANT, "variant"}, {VT_UNKNOWN, "unk"}, {VT_HRESULT, "hresult"}};
const Names kInvocations = {
    {INVOKE_FUNC, "call"}, {INVOKE_PROPERTYGET, "get"}, {INVOKE_PROPERTYPUT, "put"}, {INVOKE_PROPERTYPUTREF, "putref"}};
const Names kFunctionKinds = {{FUNC_PUREVIRTUAL, "/virtual"}, {FUNC_DISPATCH, "/dispatch"}};

std::string Number(const char* format, unsigned long value) {
    char text[40];
    std::snprintf(text, sizeof text, format, value);
    return text;
}
std::string Decimal(unsigned long value) { return Number("%lu", value); }
std::string Identifier(MEMBERID id) { return Number(" id 0x%08lX ", static_cast<DWORD>(id)); }
std::string Version(WORD major, WORD minor) { return " version " + Decimal(major) + "." + Decimal(minor); }

void Must(const char* call, HRESULT hr) {
    if (FAILED(hr)) throw std::runtime_error(call + Number(" answers 0x%08lX", static_cast<DWORD>(hr)));
}

std::string NameOf(unsigned value, const Names& names) {
    for (const ValueName& row : names) {
        if (row.value == value) return row.name;
    }
    return "(" + Decimal(value) + ")";
}

std::string Flags(unsigned flags, const Names& names) {
    std::string text;
    for (const ValueName& row : names) {
        if (flags & row.value) text += std::string(text.empty() ? "" : ",") + row.name;
        flags &= ~row.value;
    }
    if (flags != 0) text += Number(",0x%lX", flags);
    return text.empty() ? "" : " [" + text + "]";
}

std::string Text(const com::UniqueBstr& text) {
    std::string narrow;
    for (UINT i = 0; i < SysStringLen(text.Get()); ++i) {
        const WCHAR character = text.Get()[i];
        narrow += character >= ' ' && character < 0x7F ? static_cast<char>(character) : '?';
    }
    return narrow;
}

std::string GuidText(REFGUID guid) {
    if (IsEqualGUID(guid, GUID_NULL)) return "";
    WCHAR wide[40];
    const int length = StringFromGUID2(guid, wide, 40);
    return " " + std::string(wide, wide + (length > 0 ? length - 1 : 0));
}

struct Documentation {
    std::string name, help;
};

// Of a type's member, or of a library's type; MEMBERID_NIL: of itself.
template <class Described>
Documentation Describe(Described* described, INT member) {
    com::UniqueBstr name, help;
    DWORD context = 0;
    Must("GetDocumentation", described->GetDocumentation(member, name.Put(), help.Put(), &context, nullptr));
    return {Text(name), (help ? " \"" + Text(help) + '"' : "") + (context != 0 ? " context " + Decimal(context) : "")};
}

class TypeDump {
public:
    TypeDump(ITypeInfo* info, std::string& out) : info_(info), out_(out) {}

    void Run() {
        TYPEATTR* attributes = nullptr;
        Must("GetTypeAttr", info_->GetTypeAttr(&attributes));
        Head(*attributes);
        for (UINT i = 0; i < attributes->cImplTypes; ++i) Implementation(i);
        for (UINT i = 0; i < attributes->cVars; ++i) Variable(i);
        for (UINT i = 0; i < attributes->cFuncs; ++i) Function(i);
        const bool dual = attributes->typekind == TKIND_DISPATCH && (attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0;
        info_->ReleaseTypeAttr(attributes);
        // The other side of a dual interface: its virtual table.
        if (dual) TypeDump(Referred(ReferenceOf(static_cast<UINT>(-1))).Get(), out_).Run();
    }

private:
    void Head(const TYPEATTR& type) {
        const Documentation self = Describe(info_, MEMBERID_NIL);
        out_ += NameOf(type.typekind, kKinds) + " " + self.name + GuidText(type.guid);
        out_ += Version(type.wMajorVerNum, type.wMinorVerNum) + Flags(type.wTypeFlags, kTypeFlags);
        if (type.typekind == TKIND_ENUM)
            out_ += " size " + Decimal(type.cbSizeInstance) + "/" + Decimal(type.cbAlignment);
        if (type.cbSizeVft != 0) out_ += " slots " + Decimal(type.cbSizeVft / sizeof(void*));
        if (type.lcid != 0) out_ += " locale " + Decimal(type.lcid);
        out_ += self.help + "\n";
    }

    HREFTYPE ReferenceOf(UINT implementation) {
        HREFTYPE reference = 0;
        Must("GetRefTypeOfImplType", info_->GetRefTypeOfImplType(implementation, &reference));
        return reference;
    }
    com::ComPtr<ITypeInfo> Referred(HREFTYPE reference) {
        com::ComPtr<ITypeInfo> type;
        Must("GetRefTypeInfo", info_->GetRefTypeInfo(reference, type.Put()));
        return type;
    }
    std::string Name(HREFTYPE reference) { return Describe(Referred(reference).Get(), MEMBERID_NIL).name; }

    std::string Type(const TYPEDESC& type) {
        if (type.vt == VT_PTR) return Type(*type.lptdesc) + "*";
        if (type.vt == VT_USERDEFINED) return Name(type.hreftype);
        return NameOf(type.vt, kTypes);
    }

    void Implementation(UINT index) {
        INT flags = 0;
        Must("GetImplTypeFlags", info_->GetImplTypeFlags(index, &flags));
        out_ += "  implements " + Name(ReferenceOf(index)) + Flags(static_cast<unsigned>(flags), kImplementationFlags) +
                "\n";
    }

    void Variable(UINT index) {
        VARDESC* variable = nullptr;
        Must("GetVarDesc", info_->GetVarDesc(index, &variable));
        const Documentation self = Describe(info_, variable->memid);
        out_ += "  " + self.name + Identifier(variable->memid) + ": " + Type(variable->elemdescVar.tdesc);
        const VARIANT* const value = variable->varkind == VAR_CONST ? variable->lpvarValue : nullptr;
        const bool number = value && (V_VT(value) == VT_I4 || V_VT(value) == VT_INT);
        out_ += number ? " = " + std::to_string(V_I4(value)) : " is no constant number";
        if (variable->wVarFlags != 0) out_ += Number(" flags 0x%lX", variable->wVarFlags);
        info_->ReleaseVarDesc(variable);
        out_ += self.help + "\n";
    }

    void Function(UINT index) {
        FUNCDESC* function = nullptr;
        Must("GetFuncDesc", info_->GetFuncDesc(index, &function));
        BSTR given[32] = {};
        UINT count = 0;
        Must("GetNames", info_->GetNames(function->memid, given, 32, &count));
        std::vector<std::string> names;
        for (UINT i = 0; i < count; ++i) names.push_back(Text(com::UniqueBstr(given[i])));
        const Documentation self = Describe(info_, function->memid);
        out_ +=
            "  slot " + Decimal(static_cast<unsigned>(function->oVft) / sizeof(void*)) + Identifier(function->memid);
        out_ += NameOf(function->invkind, kInvocations) + NameOf(function->funckind, kFunctionKinds);
        if (function->callconv != CC_STDCALL) out_ += Number("/cc%lu", function->callconv);
        out_ +=
            Flags(function->wFuncFlags, kFunctionFlags) + " " + Type(function->elemdescFunc.tdesc) + " " + self.name;
        for (SHORT i = 0; i < function->cParams; ++i) {
            const ELEMDESC& parameter = function->lprgelemdescParam[i];
            const size_t name = static_cast<size_t>(i) + 1;
            out_ += (i == 0 ? "(" : ", ") + Type(parameter.tdesc) + " " + (name < names.size() ? names[name] : "-") +
                    Flags(parameter.paramdesc.wParamFlags, kParameterFlags);
        }
        out_ += function->cParams == 0 ? "()" : ")";
        if (function->cParamsOpt != 0) out_ += " optional " + Decimal(static_cast<unsigned>(function->cParamsOpt));
        info_->ReleaseFuncDesc(function);
        out_ += self.help + "\n";
    }

    ITypeInfo* info_;
    std::string& out_;
};

}  // namespace

std::string DumpTypeLibrary(ITypeLib* library) {
    TLIBATTR* attributes = nullptr;
    Must("GetLibAttr", library->GetLibAttr(&attributes));
    const Documentation self = Describe(library, MEMBERID_NIL);
    std::string text = "library " + self.name + GuidText(attributes->guid);
    text += Version(attributes->wMajorVerNum, attributes->wMinorVerNum) + " locale " + Decimal(attributes->lcid);
    text += Flags(attributes->wLibFlags & ~LIBFLAG_FHASDISKIMAGE, kLibraryFlags) + self.help + "\n";
    library->ReleaseTLibAttr(attributes);
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        com::ComPtr<ITypeInfo> info;
        Must("GetTypeInfo", library->GetTypeInfo(i, info.Put()));
        text += "\n";
        TypeDump(info.Get(), text).Run();
    }
    return text;
}

}  // namespace talvo
