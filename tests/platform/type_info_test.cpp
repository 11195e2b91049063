// Type libraries and type information: loading, registration, what a client can ask about types and members.
#include <gtest/gtest.h>

#include <vector>

#include "tests/platform/probe.h"

namespace {

using probe::GetText;
using probe::InBraces;
using probe::Show;
using probe::Text;

constexpr LCID kEnglish = 1033;

std::string Take(BSTR text) {
    const std::string shown = Show(text);
    SysFreeString(text);
    return shown;
}

class TypeInfo : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(LoadTypeLibEx(file_.c_str(), REGKIND_NONE, &library_), S_OK);
        dual_ = Get(probe::kDual);
        ASSERT_TRUE(dual_);
    }
    void TearDown() override {
        if (dual_) dual_->Release();
        if (library_) library_->Release();
    }

    ITypeInfo* Get(REFGUID guid) const {
        ITypeInfo* info = nullptr;
        EXPECT_EQ(library_->GetTypeInfoOfGuid(guid, &info), S_OK);
        return info;
    }
    static std::vector<DISPID> Ids(ITypeInfo* info, std::vector<Text> names, HRESULT expected = S_OK) {
        std::vector<LPOLESTR> pointers;
        for (Text& name : names) pointers.push_back(name.data());
        std::vector<DISPID> ids(names.size(), 12345);
        EXPECT_EQ(info->GetIDsOfNames(pointers.data(), static_cast<UINT>(names.size()), ids.data()), expected);
        return ids;
    }

    const Text file_ = probe::Beside("probe.tlb");
    ITypeLib* library_ = nullptr;
    ITypeInfo* dual_ = nullptr;
};

TEST_F(TypeInfo, Library) {
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library_->GetLibAttr(&attributes), S_OK);
    EXPECT_TRUE(attributes->guid == probe::kLibrary);
    EXPECT_EQ(attributes->lcid, kEnglish);
    EXPECT_EQ(attributes->wMajorVerNum, 2);
    EXPECT_EQ(attributes->wMinorVerNum, 3);
    EXPECT_EQ(attributes->wLibFlags & LIBFLAG_FCONTROL, LIBFLAG_FCONTROL);
    library_->ReleaseTLibAttr(attributes);
    const struct {
        TYPEKIND kind;
        const char* name;
        const char* help;
    } rows[] = {
        {TKIND_DISPATCH, "\"DProbe\"", "\"Late-bound members\""},  // declared first
        {TKIND_ENUM, "\"EProbeColour\"", "\"Colours\""},
        {TKIND_INTERFACE, "\"INativeProbe\"", "\"Native members\""},
        {TKIND_COCLASS, "\"Probe\"", "\"Probe class\""},
    };
    ASSERT_EQ(library_->GetTypeInfoCount(), std::size(rows));
    for (UINT i = 0; i < std::size(rows); ++i) {
        TYPEKIND kind = TKIND_MAX;
        BSTR texts[3] = {};
        DWORD context = 1;
        EXPECT_EQ(library_->GetTypeInfoType(i, &kind), S_OK);
        EXPECT_EQ(kind, rows[i].kind);
        EXPECT_EQ(library_->GetDocumentation(static_cast<INT>(i), &texts[0], &texts[1], &context, &texts[2]), S_OK);
        EXPECT_EQ(Take(texts[0]), rows[i].name);
        EXPECT_EQ(Take(texts[1]), rows[i].help);
        EXPECT_EQ(Take(texts[2]), "\"probe.hlp\"");
        EXPECT_EQ(context, 0u);
    }
    BSTR help = nullptr;
    EXPECT_EQ(library_->GetDocumentation(-1, nullptr, &help, nullptr, nullptr), S_OK);
    EXPECT_EQ(Take(help), "\"Probe \"library\"\"");
    ITypeInfo* none = nullptr;
    EXPECT_EQ(library_->GetTypeInfo(4, &none), TYPE_E_ELEMENTNOTFOUND);
    EXPECT_EQ(library_->GetTypeInfoOfGuid(probe::kLibrary, &none), TYPE_E_ELEMENTNOTFOUND);
}

TEST_F(TypeInfo, NamesInTheLibrary) {
    const struct {
        const OLECHAR* name;
        BOOL known;
        USHORT found;
    } rows[] = {{OLESTR("DProbe"), TRUE, 1},
                {OLESTR("Count"), TRUE, 1},
                {OLESTR("pcGreen"), TRUE, 1},
                {OLESTR("nowhere"), FALSE, 0}};
    for (const auto& row : rows) {
        Text name = row.name;
        BOOL known = -1;
        ITypeInfo* infos[2] = {};
        MEMBERID ids[2] = {};
        USHORT count = 2;
        EXPECT_EQ(library_->IsName(name.data(), 0, &known), S_OK);
        EXPECT_EQ(known != FALSE, row.known != FALSE);
        EXPECT_EQ(library_->FindName(name.data(), 0, infos, ids, &count), S_OK);
        EXPECT_EQ(count, row.found);
        for (USHORT i = 0; i < count; ++i) infos[i]->Release();
    }
}

TEST_F(TypeInfo, IdentifiersOfNames) {
    EXPECT_EQ(Ids(dual_, {OLESTR("count")}), std::vector<DISPID>{1});
    EXPECT_EQ(Ids(dual_, {OLESTR("CONVERT"), OLESTR("vaMore"), OLESTR("bend")}), (std::vector<DISPID>{13, 2, 1}));
    EXPECT_EQ(Ids(dual_, {OLESTR("Convert"), OLESTR("odd"), OLESTR("bEnd")}, DISP_E_UNKNOWNNAME),
              (std::vector<DISPID>{13, -1, 1}));
    EXPECT_EQ(Ids(dual_, {OLESTR("odd")}, DISP_E_UNKNOWNNAME), std::vector<DISPID>{-1});
    EXPECT_EQ(Ids(dual_, {OLESTR("AboutBox")}), std::vector<DISPID>{-552});
    EXPECT_EQ(Ids(dual_, {OLESTR("Unnumbered")}), std::vector<DISPID>{0x6002000E});
}

TEST_F(TypeInfo, NamesOfIdentifiers) {
    const struct {
        MEMBERID id;
        HRESULT code;
        std::vector<std::string> names;
    } rows[] = {
        {1, S_OK, {"\"Count\""}},
        {13, S_OK, {"\"Convert\"", "\"vaSource\"", "\"bEnd\"", "\"vaMore\""}},
        {0x60000000, S_OK, {"\"QueryInterface\"", "\"riid\"", "\"ppvObj\""}},
        {999, TYPE_E_ELEMENTNOTFOUND, {}},
    };
    for (const auto& row : rows) {
        BSTR names[8] = {};
        UINT count = 77;
        EXPECT_EQ(dual_->GetNames(row.id, names, 8, &count), row.code);
        std::vector<std::string> shown;
        for (UINT i = 0; i < count; ++i) shown.push_back(Take(names[i]));
        EXPECT_EQ(shown, row.names);
    }
    BSTR one = nullptr;
    UINT count = 0;
    EXPECT_EQ(dual_->GetNames(13, &one, 1, &count), S_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(Take(one), "\"Convert\"");
}

// The two sides of a dual interface: what a late-bound caller sees, and what the virtual table has.
TEST_F(TypeInfo, SidesOfADualInterface) {
    HREFTYPE reference = 0;
    ITypeInfo* table = nullptr;
    ASSERT_EQ(dual_->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    ASSERT_EQ(dual_->GetRefTypeInfo(reference, &table), S_OK);
    TYPEATTR* late = nullptr;
    TYPEATTR* early = nullptr;
    ASSERT_EQ(dual_->GetTypeAttr(&late), S_OK);
    ASSERT_EQ(table->GetTypeAttr(&early), S_OK);
    EXPECT_TRUE(late->guid == early->guid);
    EXPECT_EQ(late->typekind, TKIND_DISPATCH);
    EXPECT_EQ(early->typekind, TKIND_INTERFACE);
    EXPECT_EQ(late->wTypeFlags & (TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE),
              TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE);
    EXPECT_EQ(late->cFuncs, early->cFuncs + 7) << "with the members of IDispatch";
    EXPECT_EQ(early->cbSizeVft, late->cFuncs * static_cast<int>(sizeof(void*)));
    const struct {
        UINT index;  // among the interface's own members
        MEMBERID id;
        INVOKEKIND kind;
        SHORT lateParameters;
        VARTYPE lateResult;
        SHORT earlyParameters;
    } rows[] = {
        {0, 1, INVOKE_PROPERTYGET, 0, VT_I4, 1},      {1, 1, INVOKE_PROPERTYPUT, 1, VT_VOID, 1},
        {3, 2, INVOKE_PROPERTYPUTREF, 1, VT_VOID, 1}, {4, 3, INVOKE_PROPERTYGET, 0, VT_USERDEFINED, 1},
        {6, 4, INVOKE_PROPERTYPUT, 2, VT_VOID, 2},    {9, 13, INVOKE_FUNC, 3, VT_VARIANT, 4},
        {10, 15, INVOKE_FUNC, 8, VT_I4, 9},           {13, -552, INVOKE_FUNC, 0, VT_VOID, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.index);
        FUNCDESC* seenLate = nullptr;
        FUNCDESC* seenEarly = nullptr;
        ASSERT_EQ(dual_->GetFuncDesc(row.index + 7, &seenLate), S_OK);
        ASSERT_EQ(table->GetFuncDesc(row.index, &seenEarly), S_OK);
        EXPECT_EQ(seenLate->memid, row.id);
        EXPECT_EQ(seenEarly->memid, row.id);
        EXPECT_EQ(seenLate->invkind, row.kind);
        EXPECT_EQ(seenLate->funckind, FUNC_DISPATCH);
        EXPECT_EQ(seenEarly->funckind, FUNC_PUREVIRTUAL);
        EXPECT_EQ(seenLate->cParams, row.lateParameters);
        EXPECT_EQ(seenEarly->cParams, row.earlyParameters);
        EXPECT_EQ(seenLate->elemdescFunc.tdesc.vt, row.lateResult);
        EXPECT_EQ(seenEarly->elemdescFunc.tdesc.vt, VT_HRESULT);
        EXPECT_EQ(seenLate->oVft, static_cast<SHORT>((row.index + 7) * sizeof(void*)));
        dual_->ReleaseFuncDesc(seenLate);
        table->ReleaseFuncDesc(seenEarly);
    }
    dual_->ReleaseTypeAttr(late);
    table->ReleaseTypeAttr(early);
    table->Release();
}

TEST_F(TypeInfo, EnumerationAndClass) {
    ITypeInfo* colours = Get(probe::kColours);
    const struct {
        const char* name;
        LONG value;
    } rows[] = {{"\"pcNone\"", 0}, {"\"pcRed\"", 16}, {"\"pcGreen\"", 17}, {"\"pcCold\"", -5}};
    for (UINT i = 0; i < std::size(rows); ++i) {
        VARDESC* member = nullptr;
        BSTR name = nullptr;
        ASSERT_EQ(colours->GetVarDesc(i, &member), S_OK);
        EXPECT_EQ(member->varkind, VAR_CONST);
        EXPECT_EQ(member->lpvarValue->lVal, rows[i].value);
        EXPECT_EQ(colours->GetDocumentation(member->memid, &name, nullptr, nullptr, nullptr), S_OK);
        EXPECT_EQ(Take(name), rows[i].name);
        colours->ReleaseVarDesc(member);
    }
    VARDESC* none = nullptr;
    EXPECT_EQ(colours->GetVarDesc(4, &none), TYPE_E_ELEMENTNOTFOUND);
    colours->Release();

    ITypeInfo* thing = Get(probe::kClass);
    const INT flags[] = {IMPLTYPEFLAG_FDEFAULT, 0, IMPLTYPEFLAG_FSOURCE | IMPLTYPEFLAG_FRESTRICTED};
    for (UINT i = 0; i < std::size(flags); ++i) {
        INT found = -1;
        EXPECT_EQ(thing->GetImplTypeFlags(i, &found), S_OK);
        EXPECT_EQ(found, flags[i]);
    }
    ITypeLib* library = nullptr;
    UINT index = 0;
    EXPECT_EQ(thing->GetContainingTypeLib(&library, &index), S_OK);
    EXPECT_EQ(index, 3u);
    library->Release();
    thing->Release();
}

TEST_F(TypeInfo, Loading) {
    ITypeLib* library = nullptr;
    for (const char* name : {"probe_module.dll", "probe_module.dll\\1"}) {
        ASSERT_EQ(LoadTypeLibEx(probe::Beside(name).c_str(), REGKIND_NONE, &library), S_OK) << name;
        library->Release();
    }
    for (const char* name : {"nothing.tlb", "no_folder/probe.tlb", "probe_module.dll\\7"}) {
        EXPECT_EQ(LoadTypeLibEx(probe::Beside(name).c_str(), REGKIND_NONE, &library), TYPE_E_CANTLOADLIBRARY) << name;
        EXPECT_FALSE(library);
    }
    EXPECT_EQ(LoadTypeLibEx(nullptr, REGKIND_NONE, &library), E_INVALIDARG);
    EXPECT_EQ(LoadTypeLibEx(file_.c_str(), REGKIND_NONE, nullptr), E_INVALIDARG);
}

TEST_F(TypeInfo, Registration) {
    constexpr SYSKIND kSystem = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;
    const std::string id = InBraces(probe::kLibrary);
    const std::string version = "TypeLib\\" + id + "\\2.3";
    const std::string face = "Interface\\" + InBraces(probe::kDual);
    ITypeLib* found = nullptr;
    EXPECT_EQ(LoadRegTypeLib(probe::kLibrary, 2, 3, kEnglish, &found), TYPE_E_LIBNOTREGISTERED);
    EXPECT_FALSE(found);
    Text help = OLESTR("a help folder");
    Text path = file_;
    ASSERT_EQ(RegisterTypeLib(library_, path.data(), help.data()), S_OK);
    const struct {
        std::string key, name, text;
    } entries[] = {
        {version, "", "Probe \"library\""},
        {version + (sizeof(void*) == 8 ? "\\409\\win64" : "\\409\\win32"), "", probe::Narrow(file_)},
        {version + "\\HELPDIR", "", "a help folder"},
        {face, "", "DProbe"},
        {face + "\\ProxyStubClsid32", "", "{00020424-0000-0000-C000-000000000046}"},
        {face + "\\TypeLib", "", id},
        {face + "\\TypeLib", "Version", "2.3"},
        {"Interface\\" + InBraces(probe::kNative), "", "no key"},  // it is not for automation
    };
    for (const auto& entry : entries) EXPECT_EQ(GetText(entry.key, entry.name), entry.text) << entry.key;
    EXPECT_NE(GetText(version + "\\FLAGS"), "no value");

    const struct {
        WORD major;
        WORD minor;
        LCID locale;
        HRESULT code;
    } rows[] = {{2, 3, kEnglish, S_OK},
                {2, 0, kEnglish, S_OK},
                {2, 4, kEnglish, TYPE_E_LIBNOTREGISTERED},
                {1, 3, kEnglish, TYPE_E_LIBNOTREGISTERED},
                {3, 3, kEnglish, TYPE_E_LIBNOTREGISTERED},
                {2, 3, 0x407, TYPE_E_LIBNOTREGISTERED}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.minor);
        BSTR where = nullptr;
        EXPECT_EQ(QueryPathOfRegTypeLib(probe::kLibrary, row.major, row.minor, row.locale, &where), row.code);
        SysFreeString(where);
        EXPECT_EQ(LoadRegTypeLib(probe::kLibrary, row.major, row.minor, row.locale, &found), row.code);
        if (found) found->Release();
        found = nullptr;
    }
    EXPECT_TRUE(FAILED(UnRegisterTypeLib(probe::kLibrary, 2, 3, 0x407, kSystem)));
    EXPECT_EQ(UnRegisterTypeLib(probe::kLibrary, 2, 3, kEnglish, kSystem), S_OK);
    EXPECT_EQ(GetText("TypeLib\\" + id), "no key");
    EXPECT_EQ(GetText(face), "no key");
    EXPECT_TRUE(FAILED(UnRegisterTypeLib(probe::kLibrary, 2, 3, kEnglish, kSystem)));
}

}  // namespace
