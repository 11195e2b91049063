// The BinHex encoder: runs, lines, the borders between header block, forks and CRCs, names, and lengths near the ends
// of 32 bits.
#include <string>

#include <gtest/gtest.h>

#include "tests/engine/binhex_oracle.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

void SetName(EncodingSession& session, std::u16string_view name) {
    std::basic_string<WCHAR> wide(name.begin(), name.end());
    const com::UniqueBstr text(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
    ASSERT_EQ(session.SetBinHexHeaderFilename(text.Get()), S_OK);
}

Setup Encoder(const BinHexFile& file, uint32_t line = 0, int32_t lineBreak = kCrLf) {
    return [=](EncodingSession& s) {
        BinHexSession()(s);
        SetName(s, std::u16string(file.Name.begin(), file.Name.end()));
        ASSERT_EQ(s.SetMaxLineLength(line), S_OK);
        ASSERT_EQ(s.SetEndOfLineType(lineBreak), S_OK);
        std::memcpy(s.HeaderType, "TEXT", 4);
        std::memcpy(s.HeaderCreator, "ttxt", 4);
        s.HeaderFlags = 0x1234;
        s.HeaderDataForkLength = static_cast<uint32_t>(file.Data.size());
        s.HeaderResourceForkLength = static_cast<uint32_t>(file.Resource.size());
    };
}

Setup PlainEncoder(uint32_t line, int32_t lineBreak) {
    return [=](EncodingSession& s) {
        BinHexSession(false)(s);
        ASSERT_EQ(s.SetMaxLineLength(line), S_OK);
        ASSERT_EQ(s.SetEndOfLineType(lineBreak), S_OK);
    };
}

TEST(BinHexEncode, KnownTexts) {
    CheckEverySplit(
        "three bytes",
        [](EncodingSession& s) {
            BinHexSession()(s);
            SetName(s, u"a");
            s.HeaderDataForkLength = 3;
        },
        Direction::Encode, "abc", S_OK, kIdentification + "\r\n:!@%!N!i$!*!%C9aKBQ1GeJ!!:\r\n");
    CheckEverySplit("no header", PlainEncoder(0, kNoBreak), Direction::Encode, "abc", S_OK, "B@*M");
    CheckEverySplit("a group of one byte", PlainEncoder(0, kCrLf), Direction::Encode, "abcd", S_OK, "B@*MC!");
}

TEST(BinHexEncode, Runs) {
    for (const RunRow& row : RunRows()) {
        CheckEverySplit(row.name, PlainEncoder(0, kNoBreak), Direction::Encode, row.bytes, S_OK,
                        NaiveCharacters(row.coded));
    }
}

TEST(BinHexEncode, Lines) {
    const struct {
        uint32_t line;
        int32_t type;
        std::string lineBreak;
    } kRows[] = {{5, kCrLf, "\r\n"},  {6, kLf, "\n"},      {7, kCr, "\r"},    {63, kCrLf, "\r\n"},
                 {64, kCrLf, "\r\n"}, {65, kCrLf, "\r\n"}, {1000, kLf, "\n"}, {0xFFFFFFFF, kCrLf, "\r\n"}};
    std::mt19937 random(1);
    for (const auto& [line, type, lineBreak] : kRows) {
        for (const size_t size : {0, 1, 2, 3, 23, 24, 25, 500}) {
            const std::string bytes = RunnyBytes(random, size);
            CheckEverySplit("plain", PlainEncoder(line, type), Direction::Encode, bytes, S_OK,
                            Wrapped(NaiveCharacters(NaiveRuns(bytes)), line, lineBreak));
            const BinHexFile file{"n", bytes, ""};
            CheckEverySplit("framed", Encoder(file, line, type), Direction::Encode, bytes, S_OK,
                            file.Text(line, lineBreak));
        }
    }
}

TEST(BinHexEncode, Forks) {
    std::mt19937 random(2);
    for (const size_t data : {0, 1, 2, 300, 4000}) {
        for (const size_t resource : {0, 1, 2, 700}) {
            // Zeros make runs across every border: header block, forks and CRCs.
            for (const bool zeros : {true, false}) {
                const auto fork = [&](size_t n) { return zeros ? std::string(n, '\0') : RunnyBytes(random, n); };
                const BinHexFile file{"name", fork(data), fork(resource)};
                CheckEverySplit("forks", Encoder(file), Direction::Encode, file.Data + file.Resource, S_OK,
                                file.Text());
            }
        }
    }
}

TEST(BinHexEncode, Lengths) {
    constexpr uint64_t kMost = 0xFFFFFFFF;
    const struct {
        const char* name;
        uint64_t before;  // bytes that have gone in so far
        uint32_t data, resource;
        size_t more;
        HRESULT code;
    } kRows[] = {
        {"none announced, none given", 0, 0, 0, 0, S_OK},
        {"none announced", 0, 0, 0, 1, berInvalidLengthInHeader},
        {"one too few", 0, 2, 2, 3, berInvalidLengthInHeader},
        {"one too many", 0, 2, 2, 5, berInvalidLengthInHeader},
        {"data fork not full", 0, 5, 0, 4, berInvalidLengthInHeader},
        {"longest data fork", kMost - 2, 0xFFFFFFFF, 0, 2, S_OK},
        {"longest data fork, one too few", kMost - 2, 0xFFFFFFFF, 0, 1, berInvalidLengthInHeader},
        {"longest data fork, one too many", kMost - 2, 0xFFFFFFFF, 0, 3, berInvalidLengthInHeader},
        {"forks of more than 32 bits", kMost - 2, 0xFFFFFFFF, 3, 5, S_OK},
        {"both longest", 2 * kMost - 1, 0xFFFFFFFF, 0xFFFFFFFF, 1, S_OK},
        {"the sum without its upper bits", 0, 0xFFFFFFFF, 3, 2, berInvalidLengthInHeader},
        {"the input without its upper bits", kMost, 0, 2, 3, berInvalidLengthInHeader},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder({"n", "", ""})(session);
        session.HeaderDataForkLength = row.data;
        session.HeaderResourceForkLength = row.resource;
        if (row.before != 0) {
            ASSERT_EQ(Feed(session, Direction::Encode, {}, false).Code, S_OK);
            session.ForkCount = row.before;
            session.DataForkDone = row.before > row.data;
        }
        EXPECT_EQ(CodeName(Feed(session, Direction::Encode, std::string(row.more, 'x'), true).Code), CodeName(row.code))
            << row.name;
        EXPECT_EQ(session.State, SessionState::Idle);
    }
}

// One byte a character, as many as the name has UTF-16 units, at most 63. What the code page lacks is "?".
TEST(BinHexEncode, Names) {
    const struct {
        const char* name;
        std::u16string given;
        std::string written;
    } kRows[] = {
        {"longest", std::u16string(63, 'x'), std::string(63, 'x')},
        {"one more", std::u16string(64, 'x'), std::string(63, 'x')},
        {"far longer", std::u16string(70000, 'x'), std::string(63, 'x')},
        {"windows-1252", u"r\u00E9sum\u00E9 \u20AC.txt", "r\xE9sum\xE9 \x80.txt"},
        {"unknown characters", u"\u4E2D\U0001F600.", "???."},
        {"zero inside", u"a\0b"s, "a\0b"s},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder({"", "xyz", ""})(session);
        SetName(session, row.given);
        EXPECT_EQ(Feed(session, Direction::Encode, "xyz", true).Bytes, (BinHexFile{row.written, "xyz", ""}.Text()))
            << row.name;
    }
}

// A line break type that is none is an error where a break is due.
TEST(BinHexEncode, LineBreakTypeOutOfRange) {
    for (const bool header : {true, false}) {
        for (const bool breaks : {true, false}) {
            EncodingSession session;
            Encoder({"n", std::string(header ? 3 : breaks ? 49 : 48, 'x'), ""})(session);
            session.IncludeHeaderFooter = header;
            session.EndOfLineType = 9;
            std::string bytes;
            for (size_t i = 0; i < session.HeaderDataForkLength; ++i) bytes += static_cast<char>(i);
            EXPECT_EQ(CodeName(Feed(session, Direction::Encode, bytes, true).Code),
                      header || breaks ? "berInvalidEndOfLineType" : "S_OK");
        }
    }
}

}  // namespace
}  // namespace talvo::test
