// What the encoders of groups of characters share (Base64, hexadecimal, UU, XX, the text layer of BinHex): published
// texts, lines there and back, what each call writes, exact sizes, and the ends of 32-bit counters.
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
    } kRows[] = {{kBase64, "", ""},
                 {kBase64, "f", "Zg=="},
                 {kBase64, "fo", "Zm8="},
                 {kBase64, "foo", "Zm9v"},
                 {kBase64, "foob", "Zm9vYg=="},
                 {kBase64, "fooba", "Zm9vYmE="},
                 {kBase64, "foobar", "Zm9vYmFy"},
                 {kHexa, "foobar", "666F6F626172"},
                 {kUU, "", ""},
                 {kUU, "C", "!0P``"},
                 {kBinHex, "abcd", "B@*MC!"}};
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
        {kUU, u"a.txt", 0644, "", "begin 0644 a.txt\n`\nend"},
        {kXX, u"a", 07, "Ca", "begin 0007 a\n0Eq2+\n+\nend"},
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
                 {kHexa, 1, 2, kLf},       {kHexa, 7, 6, kCr},         {kHexa, 60, 60, kNo},
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
        const char* name;
        FormatKind kind;
        int32_t type;
        std::u16string header;
        size_t zeros[3];
        std::string text[3];
    } kRows[] = {
        {"Base64, full line", kBase64, kCrLf, u"", {57, 0, 0}, {base64, "", "\r\n"}},
        {"Base64, two full lines, CR", kBase64, kCr, u"", {114, 0, 0}, {base64 + "\r" + base64, "", "\r"}},
        {"Base64, no line", kBase64, kCrLf, u"", {0, 0, 0}, {"", "", ""}},
        {"Base64, no breaks", kBase64, kNoBreak, u"", {57, 0, 0}, {base64, "", ""}},
        {"Base64, held bytes", kBase64, kLf, u"", {56, 2, 0}, {base64.substr(4), "AAAA", "\nAA=="}},
        {"hexadecimal, full line", kHexa, kCrLf, u"", {39, 0, 0}, {hex, "", "\r\n"}},
        {"hexadecimal, one more", kHexa, kCrLf, u"", {39, 1, 0}, {hex, "\r\n00", ""}},
        {"UU, full line", kUU, kLf, u"n", {45, 0, 0}, {"begin 0444 n\n" + full, "", "\n`\nend"}},
        {"UU, held bytes", kUU, kLf, u"n", {2, 0, 0}, {"begin 0444 n\n", "", "\"````\n`\nend"}},
        {"UU, the header waits for data", kUU, kLf, u"n", {0, 3, 0}, {"", "begin 0444 n\n", "#````\n`\nend"}},
        {"UU, break with the next data", kUU, kLf, u"", {45, 1, 2}, {full, "\n", "#````"}},
        {"UU, break with the next group", kUU, kLf, u"", {46, 0, 1}, {full, "", "\n\"````"}},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder(row.kind, 0, row.type, row.header)(session);
        for (int call = 0; call < 3; ++call) {
            EXPECT_EQ(Feed(session, Direction::Encode, std::string(row.zeros[call], '\0'), call == 2),
                      (Fed{S_OK, row.text[call]}))
                << row.name << ", call " << call;
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

// The size function against what the step writes, from any place of a line and with any number of held bytes.
TEST(GroupEncode, SizeIsExact) {
    const std::string bytes(140, '\x5A');
    std::mt19937 random(6);
    for (int i = 0; i < 60000 && !HasFailure(); ++i) {
        const FormatKind kind = std::array{kBase64, kHexa, kUU}[random() % 3];
        const auto line = static_cast<uint32_t>(random() % 2 ? random() % 100 : 0);
        const auto type = static_cast<int32_t>(kind == kUU ? 1 + random() % 3 : random() % 4);
        const size_t before = random() % 93, size = random() % (random() % 2 ? 6 : 140);
        const bool end = random() % 2;
        EncodingSession session;
        Encoder(kind, line, type, random() % 2 ? kAccented : u"")(session);
        static_cast<void>(Feed(session, Direction::Encode, bytes.substr(0, before), false));
        const ByteSpan source(reinterpret_cast<const BYTE*>(bytes.data()), size);
        const uint64_t expected = size == 0 && !end ? 0 : SizeOf(session, source, end, before == 0);
        EXPECT_EQ(Feed(session, Direction::Encode, bytes.substr(0, size), end).Bytes.size(), expected)
            << "kind " << static_cast<int>(kind) << ", line " << line << ", breaks " << type << ", " << before << " + "
            << size << ", end " << end;
    }
}

TEST(GroupEncode, SizesBeyond32Bits) {
    const struct {
        const char* name;
        FormatKind kind;
        uint32_t line;
        int32_t type;
        size_t held;
        uint32_t source;
        uint64_t size;
    } kRows[] = {
        {"largest that fits", kBase64, 0, kNoBreak, 0, 3221225469u, 0xFFFFFFFC},
        {"one byte more", kBase64, 0, kNoBreak, 0, 3221225470u, 0x100000000},
        {"and two bytes held", kBase64, 0, kNoBreak, 2, 0xFFFFFFFF, 5726623064},
        {"in default lines", kBase64, 0, kCrLf, 0, 0xFFFFFFFF, 5726623060 + 2 * 75350303ull},
        {"in longest lines", kBase64, 0xFFFFFFFF, kCrLf, 0, 0xFFFFFFFF, 5726623060 + 2},
        {"hexadecimal", kHexa, 2, kLf, 0, 0xFFFFFFFF, 8589934590 + 4294967294},
        // 95443717 full lines and one of 30 bytes.
        {"UU", kUU, 0, kCrLf, 0, 0xFFFFFFFF, 5726623060 + 95443718 + 2 * 95443717ull},
        {"UU in shortest lines", kUU, 5, kCrLf, 0, 0xFFFFFFFF, 7 * 1431655765ull - 2},
    };
    static const BYTE nothing = 0;
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder(row.kind, row.line, row.type)(session);
        ASSERT_EQ(Feed(session, Direction::Encode, std::string(row.held, 'x'), false).Code, S_OK);
        EXPECT_EQ(SizeOf(session, {&nothing, row.source}, true, row.held == 0), row.size) << row.name;
    }
    AllocationFaults watch;
    Output out;
    for (const uint64_t size : {uint64_t{0x100000000}, ~uint64_t{0}}) EXPECT_EQ(out.Allocate(size), E_OUTOFMEMORY);
    EXPECT_EQ(out.Allocate(0), S_OK);
    EXPECT_TRUE(!out.Data() && watch.Asked() == 0) << "what cannot be answered is not asked for";
}

// The column counts in 32 bits; text without breaks may be longer, and its limit is odd.
TEST(GroupEncode, ColumnNearItsEnd) {
    const struct {
        FormatKind kind;
        uint32_t line;
        int32_t type;
        uint32_t column;
        const char* text;  // of 12 zero bytes
    } kRows[] = {
        {kBase64, 0, kNoBreak, 0xFFFFFFF0, "AAAAAAAAAAAAAAAA"},
        {kBase64, 0, kNoBreak, 0xFFFFFFF8, "AAAAAAAAAAAAAAAA"},
        {kBase64, ~0u, kLf, 0xFFFFFFF4, "AAAAAAAA\nAAAAAAAA"},
        {kHexa, 0, kNoBreak, 0xFFFFFFF8, "000000000000000000000000"},
        {kHexa, 0, kNoBreak, 0xFFFFFFFE, "000000000000000000000000"},
    };
    for (const auto& row : kRows) {
        for (const size_t first : {1, 3, 4, 9, 12}) {
            EncodingSession session;
            Encoder(row.kind, row.line, row.type)(session);
            ASSERT_EQ(Feed(session, Direction::Encode, {}, false).Code, S_OK);
            session.Now.Lines.Column = row.column;
            std::string text;
            for (const size_t size : {first, 12 - first, size_t{0}}) {
                text += Feed(session, Direction::Encode, std::string(size, '\0'), size == 0).Bytes;
            }
            EXPECT_EQ(text, row.text) << row.column << ", " << first;
        }
    }
}

}  // namespace
}  // namespace talvo::test
