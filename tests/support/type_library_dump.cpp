// See type_library_dump.h.
#include "tests/support/type_library_dump.h"

#include <objbase.h>
#include <oleauto.h>

#include <cstdio>
#include <iterator>
#include <string_view>

#include "com/com_ptr.h"
#include "com/unique.h"

namespace talvo::test {
namespace {

struct FlagName {
    unsigned flag;
    const char* name;
};

constexpr FlagName kLibraryFlags[] = {
    {LIBFLAG_FRESTRICTED, "restricted"}, {LIBFLAG_FCONTROL, "control"}, {LIBFLAG_FHIDDEN, "hidden"}};
constexpr FlagName kTypeFlags[] = {{TYPEFLAG_FAPPOBJECT, "appobject"},
                                   {TYPEFLAG_FCANCREATE, "cancreate"},
                                   {TYPEFLAG_FLICENSED, "licensed"},
                                   {TYPEFLAG_FHIDDEN, "hidden"},
                                   {TYPEFLAG_FCONTROL, "control"},
                                   {TYPEFLAG_FDUAL, "dual"},
                                   {TYPEFLAG_FNONEXTENSIBLE, "nonextensible"},
                                   {TYPEFLAG_FOLEAUTOMATION, "oleautomation"},
                                   {TYPEFLAG_FRESTRICTED, "restricted"},
                                   {TYPEFLAG_FDISPATCHABLE, "dispatchable"}};
constexpr FlagName kFunctionFlags[] = {{FUNCFLAG_FRESTRICTED, "restricted"},
                                       {FUNCFLAG_FSOURCE, "source"},
                                       {FUNCFLAG_FBINDABLE, "bindable"},
                                       {FUNCFLAG_FREQUESTEDIT, "requestedit"},
                                       {FUNCFLAG_FDISPLAYBIND, "displaybind"},
                                       {FUNCFLAG_FDEFAULTBIND, "defaultbind"},
                                       {FUNCFLAG_FHIDDEN, "hidden"}};
constexpr FlagName kParameterFlags[] = {{PARAMFLAG_FIN, "in"},        {PARAMFLAG_FOUT, "out"},
                                        {PARAMFLAG_FLCID, "lcid"},    {PARAMFLAG_FRETVAL, "retval"},
                                        {PARAMFLAG_FOPT, "optional"}, {PARAMFLAG_FHASDEFAULT, "defaultvalue"}};
constexpr FlagName kImplementationFlags[] = {
    {IMPLTYPEFLAG_FDEFAULT, "default"}, {IMPLTYPEFLAG_FSOURCE, "source"}, {IMPLTYPEFLAG_FRESTRICTED, "restricted"}};

constexpr const char* kKinds[] = {"enum", "record", "module", "interface", "dispatch", "coclass", "alias", "union"};

struct TypeName {
    VARTYPE type;
    const char* name;
};
constexpr TypeName kTypes[] = {
    {VT_EMPTY, "empty"},     {VT_I1, "i1"},        {VT_I2, "i2"},           {VT_I4, "i4"},
    {VT_I8, "i8"},           {VT_UI1, "ui1"},      {VT_UI2, "ui2"},         {VT_UI4, "ui4"},
    {VT_UI8, "ui8"},         {VT_INT, "int"},      {VT_UINT, "uint"},       {VT_BSTR, "bstr"},
    {VT_DISPATCH, "disp"},   {VT_BOOL, "bool"},    {VT_VARIANT, "variant"}, {VT_UNKNOWN, "unk"},
    {VT_HRESULT, "hresult"}, {VT_VOID, "void"},    {VT_R4, "r4"},           {VT_R8, "r8"},
    {VT_DATE, "date"},       {VT_CY, "cy"},        {VT_DECIMAL, "decimal"}, {VT_ERROR, "error"},
    {VT_LPSTR, "lpstr"},     {VT_LPWSTR, "lpwstr"}};

std::string Number(const char* format, unsigned long value) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}
std::string Decimal(unsigned long value) { return Number("%lu", value); }
std::string Code(HRESULT hr) { return Number("<0x%08lX>", static_cast<DWORD>(hr)); }
std::string Identifier(MEMBERID id) { return Number("0x%08lX", static_cast<DWORD>(id)); }

std::string Text(const com::UniqueBstr& text) {
    std::string narrow;
    for (UINT i = 0; i < SysStringLen(text.Get()); ++i) {
        const WCHAR character = text.Get()[i];
        narrow += character >= ' ' && character < 0x7F ? static_cast<char>(character) : '?';
    }
    return narrow;
}

std::string Quoted(const com::UniqueBstr& text) { return text ? " \"" + Text(text) + '"' : ""; }

std::string GuidText(REFGUID guid) {
    if (IsEqualGUID(guid, GUID_NULL)) return "";
    WCHAR wide[40];
    const int length = StringFromGUID2(guid, wide, 40);
    return " " + std::string(wide, wide + (length > 0 ? length - 1 : 0));
}

template <size_t Count>
std::string Flags(unsigned flags, const FlagName (&names)[Count]) {
    std::string text;
    for (const FlagName& row : names) {
        if (flags & row.flag) text += std::string(text.empty() ? "" : ",") + row.name;
        flags &= ~row.flag;
    }
    if (flags != 0) text += Number(",0x%lX", flags);
    return text.empty() ? "" : " [" + text + "]";
}

// Name, help string, help context and help file of a member; MEMBERID_NIL: of the type itself.
struct Documentation {
    com::UniqueBstr name;
    com::UniqueBstr help;
    com::UniqueBstr file;
    DWORD context = 0;

    std::string Help() const { return Quoted(help) + (context != 0 ? " context " + Decimal(context) : ""); }
};

class TypeDump {
public:
    TypeDump(ITypeInfo* info, std::string& out) : info_(info), out_(out) {}

    void Run() {
        TYPEATTR* attributes = nullptr;
        if (const HRESULT hr = info_->GetTypeAttr(&attributes); FAILED(hr)) return Line("  attributes " + Code(hr));
        Head(*attributes);
        for (UINT i = 0; i < attributes->cImplTypes; ++i) Implementation(i);
        for (UINT i = 0; i < attributes->cVars; ++i) Variable(i);
        for (UINT i = 0; i < attributes->cFuncs; ++i) Function(i);
        const bool dual = attributes->typekind == TKIND_DISPATCH && (attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0;
        info_->ReleaseTypeAttr(attributes);
        if (dual) Partner();
    }

private:
    void Line(const std::string& text) { out_ += text + '\n'; }

    Documentation Describe(MEMBERID id) {
        Documentation found;
        const HRESULT hr =
            info_->GetDocumentation(id, found.name.Put(), found.help.Put(), &found.context, found.file.Put());
        if (FAILED(hr)) Line("  documentation of " + Identifier(id) + " " + Code(hr));
        return found;
    }

    void Head(const TYPEATTR& attributes) {
        const Documentation self = Describe(MEMBERID_NIL);
        std::string line = kKinds[attributes.typekind % std::size(kKinds)];
        line += " " + Text(self.name) + GuidText(attributes.guid);
        line += " version " + Decimal(attributes.wMajorVerNum) + "." + Decimal(attributes.wMinorVerNum);
        line += Flags(attributes.wTypeFlags, kTypeFlags);
        const bool sized = attributes.typekind == TKIND_ENUM || attributes.typekind == TKIND_RECORD;
        if (sized) line += " size " + Decimal(attributes.cbSizeInstance) + "/" + Decimal(attributes.cbAlignment);
        if (attributes.cbSizeVft != 0) line += " slots " + Decimal(attributes.cbSizeVft / sizeof(void*));
        if (attributes.lcid != 0) line += " locale " + Decimal(attributes.lcid);
        Line(line + self.Help());
    }

    std::string Name(HREFTYPE reference) {
        com::ComPtr<ITypeInfo> type;
        com::UniqueBstr name;
        HRESULT hr = info_->GetRefTypeInfo(reference, type.Put());
        if (SUCCEEDED(hr)) hr = type->GetDocumentation(MEMBERID_NIL, name.Put(), nullptr, nullptr, nullptr);
        return SUCCEEDED(hr) ? Text(name) : Code(hr);
    }

    std::string Type(const TYPEDESC& type) {
        if (type.vt == VT_PTR) return Type(*type.lptdesc) + "*";
        if (type.vt == VT_SAFEARRAY) return "array(" + Type(*type.lptdesc) + ")";
        if (type.vt == VT_USERDEFINED) return Name(type.hreftype);
        if (type.vt == VT_CARRAY) {
            std::string text = Type(type.lpadesc->tdescElem);
            for (USHORT i = 0; i < type.lpadesc->cDims; ++i) {
                text += "[" + Decimal(type.lpadesc->rgbounds[i].cElements) + "]";
            }
            return text;
        }
        for (const TypeName& row : kTypes) {
            if (row.type == type.vt) return row.name;
        }
        return "vt" + Decimal(type.vt);
    }

    void Implementation(UINT index) {
        HREFTYPE reference = 0;
        INT flags = 0;
        if (const HRESULT hr = info_->GetRefTypeOfImplType(index, &reference); FAILED(hr)) {
            return Line("  implements " + Code(hr));
        }
        const HRESULT hr = info_->GetImplTypeFlags(index, &flags);
        Line("  implements " + Name(reference) + Flags(static_cast<unsigned>(flags), kImplementationFlags) +
             (FAILED(hr) ? Code(hr) : ""));
    }

    void Variable(UINT index) {
        VARDESC* variable = nullptr;
        if (const HRESULT hr = info_->GetVarDesc(index, &variable); FAILED(hr)) return Line("  variable " + Code(hr));
        const Documentation self = Describe(variable->memid);
        std::string line = "  " + Text(self.name) + " id " + Identifier(variable->memid);
        line += " : " + Type(variable->elemdescVar.tdesc);
        if (variable->varkind == VAR_CONST) {
            const VARIANT* const value = variable->lpvarValue;
            line += Number(" = %ld", static_cast<unsigned long>(static_cast<long>(V_I4(value))));
            if (V_VT(value) != VT_I4 && V_VT(value) != VT_INT) line += " vt" + Decimal(V_VT(value));
        } else {
            line += " at " + Decimal(variable->oInst);
        }
        if (variable->wVarFlags != 0) line += Number(" flags 0x%lX", variable->wVarFlags);
        info_->ReleaseVarDesc(variable);
        Line(line + self.Help());
    }

    void Function(UINT index) {
        FUNCDESC* function = nullptr;
        if (const HRESULT hr = info_->GetFuncDesc(index, &function); FAILED(hr)) return Line("  function " + Code(hr));
        constexpr UINT kMaxNames = 32;
        BSTR names[kMaxNames] = {};
        UINT count = 0;
        const HRESULT hr = info_->GetNames(function->memid, names, kMaxNames, &count);
        const Documentation self = Describe(function->memid);
        std::string line = "  slot " + Decimal(static_cast<unsigned>(function->oVft) / sizeof(void*)) + " id " +
                           Identifier(function->memid) + " " + Kind(*function) +
                           Flags(function->wFuncFlags, kFunctionFlags) + " " + Type(function->elemdescFunc.tdesc) +
                           " " + (SUCCEEDED(hr) ? Text(self.name) : Code(hr)) + "(";
        for (SHORT i = 0; i < function->cParams; ++i) {
            const ELEMDESC& parameter = function->lprgelemdescParam[i];
            const bool named = static_cast<UINT>(i) + 1 < count;
            line += std::string(i == 0 ? "" : ", ") + Type(parameter.tdesc) + " " +
                    (named ? TakeText(names[i + 1]) : std::string("-")) +
                    Flags(parameter.paramdesc.wParamFlags, kParameterFlags);
        }
        line += ")";
        if (function->cParamsOpt != 0) line += " optional " + Decimal(static_cast<unsigned>(function->cParamsOpt));
        for (UINT i = 0; i < count; ++i) SysFreeString(names[i]);
        info_->ReleaseFuncDesc(function);
        Line(line + self.Help());
    }

    static std::string TakeText(BSTR& text) {
        const com::UniqueBstr owner(text);
        text = nullptr;
        return Text(owner);
    }

    static std::string Kind(const FUNCDESC& function) {
        std::string text = function.invkind == INVOKE_FUNC          ? "call"
                           : function.invkind == INVOKE_PROPERTYGET ? "get"
                           : function.invkind == INVOKE_PROPERTYPUT ? "put"
                                                                    : "putref";
        text += function.funckind == FUNC_PUREVIRTUAL ? "/virtual"
                : function.funckind == FUNC_DISPATCH  ? "/dispatch"
                                                      : "/other";
        return function.callconv == CC_STDCALL ? text : text + Number("/cc%lu", function.callconv);
    }

    // The other side of a dual interface: its virtual table.
    void Partner() {
        HREFTYPE reference = 0;
        com::ComPtr<ITypeInfo> partner;
        HRESULT hr = info_->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference);
        if (SUCCEEDED(hr)) hr = info_->GetRefTypeInfo(reference, partner.Put());
        if (FAILED(hr)) return Line("  partner " + Code(hr));
        TypeDump(partner.Get(), out_).Run();
    }

    ITypeInfo* info_;
    std::string& out_;
};

std::string DumpHead(ITypeLib* library) {
    TLIBATTR* attributes = nullptr;
    if (const HRESULT hr = library->GetLibAttr(&attributes); FAILED(hr)) return "library " + Code(hr) + "\n";
    Documentation self;
    library->GetDocumentation(-1, self.name.Put(), self.help.Put(), &self.context, self.file.Put());
    std::string text = "library " + Text(self.name) + GuidText(attributes->guid) + " version " +
                       Decimal(attributes->wMajorVerNum) + "." + Decimal(attributes->wMinorVerNum) + " locale " +
                       Decimal(attributes->lcid) +
                       Flags(attributes->wLibFlags & ~LIBFLAG_FHASDISKIMAGE, kLibraryFlags) + self.Help() + "\n";
    library->ReleaseTLibAttr(attributes);
    return text;
}

}  // namespace

std::string DumpTypeLibrary(ITypeLib* library) {
    std::string text = DumpHead(library);
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        com::ComPtr<ITypeInfo> info;
        text += "\n";
        if (const HRESULT hr = library->GetTypeInfo(i, info.Put()); FAILED(hr)) {
            text += "type " + Code(hr) + "\n";
        } else {
            TypeDump(info.Get(), text).Run();
        }
    }
    return text;
}

}  // namespace talvo::test
