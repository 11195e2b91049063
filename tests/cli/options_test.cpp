// Command lines and what they mean, without running anything.
#include "cli/options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cli/carried_name.h"
#include "cli/commands.h"
#include "cli/progress.h"
#include "cli/streams.h"

namespace talvo {
namespace {

// Words are separated by blanks; _ stands for an empty one.
ParsedOptions Parse(std::string line) {
    std::ranges::replace(line, ' ', '\0');
    std::vector<const char*> words;
    for (size_t at = 0; at < line.size(); at += std::string_view(line.c_str() + at).size() + 1)
        words.push_back(line[at] == '_' ? "" : line.c_str() + at);
    return ParseOptions(words);
}

std::string Shown(const Stage& stage) {
    std::string text(NameOf(stage.format));
    const auto add = [&](const char* name, const auto& value) {
        if (value) text += std::string(" ") + name + std::to_string(static_cast<long long>(*value));
    };
    add("l", stage.lineLength);
    add("b", stage.lineBreaks);
    add("m", stage.mode);
    add("F", stage.flags);
    add("d", stage.dataLength);
    add("r", stage.resourceLength);
    if (stage.name) text += " n" + *stage.name;
    if (stage.type) text += " T" + std::string(stage.type->begin(), stage.type->end());
    if (stage.creator) text += " C" + std::string(stage.creator->begin(), stage.creator->end());
    return text + (stage.noHeader ? " bare" : "");
}

// All that the parser can set, in a form that a failure shows.
std::string Summary(const Options& o) {
    std::string text = std::string(NameOf(o.command)) + (o.help ? " help " : " ") + o.source + ">" + o.destination;
    for (const Stage& stage : o.stages) text += " | " + Shown(stage);
    const auto add = [&](bool set, const std::string& what) { text += set ? " ; " + what : ""; };
    add(o.tolerant, "tolerant");
    add(o.quiet, "quiet");
    add(o.progress, "progress");
    add(o.verbose, "verbose");
    add(o.append, "append");
    add(o.overwrite, "overwrite");
    add(!o.module.empty(), o.module);
    add(!o.resourceFork.empty(), o.resourceFork);
    add(o.offset != 0, "from " + std::to_string(o.offset));
    add(o.size.has_value(), "size " + std::to_string(o.size.value_or(0)));
    return text;
}

TEST(Options, Understood) {
    const struct {
        const char* line;
        const char* summary;
    } kRows[] = {
        {"encode -fbase64 in -oout", "encode in>out | base64"},
        {"decode -f qp -blf --output out in", "decode in>out | qp b2"},
        {"decode -qvtf binhex in", "decode in>- | binhex ; tolerant ; quiet ; verbose"},
        {"encode -l 4294967295 -bcrlf -f xx --line-breaks=lf -b cr", "encode ->- | xx l4294967295 b3"},
        {"encode -p -f base64 --module=m.so", "encode ->- | base64 ; progress ; m.so"},
        {"encode -f uu -n a -m 0755 --no-header", "encode ->- | uu m493 na bare"},
        {"encode --name a -f hex -l 8 --then uu --then base64 -l 4 -f binhex -l 6",
         "encode ->- | binhex l6 na | uu | base64 l4"},
        {"encode -f binhex --type TEXT --creator 0x41624344 --flags 0x100 --data-length 7 --resource-length 0",
         "encode ->- | binhex F256 d7 r0 TTEXT CAbCD"},
        {"encode -f binhex --resource-fork r --offset 18446744073709551615 --size 0 -ao x",
         "encode ->x | binhex ; append ; r ; from 18446744073709551615 ; size 0"},
        {"decode -f uu --then binhex --resource-fork r --overwrite -o f/", "decode ->f/ | uu | binhex ; overwrite ; r"},
        {"info", "info ->- | base64"},
        {"info -f uu --no-header in --offset 3", "info in>- | uu bare ; from 3"},
        {"unregister m.so -q", "unregister ->- | base64 ; quiet ; m.so"},
        {"help decode", "decode help ->- | base64"},
        {"--version --module m.so", "--version ->- | base64 ; m.so"},
    };
    for (const auto& row : kRows) {
        const ParsedOptions parsed = Parse(row.line);
        EXPECT_EQ(parsed.complaint, "") << row.line;
        EXPECT_EQ(Summary(parsed.options), row.summary) << row.line;
    }
}

TEST(Options, Refused) {
    const struct {
        const char* line;
        const char* complaint;  // a part of it
    } kRows[] = {
        {"", "no command"},
        {"frobnicate", "no command 'frobnicate'"},
        {"encode", "no format"},
        {"encode in out -f base64", "unexpected argument 'out'"},
        {"encode -f base65", "does not take 'base65'; it expects uu, xx, base64"},
        {"encode -f", "'--format' needs a value"},
        {"encode -f base64 -o _", "'--output' does not take ''"},
        {"encode -f base64 _", "file name is empty"},
        {"encode -f base64 --line-length 4294967296", "does not take '4294967296'"},
        {"encode -f base64 -l 7x", "does not take '7x'"},
        {"encode -f base64 -b dos", "expects crlf, lf, cr or none"},
        {"encode -f uu -m 10000", "does not take '10000'"},
        {"encode -f binhex --type TEX", "expects four characters"},
        {"encode -f binhex --flags 65536", "does not take '65536'"},
        {"encode -f base64 --wrap 7", "no option '--wrap'"},
        {"encode -f base64 -qz", "no option '-z'"},
        {"encode -f base64 --quiet=1", "'--quiet' takes no value"},
        {"encode -f base64 --tolerant", "does not go with 'encode'"},
        {"decode -f base64 -l 5", "does not go with 'decode'"},
        {"decode -f base64 -b lf", "does not go with 'decode -f base64'"},
        {"encode --name x -f base64", "'--name' does not go with 'encode -f base64'"},
        {"encode -f uu --then hex --mode 644", "'--mode' does not go with 'encode -f hex'"},
        {"encode -f uu --then binhex --resource-fork r", "does not go with 'encode -f uu'"},
        {"decode -f binhex --no-header --resource-fork r", "no resource fork"},
        {"encode -f uu --append", "'--append' needs a file"},
        {"info --tolerant", "does not go with 'info'"},
        {"register a b", "unexpected argument 'b'"},
        {"--version now", "unexpected argument 'now'"},
    };
    for (const auto& row : kRows) {
        const std::string complaint = Parse(row.line).complaint;
        EXPECT_NE(complaint.find(row.complaint), std::string::npos) << row.line << ": " << complaint;
    }
}

TEST(Help, FitsATerminal) {
    for (const Command command :
         {Command::Overview, Command::Encode, Command::Decode, Command::Info, Command::Register}) {
        std::string_view text = HelpFor(command);
        for (size_t end; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1))
            EXPECT_LE(end, 80u) << text.substr(0, end);
        EXPECT_EQ(text, "") << "the last line is not ended";
    }
}

TEST(Progress, Lines) {
    constexpr ULONGLONG kMax = ~0ull;
    const struct {
        ProgressState state;
        const char* line;
    } kRows[] = {
        {{1, 3, 500}, " 33% [########                ] 1 byte of 3 bytes     2 bytes/s"},
        {{1024, 1024, 0}, "100% [########################] 1.0 KiB of 1.0 KiB  1000.0 KiB/s"},
        {{kMax, kMax, 1000}, "100% [########################] 15.9 EiB of 15.9 EiB    15.9 EiB/s"},
        {{5ull << 20, std::nullopt, 1000}, "5.0 MiB     5.0 MiB/s"},
    };
    for (const auto& row : kRows) EXPECT_EQ(ProgressLine(row.state), row.line);
}

TEST(CarriedNames, NeverLeaveTheFolder) {
    using namespace std::string_literals;
    const struct {
        const char* fault;  // a part of it; empty: the names are good
        std::vector<std::string> names;
    } kRows[] = {
        {"", {"photo.jpg", "a b", " a", ".profile", "-rf", "...a", "console", "com", "com10", "lpt.txt", "\xC3\xBC.t"}},
        {"empty", {""}},
        {"folder", {".", ".."}},
        {"another folder", {"/etc/passwd", "../a", "..\\a", "a/", "\\\\host\\share"}},
        {"drive", {"C:a", "a:stream"}},
        {"dot", {"..."}},
        {"dot or a blank", {"a.", "a "}},
        {"device", {"CON", "nul.txt", "Com1.tar.gz", "lpt9", "aux .c", "COM\xC2\xB2", "CONIN$"}},
        {"control", {"a\nb", "a\0b"s, "a\x7F"}},
    };
    for (const auto& row : kRows) {
        for (const std::string& name : row.names) {
            const std::string fault = NameFault(name);
            EXPECT_EQ(fault.empty(), *row.fault == '\0') << name << ": " << fault;
            EXPECT_NE(fault.find(row.fault), std::string::npos) << name << ": " << fault;
        }
    }
    EXPECT_EQ(Printable("a\x1B[2J\xC3\xBC"), "a\\x1B[2J\xC3\xBC");
    EXPECT_EQ(LastSegment("C:a/b\\c"), "c");
    EXPECT_EQ(LastSegment("C:c"), "c");
    EXPECT_EQ(LastSegment("ab:c"), "ab:c");
}

}  // namespace
}  // namespace talvo
