// Hexadecimal text: lines and exact sizes, every defect strict and tolerant, random bytes there and back.
#include <string>

#include <gtest/gtest.h>

#include "engine/kernels/kernels.h"
#include "engine/steps.h"
#include "tests/engine/base64_oracle.h"
#include "tests/engine/defect_rows.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

Setup Encoder(uint32_t line = 0, int32_t lineBreak = kCrLf) {
    return [=](EncodingSession& s) {
        ASSERT_EQ(s.SelectFormat(FormatKind::Hexa), S_OK);
        ASSERT_EQ(s.SetMaxLineLength(line), S_OK);
        ASSERT_EQ(s.SetEndOfLineType(lineBreak), S_OK);
    };
}

std::string Naive(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof(digits), "%02X", static_cast<unsigned char>(c));
        text += digits;
    }
    return text;
}

TEST(HexEncode, LinesAndBack) {
    const struct {
        const char* name;
        uint32_t line;
        int32_t type;
        size_t effective;
        const char* lineBreak;
    } kRows[] = {
        {"default", 0, kCrLf, 78, "\r\n"},  {"shortest", 1, kLf, 2, "\n"},
        {"odd", 7, kCr, 6, "\r"},           {"longer than the text", 9000, kLf, 9000, "\n"},
        {"endless", 6, kNoBreak, 9000, ""}, {"longest", 0xFFFFFFFF, kCrLf, 0xFFFFFFFE, "\r\n"},
    };
    std::mt19937 random(1);
    for (const auto& row : kRows) {
        for (const size_t size : {0, 1, 2, 3, 4, 6, 7, 38, 39, 40, 78, 79, 3000}) {
            const std::string bytes = RandomBytes(random, size);
            const std::string text = Wrapped(Naive(bytes), row.effective, row.lineBreak);
            CheckEverySplit(row.name, Encoder(row.line, row.type), Direction::Encode, bytes, S_OK, text);
            SplitChecker(row.name, TextDecoder(FormatKind::Hexa, false), Direction::Decode, text, S_OK, bytes)
                .CheckRandom(6);
        }
    }
}

// What calls of their own give, and that the size is known before.
TEST(HexEncode, OwedBreaks) {
    const struct {
        size_t first, second;
        const char* text;  // of the second call, which is the last
    } kRows[] = {{39, 0, "\r\n"}, {38, 0, ""}, {0, 0, ""}, {39, 1, "\r\n30"}, {78, 0, "\r\n"}, {38, 1, "30"}};
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder()(session);
        const Fed first = Feed(session, Direction::Encode, std::string(row.first, '0'), false);
        EXPECT_FALSE(first.Bytes.ends_with('\n'));
        EXPECT_EQ(HexEncodedSize(session, row.second, true), std::strlen(row.text));
        EXPECT_EQ(Feed(session, Direction::Encode, std::string(row.second, '0'), true), (Fed{S_OK, row.text}));
    }
}

// A line without breaks has an odd limit, and the column counts in 32 bits.
TEST(HexEncode, ColumnNearItsEnd) {
    for (const uint32_t column : {0xFFFFFFF8, 0xFFFFFFFC, 0xFFFFFFFE}) {
        EncodingSession session;
        Encoder(0, kNoBreak)(session);
        ASSERT_EQ(Feed(session, Direction::Encode, {}, false).Code, S_OK);
        session.Column = column;
        EXPECT_EQ(Feed(session, Direction::Encode, "aaaa", false), (Fed{S_OK, "61616161"})) << column;
        EXPECT_EQ(Feed(session, Direction::Encode, "aaaa", true), (Fed{S_OK, "61616161"})) << column;
    }
}

TEST(HexDecode, Defects) {
    constexpr HRESULT kCharacter = berInvalidCharacterInData, kLeft = berRemainingData,
                      kLine = berInvalidNumberOfCharacterOnLine;
    const DefectRow kRows[] = {
        {"nothing", "", S_OK, S_OK, ""},
        {"both cases", "4a4B\r\n4c", S_OK, S_OK, "JKL"},
        {"blanks", " 4 1\t4\f2 ", S_OK, S_OK, "AB"},
        {"breaks between bytes", "\n41\r\r\n42\n\n", S_OK, S_OK, "AB"},
        {"every digit", "0123456789ABCDEFabcdef", S_OK, S_OK, "\x01\x23\x45\x67\x89\xAB\xCD\xEF\xAB\xCD\xEF"},
        {"LF in a byte", "4\n142", kLine, kLine, "\x14"},
        {"blank, then CR in a byte", "414 \r42", kLine, kLine, "AB"},
        {"digit left", "414", kLeft, kLeft, "A"},
        {"digit and blanks left", "4 ", kLeft, kLeft, ""},
        {"first warning stays", "4\n1", kLine, kLine, ""},
        {"prefix", "0x41", kCharacter, kCharacter, "\x04"},
        {"in a byte", "4*1", kCharacter, kCharacter, "A"},
        {"between bytes", "41-42", kCharacter, kCharacter, "AB"},
        {"invalid replaces the first warning", "4\n41g4", kLine, kCharacter, "A"},
        {"zero and high bytes",
         "4\0\xFF\x80"
         "1"s,
         kCharacter, kCharacter, "A"},
    };
    for (const DefectRow& row : kRows) CheckDefect(FormatKind::Hexa, row);
}

TEST(HexDecode, EveryByteHasItsClass) {
    for (unsigned c = 0; c < 256; ++c) {
        const char byte = static_cast<char>(c);
        const bool digit = c < 128 && std::isxdigit(static_cast<int>(c));
        const HRESULT code = digit                                      ? S_OK
                             : " \t\f"s.find(byte) != std::string::npos ? berRemainingData
                             : byte == '\n' || byte == '\r'             ? berInvalidNumberOfCharacterOnLine
                                                                        : berInvalidCharacterInData;
        const std::string bytes = digit ? std::string(1, static_cast<char>(std::stoi("4"s + byte, nullptr, 16))) : "";
        CheckEverySplit("class", TextDecoder(FormatKind::Hexa, false), Direction::Decode, "4"s + byte, code, bytes);
        // The kernel stops in front of the pair with the odd byte.
        for (const size_t place : {0, 1, 6, 9}) {
            std::string text(10, '4');
            text[place] = byte;
            BYTE out[5];
            EXPECT_EQ(kernels::HexDecodePairs(out, reinterpret_cast<const BYTE*>(text.data()), 5),
                      digit ? 5 : place / 2);
        }
    }
}

}  // namespace
}  // namespace talvo::test
