// The type library, member by member: the committed record, which is the library on Linux, says what the system tells of
// the compiled one. A change there is a change for clients (./dev idl writes the record anew).
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
#include "tools/type_library_dump/type_library_dump.h"

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

std::string Recorded(const char* name) {
    const char* const folder = std::getenv("TALVO_TEST_DATA");
    std::ifstream file(std::string(folder ? folder : ".") + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(TypeLibrary, TellsOfEveryMemberWhatIsRecorded) {
    const std::string recorded = Recorded("TalvoBinaryEncoding.typelib.txt");
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
    const std::string& module = Module::Get().Path();
    com::ComPtr<ITypeLib> ofModule, registered;
    ASSERT_EQ(Name(LoadTypeLibEx(Widen(module).c_str(), REGKIND_NONE, ofModule.Put())), "S_OK");
    ASSERT_EQ(Name(LoadRegTypeLib(LIBID_TalvoBinaryEncodingLib, 1, 1, 1033, registered.Put())), "S_OK");
    EXPECT_EQ(Difference(recorded, DumpTypeLibrary(ofModule.Get())), "");
    EXPECT_EQ(Difference(recorded, DumpTypeLibrary(registered.Get())), "");
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(ofModule->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->syskind, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
    ofModule->ReleaseTLibAttr(attributes);
}

}  // namespace
}  // namespace talvo::test
