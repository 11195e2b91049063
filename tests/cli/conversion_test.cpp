// Conversions of real files inside the test program, on every system: what ends up where, and with which exit code.
#include "cli/commands.h"

#include <windows.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace talvo {
namespace {

namespace fs = std::filesystem;
using test::Load;
using test::Save;

class ConversionTest : public testing::Test {
protected:
    void SetUp() override { fs::create_directory("d"); }

    static int Run(const std::string& line) {
        std::istringstream words(line + " -q");
        std::vector<std::string> owned{std::istream_iterator<std::string>(words), {}};
        const char* const module = std::getenv("TALVO_MODULE");
        if (module && *module) owned.push_back(std::string("--module=") + module);
        std::vector<const char*> pointers;
        for (const std::string& word : owned) pointers.push_back(word.c_str());
        const ParsedOptions parsed = ParseOptions(pointers);
        EXPECT_EQ(parsed.complaint, "") << line;
        const bool info = parsed.options.command == Command::Info;
        return static_cast<int>(info ? TellInfo(parsed.options) : Convert(parsed.options));
    }

private:
    const test::CurrentTempFolder folder_;
};

TEST_F(ConversionTest, FilesFoldersAndForks) {
    std::string large(size_t{3} * 256 * 1024, '\0');  // whole chunks
    for (size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>((i * i) >> 7);
    Save("large", large);
    Save("abc", "abc");
    Save("fork", "FORK");
    Save("evil", "begin 644 ..\\evil\r\n#86)C\r\n`\r\nend\r\n");
    Save("stream", "begin 644 abc:x\r\n#86)C\r\n`\r\nend\r\n");
    Save("damaged", "QUJD*REVG");
    const std::string none = "(none)";
    const struct {
        const char* line;
        int exit;
        const char* file;
        std::string content;
    } kRows[] = {
        {"encode -fuu abc -ot --mode=0644", 0, "t", "begin 0644 abc\r\n#86)C\r\n`\r\nend"},
        {"decode -f uu t -o d", 0, "d/abc", "abc"},
        {"decode -f uu t -o d", 3, "d/abc", "abc"},
        {"decode -f uu t -o d\\ --append", 0, "d/abc", "abcabc"},
        {"decode -f uu t -o d/ --overwrite", 0, "d/abc", "abc"},
        {"decode -f uu evil -o d", 1, "evil", "begin 644 ..\\evil\r\n#86)C\r\n`\r\nend\r\n"},
        {"decode -f uu stream -o d", 1, "d/abc", "abc"},
        {"decode -f uu abc -o d/x", 1, "d/x", none},
        {"encode -f binhex abc --resource-fork fork --type TEXT -o h", 0, "abc", "abc"},
        {"decode -f binhex h -o o", 0, "o.rsrc", "FORK"},
        {"decode -f binhex h -o o --resource-fork r --overwrite", 0, "r", "FORK"},
        {"encode -f qp large --then base64 --then xx --name n -o t", 0, "o", "abc"},
        {"decode -f xx t --then base64 --then qp -o d", 0, "d/n", large},
        {"encode -f base64 -l 60 -l 64 -bcrlf --line-breaks lf large --output t", 0, "d/n", large},
        {"decode -ptf base64 t -ao o", 0, "o", "abc" + large},
        {"encode -f hex large --offset 699999 --size 1 -o t", 0, "t", "8E"},
        {"encode -f hex abc -o abc", 3, "abc", "abc"},
        {"info h", 0, "h.rsrc", none},
        {"info damaged -f base64", 1, "damaged", "QUJD*REVG"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(Run(row.line), row.exit) << row.line;
        EXPECT_EQ(Load(row.file), row.content) << row.line;
    }
}

}  // namespace
}  // namespace talvo
