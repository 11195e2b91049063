// The Base64 and hexadecimal decoders: every defect strict and tolerant, the repairs that emit more than their share,
// random text against a plain second decoder; and single odd bytes in every format.
#include <string>

#include <gtest/gtest.h>

#include "tests/engine/oracles.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

TEST(Base64Decode, Defects) {
    const DefectRow kRows[] = {
        {"one pad", "QUJDQUI=", S_OK, "ABCAB"},
        {"bits beyond the last byte", "QR==", S_OK, "A"},
        {"blanks in a group and between pads", " Q\tQ\f= = ", S_OK, "A"},
        {"breaks between groups, after padding", "\r\nQUJD\r\n\nQQ==\r\n \n", S_OK, "ABCA"},

        {"LF in a group", "QUJDQU\nJDQUJD", kLine, "ABC\x24\x34\x14"s},
        {"CR after one digit", "Q\rQUJD", kLine, "ABC"},
        {"break between pads", "QQ=\n=", kLine, ""},
        {"CR LF in a group is one defect", "QUJ\r\nQUJD", kLine, "ABC"},

        {"outside the alphabet", "QU*JD-QUJD", kCharacter, "ABCABC"},
        {"after padding", "QQ==_", kCharacter, "A"},
        {"zero and high bytes", "QU\0JD\xFF\x80"s, kCharacter, "ABC"},

        {"pad for three digits", "=QUJD", kEnd, "\x00\x04\x14"s},
        {"pad second", "Q=QUJD", kEnd, "\x01\x04\x14"s},
        {"padded group of one digit", "Q===", kEnd, "\x01"s},
        {"only pads", "====", kEnd, "\0\0"s},
        {"one pad too many", "QQ===", kEnd, "A\0"s},
        {"the first digit after padding is lost", "QQ==xQUJD", kEnd, "AABC"},
        {"data between pads", "QQ=xUJ", kEnd, "\x40\x05\x09"s},

        {"one digit left", "QUJDQ", kLeft, "ABC"},
        {"three digits left", "QUJDQUJ", kLeft, "ABC"},
        {"a pad missing", "QUJDQQ=", kLeft, "ABC"},

        {"first warning stays", "QUJ\nQ=QUJDQ", kLine, "\x01\x04\x14"s},
        {"invalid character replaces it", "QUJ\nQUJD*", kLine, "ABC", kCharacter},
        {"and stays", "*QUJ\nQ", kCharacter, ""},
        {"end of data before rest", "=\nQ", kEnd, ""},
    };
    for (const DefectRow& row : kRows) CheckDefect(kBase64, row);
}

TEST(HexDecode, Defects) {
    const DefectRow kRows[] = {
        {"both cases", "4a4B\r\n4c", S_OK, "JKL"},
        {"blanks", " 4 1\t4\f2 ", S_OK, "AB"},
        {"breaks between bytes", "\n41\r\r\n42\n\n", S_OK, "AB"},
        {"LF in a byte", "4\n142", kLine, "\x14"},
        {"blank, then CR in a byte", "414 \r42", kLine, "AB"},
        {"digit left", "414", kLeft, "A"},
        {"digit and blanks left", "4 ", kLeft, ""},
        {"first warning stays", "4\n1", kLine, ""},
        {"prefix", "0x41", kCharacter, "\x04"},
        {"between bytes", "41-4\xFF\x32"s, kCharacter, "AB"},
        {"invalid replaces the first warning", "4\n41g4", kLine, "A", kCharacter},
    };
    for (const DefectRow& row : kRows) CheckDefect(kHexa, row);
}

// Inside a group, so that the class shows at once or at the end of data.
TEST(GroupDecode, EveryByteHasItsClass) {
    const struct {
        FormatKind kind;
        const char *held, *blanks, *breaks;
        HRESULT left;
    } kRows[] = {{kBase64, "AA", " \t\f=", "\n\r", kLeft},
                 {kHexa, "4", " \t\f", "\n\r", kLeft},
                 {kUU, "#AA", " \t\f", "\n\r", kLeft},
                 {kXX, "1AA", " \t\f", "\n\r", kLeft},
                 {kBinHex, "!!", "\t\n\f\r :", "", S_OK}};
    for (const auto& row : kRows) {
        const std::string_view digits = row.kind == kHexa ? "0123456789ABCDEFabcdef" : DigitsOf(row.kind);
        for (unsigned c = 0; c < 256; ++c) {
            const std::string byte(1, static_cast<char>(c));
            const auto among = [&](std::string_view all) { return all.find(byte) != all.npos; };
            const bool blank = among(row.blanks);
            EncodingSession session;
            Decoder(row.kind, false, false)(session);
            ASSERT_EQ(Feed(session, Direction::Decode, row.held, false).Code, S_OK);
            EXPECT_EQ(CodeName(Feed(session, Direction::Decode, byte, false).Code),
                      CodeName(among(digits) || blank ? S_OK
                               : among(row.breaks)    ? kLine
                                                      : kCharacter))
                << c;
            if (!blank) continue;
            EXPECT_EQ(CodeName(Feed(session, Direction::Decode, {}, true).Code), CodeName(row.left)) << c;
        }
    }
}

// Tolerant repairs complete groups from fewer characters than a group has; the room must be there.
TEST(Base64Decode, RepairsThatEmitMuch) {
    std::string threes;
    for (int i = 0; i < 1000; ++i) threes += "=ab";
    const struct {
        const char* name;
        std::string text;
        size_t bytes;
    } kRows[] = {
        {"a byte for each pad after padding", "QQ==" + std::string(3000, '='), 1 + 3000},
        {"pads from the start", std::string(3000, '='), 3000 - 2},
        {"three bytes for three characters", threes, 3000},
        {"a pad first completes a held group", "abc" + threes, 2 + 3 * 999},
        {"one pad, then pads", "QUI=" + std::string(3001, '='), 2 + 3000},
    };
    for (const auto& row : kRows) {
        const Fed expected = NaiveDecode(row.text, true);
        EXPECT_EQ(expected.Bytes.size(), row.bytes) << row.name;
        CheckEverySplit(row.name, Decoder(kBase64, true), Direction::Decode, row.text, expected.Code, expected.Bytes);
    }
}

TEST(Base64Decode, GarbageLikeThePlainDecoder) {
    // From nearly clean to nearly noise.
    static const std::string kKinds[] = {"dddddddddddddddddddd=", "dddddddd=\n ", "ddd=", "dd==\n*", "dd=\r\t*\0"s};
    std::mt19937 random(3);
    for (int i = 0; i < 1000 && !HasFailure(); ++i) {
        const std::string& kind = kKinds[random() % std::size(kKinds)];
        std::string text;
        for (size_t size = random() % 80; text.size() < size;) {
            const char c = kind[random() % kind.size()];
            text += c == 'd' ? kBase64Digits[random() % 64] : c == '*' ? static_cast<char>(random()) : c;
        }
        for (const bool tolerant : {false, true}) {
            const Fed expected = NaiveDecode(text, tolerant);
            SplitChecker(tolerant ? "tolerant" : "strict", Decoder(kBase64, tolerant), Direction::Decode, text,
                         expected.Code, expected.Bytes)
                .CheckRandom(2);
        }
    }
}

// Kernels take whole groups up to the one with the odd byte, wherever it is: as single characters say.
TEST(GroupDecode, OneOddByteAtEveryPlace) {
    std::mt19937 random(5);
    for (const FormatKind kind : {kUU, kXX, kBase64, kHexa, kBinHex}) {
        const std::string clean = NaiveText(kind, RandomBytes(random, 60), 85, "\n") + "\n";
        for (size_t i = 0; i < 24 * clean.size() && !HasFailure(); ++i) {
            std::string text = clean;
            text[i % clean.size()] = static_cast<char>(random());
            for (const bool tolerant : {false, true}) {
                EncodingSession session;
                Decoder(kind, tolerant, false)(session);
                const Fed whole = Feed(session, Direction::Decode, text, true);
                SplitChecker("odd byte", Decoder(kind, tolerant, false), Direction::Decode, text, whole.Code,
                             whole.Bytes)
                    .Check({});
            }
        }
    }
}

}  // namespace
}  // namespace talvo::test
