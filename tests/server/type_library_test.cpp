// The type library that the module carries and registers, member by member: tests/data/type_library.txt says what all
// platforms must tell of it. A change there is a change for clients (type_library_dump writes the file anew).
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "TalvoBinaryEncoding.h"
#include "com/com_ptr.h"
#include "com/unique.h"
#include "tests/support/module/module_fixture.h"
#include "tests/support/type_library_dump.h"

namespace talvo::test {
namespace {

using com::ComPtr;

ComPtr<ITypeLib> LibraryOfModule() {
    ComPtr<ITypeLib> library;
    EXPECT_EQ(Name(LoadTypeLibEx(Widen(Module::Get().Path()).c_str(), REGKIND_NONE, library.Put())), "S_OK");
    return library;
}

ComPtr<ITypeLib> RegisteredLibrary() {
    ComPtr<ITypeLib> library;
    EXPECT_EQ(Name(LoadRegTypeLib(LIBID_TalvoBinaryEncodingLib, 1, 1, 1033, library.Put())), "S_OK");
    return library;
}

// The first lines that differ, as a failure shows them.
std::string Difference(const std::string& expected, const std::string& found) {
    std::istringstream left(expected);
    std::istringstream right(found);
    for (int number = 1;; ++number) {
        std::string one;
        std::string other;
        const bool more = static_cast<bool>(std::getline(left, one));
        if (!std::getline(right, other) && !more) return "";
        if (one != other) return "line " + std::to_string(number) + "\n  recorded: " + one + "\n  found:    " + other;
    }
}

TEST(TypeLibrary, TellsOfEveryMemberWhatIsRecorded) {
    const char* const folder = std::getenv("TALVO_TEST_DATA");
    ASSERT_TRUE(folder);
    std::ifstream file(std::string(folder) + "/type_library.txt", std::ios::binary);
    std::stringstream recorded;
    recorded << file.rdbuf();
    ASSERT_GT(recorded.str().size(), 10000u);
    for (const ComPtr<ITypeLib>& library : {LibraryOfModule(), RegisteredLibrary()}) {
        ASSERT_TRUE(library);
        EXPECT_EQ(Difference(recorded.str(), DumpTypeLibrary(library.Get())), "");
    }
}

TEST(TypeLibrary, SystemKindIsThatOfTheModule) {
    const ComPtr<ITypeLib> library = LibraryOfModule();
    ASSERT_TRUE(library);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->syskind, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
    library->ReleaseTLibAttr(attributes);
}

TEST(TypeLibrary, HelpStringOfEachResultCodeIsItsMessage) {
    std::map<std::string, std::pair<HRESULT, std::string>> missing = {
#define RESULT_CODE(name, value, text) {#name, {static_cast<HRESULT>(value), text}},
#include "server/results/result_codes.def"
#undef RESULT_CODE
    };
    const ComPtr<ITypeLib> library = RegisteredLibrary();
    ASSERT_TRUE(library);
    GUID codes;
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(IIDFromString(OLESTR("{067BED88-4785-422B-A06C-87ED44F11DCD}"), &codes), S_OK);
    ASSERT_EQ(library->GetTypeInfoOfGuid(codes, info.Put()), S_OK);
    VARDESC* variable = nullptr;
    for (UINT i = 0; SUCCEEDED(info->GetVarDesc(i, &variable)); ++i) {
        com::UniqueBstr name;
        com::UniqueBstr help;
        EXPECT_EQ(info->GetDocumentation(variable->memid, name.Put(), help.Put(), nullptr, nullptr), S_OK);
        const auto text = [](const com::UniqueBstr& from) { return Narrow({from.Get(), SysStringLen(from.Get())}); };
        const auto code = missing.find(text(name));
        if (code == missing.end()) {
            ADD_FAILURE() << text(name) << " is no result code";
        } else {
            EXPECT_EQ(V_I4(variable->lpvarValue), code->second.first) << code->first;
            EXPECT_EQ(text(help), code->second.second) << code->first;
            missing.erase(code);
        }
        info->ReleaseVarDesc(variable);
    }
    EXPECT_TRUE(missing.empty()) << missing.begin()->first << " is not in the type library";
}

}  // namespace
}  // namespace talvo::test
