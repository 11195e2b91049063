// The reader of interface definitions: where a text is refused, and that no text harms it.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include "platform/idl_parser.h"
#include "tests/platform/probe.h"

namespace {

constexpr const char* kId = "uuid(12d7ccf8-2904-41a3-ac11-1298089b493d)";

std::string InLibrary(const std::string& body) {
    return std::string("[") + kId + "]\nlibrary L\n{\n" + body + "\n};\n";
}
std::string InInterface(const std::string& members, const char* attributes = "dual", const char* base = "IDispatch") {
    return InLibrary(std::string("[object, ") + attributes + ", " + kId + "] interface I : " + base + "\n{\n" +
                     members + "\n};");
}

TEST(IdlParser, RefusesWithTheLine) {
    const struct {
        const char* name;
        std::string text;
        size_t line;
        const char* reason;
    } rows[] = {
        {"nothing", "", 1, "no library"},
        {"no library", "// only a remark\n\n", 3, "no library"},
        {"library without uuid", "\nlibrary L {};", 2, "without uuid"},
        {"two libraries", InLibrary("") + InLibrary(""), 7, "second library"},
        {"open comment", "\n/* no end", 2, "comment"},
        {"open string", "\nimport \"a", 2, "string"},
        {"open block", std::string("[") + kId + "]\nlibrary L\n{\n", 4, "definition"},
        {"malformed uuid", "[uuid(12)] library L {};", 1, "uuid"},
        {"unknown attribute", "[" + std::string(kId) + ",\nodd] library L {};", 2, "unknown attribute odd"},
        {"attribute in the wrong place", "[" + std::string(kId) + ", retval] library L {};", 1,
         "retval does not apply"},
        {"version too large", "[" + std::string(kId) + ", version(70000.1)] library L {};", 1, "version"},
        {"unknown type", InInterface("HRESULT M([in] ODD a);"), 6, "unknown type ODD"},
        {"number too large", InLibrary("enum E { a = 0x1FFFFFFFF };"), 4, "too large"},
        {"enumerator twice", InLibrary("enum E { a,\n a };"), 5, "twice"},
        {"type twice", InLibrary("enum E { a };\nenum E { b };"), 5, "twice"},
        {"two names for a type", InLibrary("typedef enum E { a } F;"), 4, "tag and name"},
        {"declared only", InLibrary("interface I;"), 4, "never defined"},
        {"interface by value", InInterface("HRESULT M([in] IUnknown a);"), 6, "pointer only"},
        {"base of itself", InLibrary("interface I;\n[object, " + std::string(kId) + "] interface I : I {};"), 5,
         "not complete"},
        {"retval ahead of others", InInterface("HRESULT M([out, retval] LONG *a, [in] LONG b);"), 6, "retval"},
        {"put without a value", InInterface("[propput] HRESULT M();"), 6, "value to put"},
        {"dual that returns a number", InInterface("LONG M();"), 6, "HRESULT"},
        {"dual that derives from IUnknown", InInterface("HRESULT M();", "dual", "IUnknown"), 4,
         "derives from IDispatch"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform::IdlError error{};
        EXPECT_FALSE(platform::ParseIdl(row.text, platform::StandardLibrary(), error));
        EXPECT_EQ(error.line, row.line) << error.reason;
        EXPECT_NE(error.reason.find(row.reason), std::string::npos) << error.reason;
    }
}

// One spelling of a name serves the whole library, as in a compiled one.
TEST(IdlParser, NamesAreSpeltOnce) {
    platform::IdlError error{};
    const auto library =
        platform::ParseIdl(InInterface("HRESULT First([in] LONG Value);\nHRESULT Second([in] LONG VALUE);"),
                           platform::StandardLibrary(), error);
    ASSERT_TRUE(library) << error.line << ' ' << error.reason;
    EXPECT_EQ(library->types[0]->functions[1].parameters[0].name, u"Value");
}

TEST(IdlParser, StandsAnyText) {
    std::string narrow;
    for (const char16_t c : probe::Beside("probe.tlb")) narrow += static_cast<char>(c);
    std::ifstream in(narrow, std::ios::binary);
    const std::string good((std::istreambuf_iterator<char>(in)), {});
    platform::IdlError error{};
    ASSERT_TRUE(platform::ParseIdl(good, platform::StandardLibrary(), error)) << error.line << ' ' << error.reason;
    const size_t lines = static_cast<size_t>(std::count(good.begin(), good.end(), '\n')) + 1;
    std::mt19937 random(20);
    const auto below = [&](size_t end) { return end == 0 ? 0 : random() % end; };
    for (int round = 0; round < 3000; ++round) {
        std::string text = good;
        for (size_t edit = 1 + below(5); edit != 0 && !text.empty(); --edit) {
            const size_t at = below(text.size());
            switch (below(5)) {
                case 0:
                    text[at] = static_cast<char>(random());
                    break;
                case 1:
                    text[at] = "[](){};,\"*/-#:="[below(15)];
                    break;
                case 2:
                    text.erase(at, below(60));
                    break;
                case 3:
                    text.insert(at, text.substr(below(text.size()), below(80)));
                    break;
                default:
                    text.resize(at);
                    break;
            }
        }
        // In a block of its own size, so that a sanitizer sees a reader that goes beyond it.
        const std::unique_ptr<char[]> block(new char[text.size()]);
        std::copy(text.begin(), text.end(), block.get());
        error = {};
        if (platform::ParseIdl({block.get(), text.size()}, platform::StandardLibrary(), error)) continue;
        EXPECT_GE(error.line, 1u);
        EXPECT_LE(error.line, lines + 400);
        EXPECT_FALSE(error.reason.empty());
    }
}

}  // namespace
