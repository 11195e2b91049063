// The reader and runner of registration scripts, on keys of the test's own.
#include "server/registry_script.h"

#include <gtest/gtest.h>

#include "tests/support/code_name.h"
#include "tests/support/registry_view.h"

namespace talvo::test {
namespace {

constexpr const char* kRoot = "TalvoTest";

std::string Run(std::string_view script, ScriptAction action) {
    const WideText module = Widen("C:\\a b\\m.dll"), name = Widen("TalvoTest"), quoted = Widen("'%MODULE%'");
    const ScriptMark marks[] = {{"%MODULE%", module}, {"%NAME%", name}, {"%QUOTED%", quoted}};
    return Name(RunRegistryScript(script, marks, action));
}
std::string Register(std::string_view script) { return Run(script, ScriptAction::Register); }
std::string Unregister(std::string_view script) { return Run(script, ScriptAction::Unregister); }

class RegistryScript : public testing::Test {
protected:
    ~RegistryScript() override { DeleteTree(HKEY_CLASSES_ROOT, kRoot); }
};

const struct {
    const char* Name;
    const char* Script;
    RegistryTree Written;
} kScripts[] = {
    {"bare and quoted names",
     "HKCR { TalvoTest = s 'x' { 'a b' Plain=s'y' } }",
     {{"TalvoTest", "x"}, {"TalvoTest\\a b", "-"}, {"TalvoTest\\Plain", "y"}}},
    {"quotes in quotes",
     "HKCR { TalvoTest = s 'it''s' { '''' = s '''' } }",
     {{"TalvoTest", "it's"}, {"TalvoTest\\'", "'"}}},
    {"the module's path",
     "HKCR { TalvoTest = s '%MODULE%, 101' { val Twice = s '%MODULE%|%MODULE%' } }",
     {{"TalvoTest", "C:\\a b\\m.dll, 101"}, {"TalvoTest : Twice", "C:\\a b\\m.dll|C:\\a b\\m.dll"}}},
    {"marks in names, and in what takes the place of one",
     "HKCR { %NAME% { 'a %NAME%' = s '%QUOTED%' } }",
     {{"TalvoTest", "-"}, {"TalvoTest\\a TalvoTest", "'%MODULE%'"}}},
    {"a mark cut short is text", "HKCR { TalvoTest = s '%MODULE %MODULE' }", {{"TalvoTest", "%MODULE %MODULE"}}},
    {"named values of the right key",
     "HKCR { TalvoTest { a { val v = s '1' } val w = s '2' } }",
     {{"TalvoTest", "-"}, {"TalvoTest\\a", "-"}, {"TalvoTest\\a : v", "1"}, {"TalvoTest : w", "2"}}},
    {"words of the notation as quoted names",
     "HKCR { TalvoTest { 'val' 'NoRemove' '{' } }",
     {{"TalvoTest", "-"}, {"TalvoTest\\val", "-"}, {"TalvoTest\\NoRemove", "-"}, {"TalvoTest\\{", "-"}}},
    {"empty texts and any white space", "\r\n\tHKCR\r\n{\r\nTalvoTest\t=\ts ''\r\n}\r\n", {{"TalvoTest", ""}}},
};

TEST_F(RegistryScript, WritesAndRemoves) {
    for (const auto& row : kScripts) {
        SCOPED_TRACE(row.Name);
        EXPECT_EQ(Register(row.Script), "S_OK");
        EXPECT_EQ(ReadTree(kRoot), row.Written);
        EXPECT_EQ(Unregister(row.Script), "S_OK");
        EXPECT_EQ(ReadTree(kRoot), RegistryTree());
    }
}

// A text that breaks off or goes astray anywhere changes nothing, whatever stood in front.
TEST_F(RegistryScript, BrokenScriptsChangeNothing) {
    const std::string good = "HKCR { TalvoTest = s 'x' { ForceRemove Kept = s 'y' { val v = s 'z' } } }";
    const std::string broken = Name(HRESULT_FROM_WIN32(ERROR_BAD_FORMAT));
    SetText("TalvoTest\\Kept", "from before");
    const RegistryTree before = ReadTree(kRoot);
    for (size_t length = 0; length < good.size(); ++length) {
        if (length == 4) length = 6;  // "HKCR" alone is a script
        EXPECT_EQ(Register(good.substr(0, length)), broken) << length;
        EXPECT_EQ(Unregister(good.substr(0, length)), broken) << length;
    }
    for (const char* const script :
         {"HKLM { TalvoTest }", "HKCR { TalvoTest } }", "HKCR { TalvoTest = 'x' }", "HKCR { TalvoTest = d '1' }",
          "HKCR { TalvoTest = s x }", "HKCR { val = s 'x' }", "HKCR { TalvoTest { val v } }", "HKCR { = s 'x' }",
          "HKCR { TalvoTest = s 'x' = s 'y' }", "HKCR { { TalvoTest } }", "HKCR { TalvoTest } HKCR { }", "'HKCR' { }",
          "HKCR { ForceRemove }", "HKCR TalvoTest"}) {
        EXPECT_EQ(Register(script), broken) << script;
    }
    std::string deep = "HKCR { TalvoTest ";
    for (int i = 0; i < 10'000; ++i) deep += "{ k ";
    EXPECT_EQ(Register(deep), broken);
    EXPECT_EQ(ReadTree(kRoot), before);
}

TEST_F(RegistryScript, TheMarksOfKeys) {
    const char* const script =
        "HKCR { NoRemove TalvoTest { Plain { Inner = s '1' val v = s '2' } ForceRemove Forced { Inner }"
        " NoRemove Stays = s 'text' { Inner } } }";
    ASSERT_EQ(Register(script), "S_OK");
    SetText("TalvoTest\\Plain\\Inner\\Foreign", "a");
    SetText("TalvoTest\\Forced\\Foreign", "b");
    SetText("TalvoTest\\Other", "c");
    ASSERT_EQ(Register(script), "S_OK");  // forced keys start afresh, others keep what is there
    RegistryTree tree = ReadTree(kRoot);
    EXPECT_FALSE(tree.contains("TalvoTest\\Forced\\Foreign"));
    EXPECT_TRUE(tree.contains("TalvoTest\\Plain\\Inner\\Foreign"));
    SetText("TalvoTest\\Forced\\Foreign", "b");
    EXPECT_EQ(Unregister(script), "S_OK");
    tree = ReadTree(kRoot);
    EXPECT_EQ(tree.erase("TalvoTest\\Stays"), 1u);  // whether it keeps its text is nobody's business here
    EXPECT_EQ(tree, (RegistryTree{{"TalvoTest", "-"},
                                  {"TalvoTest\\Other", "c"},
                                  {"TalvoTest\\Plain", "-"},
                                  {"TalvoTest\\Plain\\Inner", "-"},
                                  {"TalvoTest\\Plain\\Inner\\Foreign", "a"}}));
}

}  // namespace
}  // namespace talvo::test
