// The UU and XX decoders: every defect strict and tolerant, the header and all that may look like one, the end and all
// that may look like it.
#include <string>

#include <gtest/gtest.h>

#include "com/lock.h"
#include "tests/engine/oracles.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

const std::string kEndLine = "\xCE\x90" + std::string(40, '\0');  // what the XX line "end++" stands for

std::string Zeros(size_t count) { return std::string(count, '\0'); }
std::string Times(size_t count, std::string_view text) {
    std::string all;
    while (count-- != 0) all += text;
    return all;
}

TEST(UuXxDecode, Lines) {
    const std::string full = "M" + Times(15, "0V%T");
    const DefectRow kRows[] = {
        {"lines with every break", "#0V%T\r\n#0V%T\n#0V%T\r\r\n#0V%T\n\n", S_OK, "CatCatCatCat"},
        {"blank is zero, as the accent", "#    \n#````\n#`` !\n", S_OK, "\0\0\0\0\0\0\0\0\1"s},
        {"tab and form feed are nothing", "\t#\f0V\t%T\f\n\t`\n", S_OK, "Cat"},
        {"part of the last group", "!0V%T\n\"0V%T\n$0V%T0V%T", S_OK, "CCaCatC"},

        {"fewer bytes than announced", "%0V%T\n`", S_OK, "Cat\0\0"s},
        {"nothing of an earlier line", full + "\n$0V%T\nM\n_0V%T", S_OK,
         Times(15, "Cat") + "Cat\0"s + Zeros(45) + "Cat" + Zeros(60)},

        {"three bytes more than announced", "#0V%T0V%T\n#0V%T", kLength, "CatCat"},
        {"more on a line of length zero", "`0V%T\n#0V%T\n`", kLength, "Cat"},
        {"66 bytes", "_" + Times(22, "0V%T"), kLength, Times(21, "Cat")},

        {"break in a group", "#0V\n#0V%T\n", kLine, "C`\0Cat"s},
        {"a blank behind the line", "#0V%T \n`", kLine, "Cat"},
        {"blanks gone from the end of the line", "&0V%T 0\n`", kLine, "Cat\1\0\0"s},

        {"zero, control, high bytes", "#0\0V\x0B\x7F%\x80T\xFF\n`"s, kCharacter, "Cat"},
        {"\"end\" is nothing special", "#0V%T\nend\n#0V%T", kCharacter, "CatCat"},

        {"three characters left", "&0V%T0V%", kLeft, "Cat\0\0\0"s},

        {"invalid character replaces it", "#0V\n#0Va%T\n#0V%T0", kLine, "C`\0CatCat"s, kCharacter},
    };
    for (const DefectRow& row : kRows) CheckDefect(kUU, row, false);
    const DefectRow kXxRows[] = {
        {"63 bytes", "z" + Times(21, "Eq3o") + "\n+", S_OK, Times(21, "Cat")},
        {"fewer bytes than announced", "4Eq3o  \n+", S_OK, "Cat\0\0\0"s},
        {"\"end\" is data", "1Eq3o\nend++\n+\nend++", S_OK, "Cat" + kEndLine + kEndLine},
    };
    for (const DefectRow& row : kXxRows) CheckDefect(kXX, row, false);
}

// Behind a header. Where the text says "end" in some form, and whether that is the end.
TEST(UuXxDecode, TheEnd) {
    const DefectRow kUuRows[] = {
        {"no break behind", "#0V%T\n`\nend", S_OK, "Cat"},
        {"no line of length zero", "#0V%T\n#0V%T\nend\n", S_OK, "Cat"},
        {"first of all", "end\n#0V%T", S_OK, ""},
        {"what follows is ignored", "#0V%T\n`\nend\r\n#0V%T\nzz\n{", S_OK, "Cat"},
        {"missing, a character left", "#0V%T\n#0V%T0", kLeft, "CatCat"},
        {"in the middle of a line", "#0V%T\n#0Vend%T\n`", kCharacter, "CatCat"},

        // A blank behind "end" is a line of length zero. The letters are then what they are elsewhere, which shows when
        // the next line begins.
        {"a blank behind", "#0V%T\n`\nend ", S_OK, "Cat"},
        {"a blank and two breaks", "#0V%T\n`\nend \r\n", kCharacter, "Cat"},
        {"a blank and more lines", "#0V%T\n`\nend \n#0V%T\n`\n", kCharacter, "CatCat"},
        {"the end behind a false one", "#0V%T\n`\nendz\nend\n#0V%T", S_OK, "Cat"},
        {"a blank in front", "#0V%T\n`\n end\n", kCharacter, "Cat"},
        {"not quite", "#0V%T\n`\nene\n`\n", kCharacter, "Cat"},
    };
    // The letters are digits: the first is a length character, which brings out the line before it.
    const DefectRow kXxRows[] = {
        {"no line of length zero", "1Eq3o\nend\r\n1Eq3o", S_OK, "Cat"},
        {"neither", "1Eq3o\nend", S_OK, "Cat"},
        {"digits behind", "1Eq3o\nend++\n+\n", S_OK, "Cat" + kEndLine},
        {"a blank behind", "1Eq3o\n+\nend \n", kLine, "Cat" + kEndLine},
        {"an invalid character behind", "1Eq3o\nend*++\n+\n", kCharacter, "Cat" + kEndLine},
    };
    const auto check = [](FormatKind kind, const auto& rows) {
        for (DefectRow row : rows) {
            row.text.insert(0, "begin 644 n\n");
            CheckDefect(kind, row);
        }
    };
    check(kUU, kUuRows);
    check(kXX, kXxRows);
}

TEST(UuXxDecode, TheHeader) {
    const std::string data = "\n#0V%T\n`\nend\n";
    const struct {
        const char* name;
        std::string text;
        std::u16string file;
        uint16_t permissions;
    } kRows[] = {
        {"usual", "begin 0644 a.txt", u"a.txt", 0644},
        {"inner blanks stay, those behind go", "begin 644 my  file.txt \t ", u"my  file.txt", 0644},
        {"only digits", "begin 644", u"644", 0},
        {"digits run into the name", "begin 644x", u"644x", 0},
        {"not octal", "begin 888 a", u"888 a", 0},
        {"digits of a name count for the permissions", "begin 644 12 3.txt", u".txt", 0x4853},
        {"controls are blanks", "begin \1\t6\x0B\2 a\1b\1", u"a\u0001b", 06},
        {"nothing but blanks", "begin   ", u"(null)", 0},
        {"name in bytes", "begin 600 " + NarrowAccented(), std::u16string(kAccented), 0600},
        {"1024 bytes count", "begin 600 " + std::string(2000, 'n'), std::u16string(1014, u'n'), 0600},
        {"behind other text", "From: x\r\n\r\n Begin 1 x\r\nbegin\t1 x\rbegin \n begin 1 x\nbegin 2 y", u"y", 02},
        {"behind long lines", std::string(1500, 'x') + "begin 1 x\nbegin 2 y", u"y", 02},
        {"and blank lines behind it", "begin 2 y\r\n\n\r", u"y", 02},
        {"a second one is not looked for", "begin 2 y\n#0V%T\n`\nend\nbegin 3 z", u"y", 02},
    };
    for (const auto& row : kRows) {
        CheckEverySplit(row.name, Decoder(kUU, false), Direction::Decode, row.text + data, S_OK, "Cat");
        EncodingSession session;
        Decoder(kUU, false)(session);
        com::CriticalSection lock;
        session.HeaderLock = &lock;
        static_cast<void>(Feed(session, Direction::Decode, row.text + data, true));
        EXPECT_EQ(TextOf(session.HeaderFilename), row.file) << row.name;
        EXPECT_EQ(session.HeaderPermissions, row.permissions) << row.name;
    }
    for (const char* text : {"", "begin 644 a", "begin 644 a\r\n\n", "#0V%T\n`\nend\n", "begin \n#0V%T\n"}) {
        CheckEverySplit("no header", Decoder(kUU, false), Direction::Decode, text, S_OK, "");
    }
}

// A header counts once the first character of a later line is there, in whatever call.
TEST(UuXxDecode, TheHeaderWaitsForTheNextLine) {
    EncodingSession session;
    Decoder(kUU, false)(session);
    EXPECT_EQ(Feed(session, Direction::Decode, {}, false), Fed{});
    for (const char* chunk : {"begin 644 ", "a", ".txt", "\r", "\n", "\n", "#"}) {
        EXPECT_TRUE(!session.HeaderFilename && session.HeaderPermissions == 0) << "before " << chunk;
        EXPECT_EQ(Feed(session, Direction::Decode, chunk, false), Fed{});
    }
    EXPECT_EQ(TextOf(session.HeaderFilename), u"a.txt");
    EXPECT_EQ(session.HeaderPermissions, 0644);
    EXPECT_EQ(Feed(session, Direction::Decode, "0V%T\n`\nend", true), (Fed{S_OK, "Cat"}));
}

// Two characters may stand for 63 bytes, so the output outgrows every estimate.
TEST(UuXxDecode, LinesThatAnnounceMuch) {
    const std::string full = "M" + Times(15, "0V%T") + "\n", bytes = Times(15, "Cat") + Zeros(63);
    CheckEverySplit("empty lines", Decoder(kUU, false, false), Direction::Decode, Times(500, "_\n"), S_OK,
                    Zeros(500 * 63));
    CheckEverySplit("in turn", Decoder(kUU, false, false), Direction::Decode, Times(60, full + "_\n"), S_OK,
                    Times(60, bytes));
}

}  // namespace
}  // namespace talvo::test
