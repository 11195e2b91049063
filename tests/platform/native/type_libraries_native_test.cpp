// Type libraries as this system has them: where a record is refused, loading, registration, and which
// registered library serves a request.
#include <gtest/gtest.h>

#include <string>

#include "platform/type_record.h"
#include "tests/platform/kit.h"
#include "tests/support/registry_view.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace talvo::test;

constexpr GUID kLibrary = {0xacdab115, 0x5726, 0x46fd, {0xa9, 0xb9, 0xea, 0x65, 0x43, 0xa7, 0xf7, 0x91}};

std::string GoodRecord() { return Load(Narrow(Beside("sample.tlb"))); }

TEST(TypeRecord, RefusesWithTheLine) {
    const std::string good = GoodRecord();
    platform::RecordError error;
    ASSERT_TRUE(platform::ReadTypeRecord(good, error)) << error.line << ' ' << error.reason;
    // One change each to the record of the product's library.
    const struct {
        const char* text;
        const char* instead;
        size_t line;
        const char* reason;
    } rows[] = {
        {"library Talvo", "Talvo", 1, "\"library \" is missing"},
        {"{ACDAB115", "{ACDA", 1, "identifier"},
        {"version 1.1", "version 70000.3", 1, "too large"},
        {"{67B5C84B", "{00000000", 108, "stands before"},
        {"interface DTalvoBinaryEncoding", "interface DOther", 88, "virtual table does not follow"},
        {"enum ETBError", "record ETBError", 24, "unknown word record"},
        {"[hidden] slots", "[hidden,odd] slots", 63, "unknown word odd"},
        {"implements IUnknown", "implements ITalvoProcessData", 64, "no base"},
        {"slot 10 id 0x00000190 call/virtual", "slot 14 id 0x00000190 call/virtual", 113, "out of turn"},
        {"hresult MaxLineLength(i4 p", "hresult Number(i4 p", 152, "dispatch side"},
        {"bool bEnd", "boolean bEnd", 100, "unknown type boolean"},
        {"disp* ppiFormat", "disp ppiFormat", 110, "no place for a result"},
        {"slots 7 ", "slots 8 ", 63, "not complete"},
        {": int = 256", ": int = red", 14, "number is missing"},
        {"\"Line break\"", "\"Line break", 7, "unexpected at the end"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.instead);
        std::string text = good;
        text.replace(text.find(row.text), std::string(row.text).size(), row.instead);
        error = {};
        EXPECT_FALSE(platform::ReadTypeRecord(text, error));
        EXPECT_EQ(error.line, row.line) << error.reason;
        EXPECT_NE(error.reason.find(row.reason), std::string::npos) << error.reason;
    }
}

TEST(TypeLibraries, FilesThatAreNone) {
    const struct {
        std::string file;
        HRESULT code;
    } rows[] = {{"nothing.tlb", TYPE_E_CANTLOADLIBRARY},
                {SAMPLE_MODULE, TYPE_E_INVDATAREAD},
                {SAMPLE_MODULE "\\1", TYPE_E_INVDATAREAD},
                {SAMPLE_MODULE "\\7", TYPE_E_CANTLOADLIBRARY}};
    for (const auto& row : rows) {
        ITypeLib* library = reinterpret_cast<ITypeLib*>(1);
        EXPECT_EQ(LoadTypeLibEx(Beside(row.file.c_str()).c_str(), REGKIND_NONE, &library), row.code) << row.file;
        EXPECT_FALSE(library);
    }
}

TEST(TypeLibraries, Registration) {
    ITypeLib* library = nullptr;
    WideText file = Beside("sample.tlb"), help = u"a help folder";
    ASSERT_EQ(LoadTypeLibEx(file.c_str(), REGKIND_NONE, &library), S_OK);
    ASSERT_EQ(RegisterTypeLib(library, file.data(), help.data()), S_OK);
    library->Release();
    const std::string id = GuidText(kLibrary), version = "TypeLib\\" + id + "\\1.1";
    const std::string face = "Interface\\{67B5C84B-FB8C-4558-9DD1-C4143B1706ED}";
    EXPECT_EQ(GetText(version + "\\409\\win64"), Narrow(file));
    EXPECT_EQ(GetText(version + "\\FLAGS"), "2");
    const std::string proxy = "{00020424-0000-0000-C000-000000000046}";
    EXPECT_EQ(ReadTree(face), (RegistryTree{{face, "DTalvoBinaryEncoding"},
                                            {face + "\\ProxyStubClsid", proxy},
                                            {face + "\\ProxyStubClsid32", proxy},
                                            {face + "\\TypeLib", id},
                                            {face + "\\TypeLib : Version", "1.1"}}));
    EXPECT_EQ(OpenKey(HKEY_CLASSES_ROOT, "Interface\\{20CB3678-7CE1-4069-BD0E-D981B2E71A4D}"), ERROR_FILE_NOT_FOUND)
        << "it is not for automation";
    EXPECT_EQ(UnRegisterTypeLib(kLibrary, 1, 1, 0x407, SYS_WIN64), TYPE_E_REGISTRYACCESS);
    EXPECT_EQ(UnRegisterTypeLib(kLibrary, 1, 1, 0x409, SYS_WIN64), S_OK);
    EXPECT_EQ(ReadTree("TypeLib\\" + id), RegistryTree());
    EXPECT_EQ(ReadTree(face), RegistryTree());
}

// A library for a locale serves that locale, one for a language all its locales, a neutral one everybody; a version
// serves those who ask for it or for an earlier minor one.
TEST(TypeLibraries, VersionsAndLocales) {
    const std::string id = "TypeLib\\" + GuidText(kLibrary);
    const struct {
        const char* registered;
        LCID asked;
        bool found;
        WORD major = 2, minor = 3;
    } rows[] = {{"409", 0x409, true},        {"409", 0x809, false},       {"9", 0x809, true},
                {"0", 0x407, true},          {"407", 0, false},           {"409", 0x409, true, 2, 0},
                {"409", 0x409, false, 2, 4}, {"409", 0x409, false, 1, 3}, {"409", 0x409, false, 3, 3}};
    for (const auto& row : rows) {
        SetText(id + "\\2.3\\" + row.registered + "\\win64", "x");
        BSTR path = nullptr;
        EXPECT_EQ(QueryPathOfRegTypeLib(kLibrary, row.major, row.minor, row.asked, &path),
                  row.found ? S_OK : TYPE_E_LIBNOTREGISTERED)
            << row.registered << ' ' << row.asked << ' ' << row.minor;
        SysFreeString(path);
        DeleteTree(HKEY_CLASSES_ROOT, id);
    }
}

}  // namespace
