// The Base64 encoder: text, lines, exact sizes, and the ends of its 32-bit counters.
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "engine/kernels/kernels.h"
#include "engine/output.h"
#include "engine/steps.h"
#include "tests/engine/base64_oracle.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/splits.h"

namespace talvo::test {
namespace {

Setup Encoder(uint32_t line = 0, int32_t lineBreak = kCrLf) {
    return [=](EncodingSession& s) {
        ASSERT_EQ(s.SelectFormat(FormatKind::Base64), S_OK);
        ASSERT_EQ(s.SetMaxLineLength(line), S_OK);
        ASSERT_EQ(s.SetEndOfLineType(lineBreak), S_OK);
    };
}

std::string BreakText(int32_t type) {
    const ByteSpan bytes = LineBreakBytes(type);
    return {bytes.begin(), bytes.end()};
}

TEST(Base64Encode, PublishedVectors) {
    const struct {
        const char* bytes;
        const char* text;
    } kRows[] = {{"", ""},
                 {"f", "Zg=="},
                 {"fo", "Zm8="},
                 {"foo", "Zm9v"},
                 {"foob", "Zm9vYg=="},
                 {"fooba", "Zm9vYmE="},
                 {"foobar", "Zm9vYmFy"}};
    for (const auto& row : kRows) CheckEverySplit(row.text, Encoder(), Direction::Encode, row.bytes, S_OK, row.text);
}

TEST(Base64Encode, Lines) {
    const struct {
        const char* name;
        uint32_t line;
        int32_t type;
        size_t effective;
    } kRows[] = {
        {"default", 0, kCrLf, 76},
        {"shortest", 1, kLf, 4},
        {"shortest, two bytes a break", 4, kCrLf, 4},
        {"not a multiple of 4", 10, kCr, 8},
        {"75", 75, kCrLf, 72},
        {"longer than the text", 4000, kLf, 4000},
        {"endless", 10, kNoBreak, 1u << 30},
        {"longest", 0xFFFFFFFF, kCrLf, 0xFFFFFFFC},
    };
    std::mt19937 random(1);
    for (const auto& row : kRows) {
        // Around one and two full lines, and long.
        for (const size_t size : {0, 1, 2, 3, 6, 7, 12, 13, 57, 58, 113, 114, 115, 3000}) {
            const std::string bytes = RandomBytes(random, size);
            const std::string text = Wrapped(NaiveEncode(bytes), row.effective, BreakText(row.type));
            CheckEverySplit(row.name, Encoder(row.line, row.type), Direction::Encode, bytes, S_OK, text);
        }
    }
}

TEST(Base64Encode, EmptyFinalCallWritesTheOwedBreak) {
    const struct {
        const char* name;
        size_t size;
        int32_t type;
        const char* lastCall;
    } kRows[] = {
        {"full line", 57, kCrLf, "\r\n"},       {"full line, LF", 114, kLf, "\n"},
        {"full line, CR", 57, kCr, "\r"},       {"no line", 0, kCrLf, ""},
        {"one group short", 54, kCrLf, ""},     {"no breaks", 57, kNoBreak, ""},
        {"break and group", 58, kLf, "\nMA=="}, {"group on the line", 55, kLf, "MA=="},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder(0, row.type)(session);
        const Fed first = Feed(session, Direction::Encode, std::string(row.size, '0'), false);
        EXPECT_FALSE(first.Bytes.ends_with('\n') || first.Bytes.ends_with('\r')) << row.name;
        EXPECT_EQ(Feed(session, Direction::Encode, {}, true).Bytes, row.lastCall) << row.name;
    }
}

// The size function against what the step writes, from every place of a line and with every number of held bytes.
TEST(Base64Encode, SizeIsExact) {
    const std::string bytes(70, '\x5A');
    for (const int32_t type : {kNoBreak, kCrLf, kLf}) {
        for (const uint32_t line : {4u, 12u, 76u}) {
            for (size_t before = 0; before <= 58; ++before) {
                for (size_t size = 0; size <= 70; size += size < 12 ? 1 : 7) {
                    for (const bool end : {false, true}) {
                        EncodingSession session;
                        Encoder(line, type)(session);
                        static_cast<void>(Feed(session, Direction::Encode, bytes.substr(0, before), false));
                        const uint64_t expected = Base64EncodedSize(session, size, end);
                        ASSERT_EQ(Feed(session, Direction::Encode, bytes.substr(0, size), end).Bytes.size(),
                                  size == 0 && !end ? 0 : expected)
                            << "line " << line << ", type " << type << ", " << before << " + " << size << ", end "
                            << end;
                    }
                }
            }
        }
    }
}

TEST(Base64Encode, SizesBeyond32Bits) {
    const struct {
        const char* name;
        uint32_t line;
        int32_t type;
        size_t held;
        uint64_t source;
        uint64_t size;
    } kRows[] = {
        {"largest that fits", 0, kNoBreak, 0, 3221225469u, 0xFFFFFFFC},
        {"one byte more", 0, kNoBreak, 0, 3221225470u, 0x100000000},
        {"largest source", 0, kNoBreak, 0, 0xFFFFFFFF, 5726623060},
        {"and two bytes held", 0, kNoBreak, 2, 0xFFFFFFFF, 5726623064},
        {"in default lines", 0, kCrLf, 0, 0xFFFFFFFF, 5726623060 + 2 * 75350303ull},
        {"in shortest lines", 4, kLf, 0, 0xFFFFFFFF, 5726623060 + 1431655764ull},
        {"in longest lines", 0xFFFFFFFF, kCrLf, 0, 0xFFFFFFFF, 5726623060 + 2},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder(row.line, row.type)(session);
        ASSERT_EQ(Feed(session, Direction::Encode, std::string(row.held, 'x'), false).Code, S_OK);
        EXPECT_EQ(Base64EncodedSize(session, row.source, true), row.size) << row.name;
    }
    AllocationFaults watch;
    Output out;
    for (const uint64_t size : {uint64_t{0x100000000}, uint64_t{0x100000004}, ~uint64_t{0}}) {
        EXPECT_EQ(out.Allocate(size), E_OUTOFMEMORY);
        EXPECT_EQ(out.Data(), nullptr);
    }
    EXPECT_EQ(out.Allocate(0), S_OK);
    EXPECT_EQ(watch.Asked(), 0u) << "what cannot be answered is not asked for";
}

// The column counts in 32 bits; text without breaks may be longer.
TEST(Base64Encode, ColumnNearItsEnd) {
    const struct {
        const char* name;
        uint32_t line;
        int32_t type;
        uint32_t column;
        const char* text;  // of 30 zero bytes
    } kRows[] = {
        {"endless", 0, kNoBreak, 0xFFFFFFF0, "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"},
        {"endless, last group", 0, kNoBreak, 0xFFFFFFF8, "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"},
        {"longest line", 0xFFFFFFFF, kLf, 0xFFFFFFF0, "AAAAAAAAAAAA\nAAAAAAAAAAAAAAAAAAAAAAAAAAAA"},
    };
    for (const auto& row : kRows) {
        for (const size_t first : {1, 3, 9, 12, 30}) {
            EncodingSession session;
            Encoder(row.line, row.type)(session);
            ASSERT_EQ(Feed(session, Direction::Encode, {}, false).Code, S_OK);
            session.Column = row.column;
            std::string text;
            for (const size_t size : {first, 30 - first, size_t{0}}) {
                const Fed fed = Feed(session, Direction::Encode, std::string(size, '\0'), size == 0);
                EXPECT_EQ(CodeName(fed.Code), "S_OK") << row.name << ", " << first;
                text += fed.Bytes;
            }
            EXPECT_EQ(text, row.text) << row.name << ", " << first;
        }
    }
}

// No setter lets such a value in. It is noticed where a break must be written, and only there.
TEST(Base64Encode, WrongLineBreakInTheRecord) {
    const struct {
        const char* name;
        size_t first, second;
        bool end;
        HRESULT code;
    } kRows[] = {
        {"one line", 0, 57, true, S_OK},
        {"second line in the same call", 0, 58, true, berInvalidEndOfLineType},
        {"second line held back", 0, 58, false, S_OK},
        {"owed to data", 57, 1, false, berInvalidEndOfLineType},
        {"owed to the end", 57, 0, true, berInvalidEndOfLineType},
        {"nothing owed", 54, 3, true, S_OK},
    };
    for (const int32_t type : {4, -1}) {
        for (const auto& row : kRows) {
            EncodingSession session;
            Encoder()(session);
            session.EndOfLineType = type;
            EXPECT_EQ(Feed(session, Direction::Encode, std::string(row.first, 'x'), false).Code, S_OK) << row.name;
            EXPECT_EQ(CodeName(Feed(session, Direction::Encode, std::string(row.second, 'x'), row.end).Code),
                      CodeName(row.code))
                << row.name;
            EXPECT_EQ(session.State == SessionState::Idle, row.end || FAILED(row.code)) << row.name;
        }
    }
}

TEST(Base64Encode, KernelAgainstBitsAsText) {
    std::mt19937 random(2);
    for (size_t groups = 0; groups <= 70; ++groups) {
        const std::string bytes = RandomBytes(random, 3 * groups);
        std::string text(4 * groups, '\0');
        kernels::Base64EncodeGroups(reinterpret_cast<BYTE*>(text.data()), reinterpret_cast<const BYTE*>(bytes.data()),
                                    groups);
        EXPECT_EQ(text, NaiveEncode(bytes));
    }
}

}  // namespace
}  // namespace talvo::test
