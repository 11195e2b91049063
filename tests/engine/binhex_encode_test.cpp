// The BinHex encoder: runs, lines, the borders between header block, forks and CRCs, names, and lengths near the ends
// of 32 bits.
#include <string>

#include <gtest/gtest.h>

#include "tests/engine/oracles.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

Setup FileEncoder(const BinHexFile& file, uint32_t line = 0, int32_t lineBreak = kCrLf) {
    return [=](EncodingSession& s) {
        Encoder(kBinHex, line, lineBreak, std::u16string(file.Name.begin(), file.Name.end()))(s);
        std::memcpy(s.HeaderType, "TEXT", 4);
        std::memcpy(s.HeaderCreator, "ttxt", 4);
        s.HeaderFlags = 0x1234;
        s.HeaderDataForkLength = static_cast<uint32_t>(file.Data.size());
        s.HeaderResourceForkLength = static_cast<uint32_t>(file.Resource.size());
    };
}

// With lines of every kind, and back.
TEST(BinHexEncode, Forks) {
    const struct {
        uint32_t line;
        int32_t type;
        const char* lineBreak;
    } kLines[] = {{64, kCrLf, "\r\n"}, {5, kLf, "\n"}, {63, kCr, "\r"}, {~0u, kCrLf, "\r\n"}};
    std::mt19937 random(2);
    for (const size_t data : {0, 1, 2, 23, 24, 25, 300, 4000}) {
        for (const size_t resource : {0, 1, 2, 700}) {
            // Zeros make runs across every border: header block, forks and CRCs.
            for (const bool zeros : {true, false}) {
                const auto fork = [&](size_t n) { return zeros ? std::string(n, '\0') : RunnyBytes(random, n); };
                const BinHexFile file{"name", fork(data), fork(resource)};
                const std::string bytes = file.Data + file.Resource;
                const auto& [line, type, lineBreak] = kLines[random() % std::size(kLines)];
                const std::string text = file.Text(line, lineBreak);
                CheckEverySplit("forks", FileEncoder(file, line, type), Direction::Encode, bytes, S_OK, text);
                SplitChecker("and back", Decoder(kBinHex, false), Direction::Decode, text, S_OK, bytes).CheckRandom(4);
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
        {"one too many", 0, 2, 2, 5, berInvalidLengthInHeader},
        {"data fork not full", 0, 5, 0, 4, berInvalidLengthInHeader},
        {"longest data fork, one too many", kMost - 2, 0xFFFFFFFF, 0, 3, berInvalidLengthInHeader},
        {"forks of more than 32 bits", kMost - 2, 0xFFFFFFFF, 3, 5, S_OK},
        {"both longest", 2 * kMost - 1, 0xFFFFFFFF, 0xFFFFFFFF, 1, S_OK},
        {"the sum without its upper bits", 0, 0xFFFFFFFF, 3, 2, berInvalidLengthInHeader},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        FileEncoder({"n", "", ""})(session);
        session.HeaderDataForkLength = row.data;
        session.HeaderResourceForkLength = row.resource;
        if (row.before != 0) {
            ASSERT_EQ(Feed(session, Direction::Encode, {}, false).Code, S_OK);
            session.Now.BinHex.SourceCount = row.before;
            session.Now.BinHex.DataForkDone = row.before > row.data;
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
        {"far longer", std::u16string(70000, 'x'), std::string(63, 'x')},
        {"windows-1252", u"r\u00E9sum\u00E9 \u20AC.txt", "r\xE9sum\xE9 \x80.txt"},
        {"unknown characters", u"\u4E2D\U0001F600.", "???."},
        {"zero inside", u"a\0b"s, "a\0b"s},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        FileEncoder({"n", "xyz", ""})(session);
        session.BinHexHeaderFilename = WideName(row.given);
        EXPECT_EQ(Feed(session, Direction::Encode, "xyz", true).Bytes, (BinHexFile{row.written, "xyz", ""}.Text()))
            << row.name;
    }
}

}  // namespace
}  // namespace talvo::test
