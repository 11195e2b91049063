// What the encoders of groups of characters share (Base64, hexadecimal, UU, XX, the text layer of BinHex): published
// texts, lines there and back, what each call writes, and the ends of 32-bit counters.
#include <string>

#include <gtest/gtest.h>

#include "engine/output.h"
#include "tests/engine/oracles.h"
#include "tests/support/allocation_faults.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

std::string BreakText(int32_t type) {
    const ByteSpan bytes = LineBreakBytes(type);
    return {bytes.begin(), bytes.end()};
}

TEST(GroupEncode, KnownTexts) {
    const struct {
        FormatKind kind;
        const char *bytes, *text;
    } kRows[] = {{kBase64, "foob", "Zm9vYg=="}, {kHexa, "foobar", "666F6F626172"}, {kBinHex, "abcd", "B@*MC!"}};
    for (const auto& row : kRows) {
        CheckEverySplit(row.text, Encoder(row.kind), Direction::Encode, row.bytes, S_OK, row.text);
    }
    const struct {
        FormatKind kind;
        std::u16string name;
        uint16_t permissions;
        const char* bytes;
        std::string text;
    } kHeaders[] = {
        {kUU, u"a.txt", 0444, "Cat", "begin 0444 a.txt\n#0V%T\n`\nend"},
        {kXX, u"a.txt", 0444, "Cat", "begin 0444 a.txt\n1Eq3o\n+\nend"},
        {kUU, u"a", 0xFFFF, "", "begin 7777 a\n`\nend"},
        {kUU, u" 12 b ", 010644, "", "begin 0644  12 b \n`\nend"},
        {kXX, std::u16string(kAccented), 0600, "Cat", "begin 0600 " + NarrowAccented() + "\n1Eq3o\n+\nend"},
        {kUU, std::u16string(40000, u'n'), 0, "Cat", "begin 0000 " + std::string(40000, 'n') + "\n#0V%T\n`\nend"},
    };
    for (const auto& row : kHeaders) {
        const auto setup = [&](EncodingSession& s) {
            Encoder(row.kind, 0, kLf, row.name)(s);
            s.HeaderPermissions = row.permissions;
        };
        CheckEverySplit("header", setup, Direction::Encode, row.bytes, S_OK, row.text);
    }
}

TEST(GroupEncode, LinesAndBack) {
    constexpr int32_t kNo = kNoBreak;
    const struct {
        FormatKind kind;
        uint32_t line;
        size_t effective;
        int32_t type;
    } kRows[] = {{kBase64, 0, 76, kCrLf},  {kBase64, 1, 4, kLf},       {kBase64, 10, 8, kCr},
                 {kBase64, 10, 8, kNo},    {kBase64, ~0u, ~3u, kCrLf}, {kHexa, 0, 78, kCrLf},
                 {kHexa, 1, 2, kLf},       {kHexa, 7, 6, kCr},         {kHexa, 8, 8, kNo},
                 {kHexa, ~0u, ~1u, kCrLf}, {kUU, 0, 61, kCrLf},        {kXX, 0, 77, kLf},
                 {kXX, 5, 5, kCrLf},       {kUU, 12, 9, kCr},          {kUU, 85, 85, kLf},
                 {kXX, 85, 85, kCrLf},     {kBinHex, 0, 64, kCrLf},    {kBinHex, 5, 5, kLf},
                 {kBinHex, 65, 65, kCr},   {kBinHex, ~0u, ~0u, kCrLf}, {kBinHex, 7, 7, kNo}};
    std::mt19937 random(1);
    for (const auto& row : kRows) {
        const bool lengths = row.kind == kUU || row.kind == kXX;
        // Around one and two full lines, and long.
        for (const size_t size :
             {0, 1, 2, 3, 4, 6, 7, 39, 40, 45, 46, 47, 48, 49, 57, 58, 63, 78, 90, 114, 115, 126, 3000}) {
            const std::string bytes = row.kind == kBinHex ? RunnyBytes(random, size) : RandomBytes(random, size);
            const std::string lineBreak = BreakText(row.type);
            const std::string lines = NaiveText(row.kind, bytes, row.effective, lineBreak);
            for (const bool header : {false, true}) {
                if (header && !lengths) continue;
                const std::string text = !header ? lines
                                                 : "begin 0444 n" + (size ? lineBreak : "") + lines + lineBreak +
                                                       DigitsOf(row.kind)[0] + lineBreak + "end";
                CheckEverySplit("lines", Encoder(row.kind, row.line, row.type, header ? u"n" : u""), Direction::Encode,
                                bytes, S_OK, text);
                SplitChecker("and back", Decoder(row.kind, false, header), Direction::Decode, text, S_OK, bytes)
                    .CheckRandom(6);
            }
        }
    }
}

// Full lines at once, the rest at the end, a break only in front of something; an empty final call writes the pending
// one.
TEST(GroupEncode, WhatEachCallWrites) {
    const std::string full = "M" + std::string(60, '`'), base64 = std::string(76, 'A'), hex = std::string(78, '0');
    const struct {
        FormatKind kind;
        int32_t type;
        std::u16string header;
        size_t zeros[3];
        std::string text[3];
    } kRows[] = {
        {kBase64, kCrLf, u"", {57, 0, 0}, {base64, "", "\r\n"}},
        {kBase64, kNoBreak, u"", {57, 0, 0}, {base64, "", ""}},
        {kBase64, kLf, u"", {56, 2, 0}, {base64.substr(4), "AAAA", "\nAA=="}},
        {kHexa, kCrLf, u"", {39, 1, 0}, {hex, "\r\n00", ""}},
        {kUU, kLf, u"n", {45, 0, 0}, {"begin 0444 n\n" + full, "", "\n`\nend"}},
        {kUU, kLf, u"n", {0, 3, 0}, {"", "begin 0444 n\n", "#````\n`\nend"}},
        {kUU, kLf, u"", {45, 1, 2}, {full, "\n", "#````"}},
        {kUU, kLf, u"", {46, 0, 1}, {full, "", "\n\"````"}},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder(row.kind, 0, row.type, row.header)(session);
        for (int call = 0; call < 3; ++call) {
            EXPECT_EQ(Feed(session, Direction::Encode, std::string(row.zeros[call], '\0'), call == 2),
                      (Fed{S_OK, row.text[call]}))
                << "row " << &row - kRows << ", call " << call;
        }
    }
}

uint64_t SizeOf(EncodingSession& session, ByteSpan source, bool end, bool start) {
    const Conversion conversion(session);
    switch (session.Kind) {
        case kBase64:
            return Base64EncodedSize(conversion, source.size(), end);
        case kHexa:
            return HexaEncodedSize(conversion, source.size(), end);
        default:
            return UuXxEncodedSize(conversion, {source, end, start});
    }
}

// A step answers with an error when its size function is not exact, so that rows of ordinary lengths need no test.
TEST(GroupEncode, SizesBeyond32Bits) {
    const struct {
        FormatKind kind;
        uint32_t line;
        int32_t type;
        size_t held;
        uint32_t source;
        uint64_t size;
    } kRows[] = {
        {kBase64, 0, kNoBreak, 0, 3221225469u, 0xFFFFFFFC},
        {kBase64, 0, kNoBreak, 0, 3221225470u, 0x100000000},
        {kBase64, 0, kNoBreak, 2, 0xFFFFFFFF, 5726623064},
        {kBase64, 0xFFFFFFFF, kCrLf, 0, 0xFFFFFFFF, 5726623060 + 2},
        {kHexa, 2, kLf, 0, 0xFFFFFFFF, 8589934590 + 4294967294},
        // 95443717 full lines and one of 30 bytes.
        {kUU, 0, kCrLf, 0, 0xFFFFFFFF, 5726623060 + 95443718 + 2 * 95443717ull},
    };
    static const BYTE nothing = 0;
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder(row.kind, row.line, row.type)(session);
        ASSERT_EQ(Feed(session, Direction::Encode, std::string(row.held, 'x'), false).Code, S_OK);
        EXPECT_EQ(SizeOf(session, {&nothing, row.source}, true, row.held == 0), row.size) << "row " << &row - kRows;
    }
    AllocationFaults watch;
    watch.FailNth(1);
    Output out;
    for (const uint64_t size : {uint64_t{0x100000000}, ~uint64_t{0}}) EXPECT_EQ(out.Allocate(size), E_OUTOFMEMORY);
    EXPECT_EQ(out.Allocate(0), S_OK);
    EXPECT_TRUE(!out.Data() && watch.Struck() == 0) << "what cannot be answered is not asked for";
}

// The column counts in 32 bits; text without breaks may be longer, and the longest line of quoted-printable uses them
// all.
TEST(Encode, ColumnNearItsEnd) {
    const std::string zeros(12, '\0');
    const struct {
        FormatKind kind;
        uint32_t line;
        int32_t type;
        uint32_t column;
        std::string bytes, text;
    } kRows[] = {
        {kBase64, 0, kNoBreak, 0xFFFFFFF8, zeros, "AAAAAAAAAAAAAAAA"},
        {kBase64, ~0u, kLf, 0xFFFFFFF4, zeros, "AAAAAAAA\nAAAAAAAA"},
        {kHexa, 0, kNoBreak, 0xFFFFFFFE, zeros, "000000000000000000000000"},
        {kQP, ~0u, kCrLf, 0xFFFFFFFE, "ab", "=\r\nab"},
        {kQP, ~0u, kCrLf, 0xFFFFFFFC, "=", "=3D"},
        {kQP, ~0u, kCrLf, 0xFFFFFFFD, "=", "=\r\n=3D"},
        {kQP, ~0u, kCrLf, 0xFFFFFFFE, "a\r\n", "a\r\n"},
    };
    for (const auto& row : kRows) {
        for (size_t first = 0; first < row.bytes.size(); ++first) {
            EncodingSession session;
            Encoder(row.kind, row.line, row.type)(session);
            ASSERT_EQ(Feed(session, Direction::Encode, {}, false).Code, S_OK);
            session.Now.Lines.Column = row.column;
            std::string text = Feed(session, Direction::Encode, row.bytes.substr(0, first), false).Bytes;
            text += Feed(session, Direction::Encode, row.bytes.substr(first), true).Bytes;
            EXPECT_EQ(text, row.text) << row.column << ", " << first;
        }
    }
}

}  // namespace
}  // namespace talvo::test
