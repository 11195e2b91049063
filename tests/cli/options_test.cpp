// Command lines and what they mean, without running anything.
#include "cli/options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cli/help.h"
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

// All that the parser can set, in a form that a failure shows.
std::string Summary(const Options& o) {
    const std::string lineBreaks = o.lineBreaks ? std::to_string(static_cast<int>(*o.lineBreaks)) : "?";
    return std::string(NameOf(o.command)) + (o.help ? " help" : "") + " " + std::string(NameOf(o.format)) + " " +
           o.source + ">" + o.destination + " l" + (o.lineLength ? std::to_string(*o.lineLength) : "?") + " b" +
           lineBreaks + (o.tolerant ? " tolerant" : "") + (o.quiet ? " quiet" : "") + (o.progress ? " progress" : "") +
           (o.verbose ? " verbose" : "") + (o.module.empty() ? "" : " module=" + o.module);
}

TEST(Options, Understood) {
    const struct {
        const char* line;
        const char* summary;
    } kRows[] = {
        {"encode -f base64", "encode base64 ->- l? b?"},
        {"encode -fbase64 in -oout", "encode base64 in>out l? b?"},
        {"encode in --format=hex --output=out", "encode hex in>out l? b?"},
        {"encode --format qp --output out in", "encode qp in>out l? b?"},
        {"decode -f uu - -o -", "decode uu ->- l? b?"},
        {"decode -qvtf binhex in", "decode binhex in>- l? b? tolerant quiet verbose"},
        {"encode -f xx -l 4294967295 -b none", "encode xx ->- l4294967295 b0"},
        {"encode -f xx -l0 -bcrlf", "encode xx ->- l0 b1"},
        {"encode -f xx --line-breaks=lf -b cr", "encode xx ->- l? b3"},
        {"encode -f base64 -- -odd", "encode base64 -odd>- l? b?"},
        {"encode -f base64 -o -odd -- --", "encode base64 -->-odd l? b?"},
        {"encode -p -f base64 --module=m.so", "encode base64 ->- l? b? progress module=m.so"},
        {"register", "register base64 ->- l? b?"},
        {"unregister m.so -q", "unregister base64 ->- l? b? quiet module=m.so"},
        {"--help", " help base64 ->- l? b?"},
        {"help", " help base64 ->- l? b?"},
        {"help decode", "decode help base64 ->- l? b?"},
        {"encode --help", "encode help base64 ->- l? b?"},
        {"--version --module m.so", "--version base64 ->- l? b? module=m.so"},
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
        {"encode -f base64 -o", "'--output' needs a value"},
        {"encode -f base64 -o _", "'--output' does not take ''"},
        {"encode -f base64 _", "file name is empty"},
        {"encode -f base64 --line-length 4294967296", "does not take '4294967296'"},
        {"encode -f base64 -l -1", "does not take '-1'"},
        {"encode -f base64 -l 7x", "does not take '7x'"},
        {"encode -f base64 -l _", "does not take ''"},
        {"encode -f base64 -b dos", "expects crlf, lf, cr or none"},
        {"encode -f base64 --wrap 7", "no option '--wrap'"},
        {"encode -f base64 -qz", "no option '-z'"},
        {"encode -f base64 --quiet=1", "'--quiet' takes no value"},
        {"encode -f base64 --tolerant", "does not go with 'encode'"},
        {"decode -f base64 -l 5", "does not go with 'decode'"},
        {"register -f base64", "does not go with 'register'"},
        {"register a b", "unexpected argument 'b'"},
        {"--version now", "unexpected argument 'now'"},
    };
    for (const auto& row : kRows) {
        const std::string complaint = Parse(row.line).complaint;
        EXPECT_NE(complaint.find(row.complaint), std::string::npos) << row.line << ": " << complaint;
        EXPECT_FALSE(complaint.empty()) << row.line;
    }
}

TEST(Help, FitsATerminal) {
    for (const Command command : {Command::Overview, Command::Encode, Command::Decode, Command::Register}) {
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
        {{0, 100, 1000}, "  0% [                        ] 0 bytes of 100 bytes     0 bytes/s"},
        {{1, 3, 500}, " 33% [########                ] 1 byte of 3 bytes     2 bytes/s"},
        {{2048, 2048, 0}, "100% [########################] 2.0 KiB of 2.0 KiB     1.9 MiB/s"},
        {{1536, 1024, 1000}, "100% [########################] 1.5 KiB of 1.5 KiB     1.5 KiB/s"},
        {{3221225472, 6442450944, 2000}, " 50% [############            ] 3.0 GiB of 6.0 GiB     1.5 GiB/s"},
        {{kMax, kMax, 1000}, "100% [########################] 15.9 EiB of 15.9 EiB    15.9 EiB/s"},
        {{5ull << 20, std::nullopt, 1000}, "5.0 MiB     5.0 MiB/s"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(ProgressLine(row.state), row.line);
        EXPECT_LE(ProgressLine(row.state).size(), 72u);
    }
}

}  // namespace
}  // namespace talvo
