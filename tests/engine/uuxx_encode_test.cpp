// The UU and XX encoders: header and footer, lines there and back, exact sizes.
#include <string>

#include <gtest/gtest.h>

#include "engine/steps.h"
#include "tests/engine/base64_oracle.h"
#include "tests/engine/defect_rows.h"
#include "tests/engine/uuxx_text.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

Setup Encoder(FormatKind kind, std::u16string_view name, uint32_t line = 0, int32_t lineBreak = kCrLf,
              uint16_t permissions = kDefaultPermissions) {
    return [=](EncodingSession& s) {
        ASSERT_EQ(s.SelectFormat(kind), S_OK);
        ASSERT_EQ(s.SetMaxLineLength(line), S_OK);
        ASSERT_EQ(s.SetEndOfLineType(lineBreak), S_OK);
        s.IncludeHeaderFooter = !name.empty();
        s.HeaderFilename = WideName(name);
        s.HeaderPermissions = permissions;
    };
}

TEST(UuXxEncode, HeaderAndFooter) {
    const struct {
        const char* name;
        FormatKind kind;
        std::u16string header;
        uint16_t permissions;
        int32_t type;
        std::string bytes, text;
    } kRows[] = {
        {"UU", kUU, u"a.txt", 0444, kCrLf, "Cat", "begin 0444 a.txt\r\n#0V%T\r\n`\r\nend"},
        {"XX", kXX, u"a.txt", 0444, kCrLf, "Cat", "begin 0444 a.txt\r\n1Eq3o\r\n+\r\nend"},
        {"no data", kUU, u"a.txt", 0644, kLf, "", "begin 0644 a.txt\n`\nend"},
        {"no data, XX", kXX, u"a", 07, kCr, "", "begin 0007 a\r+\rend"},
        {"no data, no header", kUU, u"", 0644, kLf, "", ""},
        {"one byte", kUU, u"", 0, kLf, "C", "!0P``"},
        {"two bytes", kUU, u"", 0, kLf, "Ca", "\"0V$`"},
        {"two bytes, XX", kXX, u"a", 0, kLf, "Ca", "begin 0000 a\n0Eq2+\n+\nend"},
        {"the last four digits", kUU, u"a", 0xFFFF, kLf, "", "begin 7777 a\n`\nend"},
        {"name as it is", kUU, u" 12 b ", 010644, kLf, "", "begin 0644  12 b \n`\nend"},
        {"name in bytes", kXX, std::u16string(kAccented), 0600, kCrLf, "Cat",
         "begin 0600 " + NarrowAccented() + "\r\n1Eq3o\r\n+\r\nend"},
        {"long name", kUU, std::u16string(40000, u'n'), 0444, kCrLf, "Cat",
         "begin 0444 " + std::string(40000, 'n') + "\r\n#0V%T\r\n`\r\nend"},
    };
    for (const auto& row : kRows) {
        CheckEverySplit(row.name, Encoder(row.kind, row.header, 0, row.type, row.permissions), Direction::Encode,
                        row.bytes, S_OK, row.text);
    }
}

TEST(UuXxEncode, Lines) {
    const struct {
        FormatKind kind;
        uint32_t line;
        size_t bytes;
        int32_t type;
        const char* lineBreak;
    } kRows[] = {{kUU, 0, 45, kCrLf, "\r\n"}, {kXX, 0, 57, kLf, "\n"},  {kUU, 5, 3, kCr, "\r"},
                 {kUU, 12, 6, kCrLf, "\r\n"}, {kUU, 85, 63, kLf, "\n"}, {kXX, 85, 63, kCrLf, "\r\n"}};
    std::mt19937 random(1);
    for (const auto& row : kRows) {
        for (const size_t size : {0, 1, 2, 3, 4, 6, 44, 45, 46, 57, 58, 63, 64, 90, 114, 126, 4000}) {
            const std::string bytes = RandomBytes(random, size);
            const std::string lines = NaiveLines(row.kind, bytes, row.bytes, row.lineBreak);
            const std::string zero = row.lineBreak + std::string(row.kind == kUU ? "`" : "+") + row.lineBreak + "end";
            for (const bool header : {false, true}) {
                const std::string text = header ? "begin 0444 n"s + (size ? row.lineBreak : "") + lines + zero : lines;
                CheckEverySplit("lines", Encoder(row.kind, header ? u"n" : u"", row.line, row.type), Direction::Encode,
                                bytes, S_OK, text);
                CheckEverySplit("and back", TextDecoder(row.kind, false, kCrLf, header), Direction::Decode, text, S_OK,
                                bytes);
            }
        }
    }
}

// What each call writes: full lines at once, the rest at the end, a break only in front of something.
TEST(UuXxEncode, Calls) {
    const std::string full = "M" + std::string(60, '`');
    const struct {
        const char* name;
        bool header;
        std::string source[3], text[3];
    } kRows[] = {
        {"a full line", true, {std::string(45, '\0'), "", ""}, {"begin 0444 n\n" + full, "", "\n`\nend"}},
        {"held bytes", true, {"Ca", "", ""}, {"begin 0444 n\n", "", "\"0V$`\n`\nend"}},
        {"the header waits for data", true, {"", "Cat", ""}, {"", "begin 0444 n\n", "#0V%T\n`\nend"}},
        {"break with the next data", false, {std::string(45, '\0'), "C", "at"}, {full, "\n", "#0V%T"}},
        {"break with the next group", false, {std::string(46, '\0'), "", "\0"s}, {full, "", "\n\"````"}},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder(kUU, row.header ? u"n" : u"", 0, kLf)(session);
        for (int call = 0; call < 3; ++call) {
            EXPECT_EQ(Feed(session, Direction::Encode, row.source[call], call == 2), (Fed{S_OK, row.text[call]}))
                << row.name << ", call " << call;
        }
    }
}

// The size function against what the step writes, from every place of a line and with every number of held bytes.
TEST(UuXxEncode, SizeIsExact) {
    const std::string bytes(140, '\x5A');
    for (const std::u16string_view name : {std::u16string_view(), kAccented}) {
        for (const uint32_t line : {5u, 13u, 61u}) {
            for (size_t before = 0; before <= 92; ++before) {
                for (size_t size = 0; size <= 140; size += size < 12 ? 1 : 7) {
                    for (const bool end : {false, true}) {
                        EncodingSession session;
                        Encoder(kUU, name, line)(session);
                        static_cast<void>(Feed(session, Direction::Encode, bytes.substr(0, before), false));
                        const StepInput input{{reinterpret_cast<const BYTE*>(bytes.data()), size}, end, before == 0};
                        const uint64_t expected = size == 0 && !end ? 0 : UuXxEncodedSize(session, input);
                        ASSERT_EQ(Feed(session, Direction::Encode, bytes.substr(0, size), end).Bytes.size(), expected)
                            << "line " << line << ", " << before << " + " << size << ", end " << end;
                    }
                }
            }
        }
    }
}

TEST(UuXxEncode, SizesBeyond32Bits) {
    static const BYTE nothing = 0;
    // 95443717 full lines and one of 30 bytes; shortest lines.
    for (const auto& [line, size] :
         {std::pair<uint32_t, uint64_t>{0, 5726623060 + 95443718 + 2 * 95443717ull}, {5, 7 * 1431655765ull - 2}}) {
        EncodingSession session;
        Encoder(kUU, u"", line)(session);
        ASSERT_EQ(Feed(session, Direction::Encode, {}, false).Code, S_OK);
        EXPECT_EQ(UuXxEncodedSize(session, {{&nothing, 0xFFFFFFFFu}, true, true}), size);
    }
}

// No setter lets such a value in. It is noticed where a break must be written, and only there.
TEST(UuXxEncode, WrongLineBreakInTheRecord) {
    for (const int32_t type : {4, -1, 0}) {
        for (const bool header : {false, true}) {
            for (const size_t size : {45, 48}) {
                EncodingSession session;
                Encoder(kUU, header ? u"n" : u"")(session);
                session.EndOfLineType = type;
                EXPECT_EQ(CodeName(Feed(session, Direction::Encode, std::string(size, 'x'), true).Code),
                          CodeName(header || size > 45 ? berInvalidEndOfLineType : S_OK))
                    << type << ", " << size;
                EXPECT_EQ(session.State, SessionState::Idle);
            }
        }
    }
}

}  // namespace
}  // namespace talvo::test
