// Type libraries and type information: loading, registration, identifiers of names.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/platform/probe.h"

namespace {

using probe::GetText;
using probe::GuidText;
using probe::Text;

constexpr LCID kEnglish = 1033;

class TypeInfo : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(LoadTypeLibEx(file_.c_str(), REGKIND_NONE, &library_), S_OK);
        ASSERT_EQ(library_->GetTypeInfoOfGuid(probe::kDual, &dual_), S_OK);
    }
    void TearDown() override {
        if (dual_) dual_->Release();
        if (library_) library_->Release();
    }

    const Text file_ = probe::Beside("probe.tlb");
    ITypeLib* library_ = nullptr;
    ITypeInfo* dual_ = nullptr;
};

TEST_F(TypeInfo, IdentifiersOfNames) {
    const struct {
        std::vector<Text> names;
        std::vector<DISPID> ids;  // -1 for a name that is not known
    } rows[] = {
        {{OLESTR("count")}, {1}},
        {{OLESTR("CONVERT"), OLESTR("vaMore"), OLESTR("bend")}, {13, 2, 1}},
        {{OLESTR("Convert"), OLESTR("odd"), OLESTR("bEnd")}, {13, -1, 1}},
        {{OLESTR("odd")}, {-1}},
    };
    for (const auto& row : rows) {
        std::vector<LPOLESTR> names;
        for (const Text& name : row.names) names.push_back(const_cast<LPOLESTR>(name.c_str()));
        std::vector<DISPID> ids(names.size(), 12345);
        const bool known = std::find(row.ids.begin(), row.ids.end(), -1) == row.ids.end();
        EXPECT_EQ(dual_->GetIDsOfNames(names.data(), static_cast<UINT>(names.size()), ids.data()),
                  known ? S_OK : DISP_E_UNKNOWNNAME);
        EXPECT_EQ(ids, row.ids);
    }
    ITypeInfo* none = nullptr;
    EXPECT_EQ(library_->GetTypeInfoOfGuid(probe::kLibrary, &none), TYPE_E_ELEMENTNOTFOUND);
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
    const std::string id = GuidText(probe::kLibrary);
    const std::string version = "TypeLib\\" + id + "\\2.3";
    const std::string face = "Interface\\" + GuidText(probe::kDual);
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
        {face, "", "DProbe"},
        {face + "\\ProxyStubClsid32", "", "{00020424-0000-0000-C000-000000000046}"},
        {face + "\\TypeLib", "", id},
        {face + "\\TypeLib", "Version", "2.3"},
        {"Interface\\" + GuidText(probe::kNative), "", "no key"},  // it is not for automation
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
