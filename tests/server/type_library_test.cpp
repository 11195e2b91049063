// The type library that the module carries and registers, member by member: tests/data/type_library.txt says what all
// platforms must tell of it. A change there is a change for clients (type_library_dump writes the file anew).
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "TalvoBinaryEncoding.h"
#include "com/com_ptr.h"
#include "tests/support/module/module_fixture.h"
#include "tests/support/type_library_dump.h"

namespace talvo::test {
namespace {

// The first lines that differ, as a failure shows them.
std::string Difference(const std::string& expected, const std::string& found) {
    std::istringstream left(expected), right(found);
    for (int number = 1;; ++number) {
        std::string one, other;
        const bool more = static_cast<bool>(std::getline(left, one));
        if (!std::getline(right, other) && !more) return "";
        if (one != other) return "line " + std::to_string(number) + "\n  recorded: " + one + "\n  found:    " + other;
    }
}

TEST(TypeLibrary, TellsOfEveryMemberWhatIsRecorded) {
    const char* const folder = std::getenv("TALVO_TEST_DATA");
    ASSERT_TRUE(folder);
    std::ifstream file(std::string(folder) + "/type_library.txt", std::ios::binary);
    const std::string recorded(std::istreambuf_iterator<char>(file), {});
    ASSERT_GT(recorded.size(), 10000u);
    // The help string of each result code is its message.
    const struct {
        const char* name;
        long value;
        const char* text;
    } kCodes[] = {
#define RESULT_CODE(name, value, text) {#name, static_cast<HRESULT>(value), text},
#include "server/results/result_codes.def"
#undef RESULT_CODE
    };
    for (const auto& row : kCodes) {
        const std::string line = " : int = " + std::to_string(row.value) + " \"" + row.text + "\"\n";
        const size_t start = recorded.find("\n  " + std::string(row.name) + " id ");
        EXPECT_EQ(recorded.find(line, start), recorded.find(" : int", start)) << row.name;
    }
    com::ComPtr<ITypeLib> ofModule, registered;
    ASSERT_EQ(Name(LoadTypeLibEx(Widen(Module::Get().Path()).c_str(), REGKIND_NONE, ofModule.Put())), "S_OK");
    ASSERT_EQ(Name(LoadRegTypeLib(LIBID_TalvoBinaryEncodingLib, 1, 1, 1033, registered.Put())), "S_OK");
    for (ITypeLib* const library : {ofModule.Get(), registered.Get()}) {
        EXPECT_EQ(Difference(recorded, DumpTypeLibrary(library)), "");
        TLIBATTR* attributes = nullptr;
        ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
        EXPECT_EQ(attributes->syskind, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
        library->ReleaseTLibAttr(attributes);
    }
}

}  // namespace
}  // namespace talvo::test
