// Command lines and what they mean, without running anything.
#include "cli/options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cli/carried_name.h"
#include "cli/progress.h"

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

// What is understood shows in what the command then does: conversion_test.cpp and native/command_test.cpp.
TEST(Options, Refused) {
    const struct {
        const char* line;
        const char* complaint;  // a part of it
    } kRows[] = {
        {"frobnicate", "no command 'frobnicate'"},
        {"encode", "no format"},
        {"encode in out -f base64", "unexpected argument 'out'"},
        {"encode -f base65", "does not take 'base65'; it expects uu, xx, base64"},
        {"encode -f", "'--format' needs a value"},
        {"encode -f base64 -o _", "'--output' does not take ''"},
        {"encode -f base64 _", "file name is empty"},
        {"encode -f base64 --line-length 4294967296", "does not take '4294967296'"},
        {"encode -f base64 -b dos", "expects crlf, lf, cr or none"},
        {"encode -f uu -m 10000", "does not take '10000'"},
        {"encode -f binhex --type TEX", "expects four characters"},
        {"encode -f base64 -qz", "no option '-z'"},
        {"encode -f base64 --quiet=1", "'--quiet' takes no value"},
        {"encode -f base64 --tolerant", "does not go with 'encode'"},
        {"decode -f base64 -b lf", "does not go with 'decode -f base64'"},
        {"encode --name x -f base64", "'--name' does not go with 'encode -f base64'"},
        {"encode -f uu --then hex --mode 644", "'--mode' does not go with 'encode -f hex'"},
        {"encode -f uu --then binhex --resource-fork r", "does not go with 'encode -f uu'"},
        {"decode -f binhex --no-header --resource-fork r", "no resource fork"},
        {"encode -f uu --append", "'--append' needs a file"},
        {"register a b", "unexpected argument 'b'"},
        {"--version now", "unexpected argument 'now'"},
    };
    for (const auto& row : kRows) {
        const std::string complaint = Parse(row.line).complaint;
        EXPECT_NE(complaint.find(row.complaint), std::string::npos) << row.line << ": " << complaint;
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
