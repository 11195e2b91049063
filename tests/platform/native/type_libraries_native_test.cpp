// Type libraries as this system has them: where a record is refused, and that no text harms its reader; loading,
// registration, and which registered library serves a request.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>

#include "platform/type_record.h"
#include "tests/platform/kit.h"
#include "tests/support/registry_view.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace talvo::test;

constexpr GUID kLibrary = {0x12d7ccf8, 0x2904, 0x41a3, {0xac, 0x11, 0x12, 0x98, 0x08, 0x9b, 0x49, 0x3d}};

std::string GoodRecord() { return Load(Narrow(Beside("probe.tlb"))); }

TEST(TypeRecord, RefusesWithTheLine) {
    const std::string good = GoodRecord();
    platform::RecordError error;
    ASSERT_TRUE(platform::ReadTypeRecord(good, error)) << error.line << ' ' << error.reason;
    // One change each to the record of the probe library.
    const struct {
        const char* text;
        const char* instead;
        size_t line;
        const char* reason;
    } rows[] = {
        {"library ProbeLib", "ProbeLib", 1, "\"library \" is missing"},
        {"{12D7CCF8", "{12D7", 1, "identifier"},
        {"version 2.3", "version 70000.3", 1, "too large"},
        {"{0E47AC5F", "{00000000", 27, "stands before"},
        {"interface DProbe", "interface DOther", 3, "virtual table does not follow"},
        {"enum EProbeColour", "record EProbeColour", 45, "unknown word record"},
        {"[hidden] slots", "[hidden,odd] slots", 51, "unknown word odd"},
        {"implements IUnknown", "implements INativeProbe", 52, "no base"},
        {"  slot 12 id 0x00000003 put/virtual", "  slot 14 id 0x00000003 put/virtual", 34, "out of turn"},
        {"hresult Count(i4 p", "hresult Number(i4 p", 30, "dispatch side"},
        {"bool bEnd", "boolean bEnd", 21, "unknown type boolean"},
        {"disp* ppFriend", "disp ppFriend", 31, "no place for a result"},
        {"slots 6", "slots 7", 51, "not complete"},
        {": int = 16", ": int = red", 47, "number is missing"},
        {"\"A level\"", "\"A level", 54, "unexpected at the end"},
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

TEST(TypeRecord, StandsAnyText) {
    const std::string good = GoodRecord();
    std::mt19937 random(20);
    const auto below = [&](size_t end) { return random() % end; };
    for (int round = 0; round < 3000; ++round) {
        std::string text = good;
        for (size_t edit = 1 + below(5); edit != 0; --edit) {
            const size_t at = below(text.size()), line = text.rfind('\n', at) + 1;
            const std::string edits[] = {std::string(1, static_cast<char>(text[at] ^ 1 << below(8))),
                                         std::string(1, "[](){}, \"*/-0x:=\n"[below(17)]),
                                         text.substr(below(text.size()), below(80)), ""};
            const size_t kind = below(5);
            if (kind == 4) text.erase(line, text.find('\n', line) + 1 - line);
            if (kind < 4) text.replace(at, 1 + (kind == 3 ? below(60) : 0), edits[kind]);
        }
        // In a block of its own size, so that a sanitizer sees a reader that goes beyond it.
        const std::unique_ptr<char[]> block(new char[text.size()]);
        std::copy(text.begin(), text.end(), block.get());
        platform::RecordError error;
        if (platform::ReadTypeRecord({block.get(), text.size()}, error)) continue;
        EXPECT_GE(error.line, 1u);
        EXPECT_FALSE(error.reason.empty());
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
    WideText file = Beside("probe.tlb"), help = u"a help folder";
    ASSERT_EQ(LoadTypeLibEx(file.c_str(), REGKIND_NONE, &library), S_OK);
    ASSERT_EQ(RegisterTypeLib(library, file.data(), help.data()), S_OK);
    library->Release();
    const std::string id = "{12D7CCF8-2904-41A3-AC11-1298089B493D}", key = "TypeLib\\" + id;
    const std::string face = "Interface\\{0E47AC5F-CBD8-4715-A2FE-B468BE014AF6}";
    EXPECT_EQ(ReadTree(key), (RegistryTree{{key, "-"},
                                           {key + "\\2.3", "Probe \"library\""},
                                           {key + "\\2.3\\409", "-"},
                                           {key + "\\2.3\\409\\win64", Narrow(file)},
                                           {key + "\\2.3\\FLAGS", "2"},
                                           {key + "\\2.3\\HELPDIR", "a help folder"}}));
    EXPECT_EQ(ReadTree(face), (RegistryTree{{face, "DProbe"},
                                            {face + "\\ProxyStubClsid", "{00020424-0000-0000-C000-000000000046}"},
                                            {face + "\\ProxyStubClsid32", "{00020424-0000-0000-C000-000000000046}"},
                                            {face + "\\TypeLib", id},
                                            {face + "\\TypeLib : Version", "2.3"}}));
    EXPECT_EQ(OpenKey(HKEY_CLASSES_ROOT, "Interface\\{827CEA0C-1EF1-434B-9CDD-EDC435138048}"), ERROR_FILE_NOT_FOUND)
        << "it is not for automation";
    EXPECT_EQ(UnRegisterTypeLib(kLibrary, 2, 3, 0x407, SYS_WIN64), TYPE_E_REGISTRYACCESS);
    EXPECT_EQ(UnRegisterTypeLib(kLibrary, 2, 3, 0x409, SYS_WIN64), S_OK);
    EXPECT_EQ(ReadTree(key), RegistryTree());
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
