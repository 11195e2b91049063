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

        {"LF in a group", "QUJDQU\nJDQUJD", kLine, "ABC\x24\x34\x14"s},
        {"break between pads", "QQ=\n=", kLine, ""},
        {"CR LF in a group is one defect", "QUJ\r\nQUJD", kLine, "ABC"},

        {"outside the alphabet", "QU*JD-QUJD", kCharacter, "ABCABC"},

        {"pad for three digits", "=QUJD", kEnd, "\x00\x04\x14"s},
        {"pad second", "Q=QUJD", kEnd, "\x01\x04\x14"s},
        {"padded group of one digit", "Q===", kEnd, "\x01"s},
        {"the first digit after padding is lost", "QQ==xQUJD", kEnd, "AABC"},

        {"a pad missing", "QUJDQQ=", kLeft, "ABC"},

        {"invalid character replaces it", "QUJ\nQUJD*", kLine, "ABC", kCharacter},
    };
    for (const DefectRow& row : kRows) CheckDefect(kBase64, row);
}

TEST(HexDecode, Defects) {
    const DefectRow kRows[] = {
        {"both cases", "4a4B\r\n4c", S_OK, "JKL"},
        {"blanks", " 4 1\t4\f2 ", S_OK, "AB"},
        {"LF in a byte", "4\n142", kLine, "\x14"},
        {"blank, then CR in a byte", "414 \r42", kLine, "AB"},
        {"digit left", "414", kLeft, "A"},
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
    std::string threes = "abc";
    for (int i = 0; i < 1000; ++i) threes += "=ab";
    for (const std::string& text :
         {"QQ==" + std::string(3000, '='), std::string(3000, '='), threes.substr(3), threes}) {
        const Fed expected = NaiveDecode(text, true);
        CheckEverySplit("repairs", Decoder(kBase64, true), Direction::Decode, text, expected.Code, expected.Bytes);
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

// Kernels take whole groups up to the one with the odd byte, wherever it is: as single characters say. So does what a
// byte too many or a line too few makes of a text with a header.
TEST(GroupDecode, DamagedTexts) {
    std::mt19937 random(5);
    for (const FormatKind kind : {kUU, kXX, kBase64, kHexa, kBinHex}) {
        const bool lengths = kind == kUU || kind == kXX;
        const std::string lines = NaiveText(kind, RandomBytes(random, 60), 41, "\n") + "\n";
        const std::string framed = "begin 644 n\r\n" + lines + DigitsOf(kind)[0] + "\nend\r\n";
        for (size_t i = 0; i < 16 * lines.size() && !HasFailure(); ++i) {
            const bool header = lengths && i % 2;
            std::string text = header ? framed : lines;
            const size_t at = i % text.size();
            if (lengths && random() % 4 == 0) text.erase(at, random() % 70);
            if (lengths && random() % 4 == 0) text.insert(std::min(at, text.size()), 1, "\n e"[random() % 3]);
            if (at < text.size()) text[at] = static_cast<char>(random());
            for (const bool tolerant : {false, true}) {
                EncodingSession session;
                Decoder(kind, tolerant, header)(session);
                const Fed whole = Feed(session, Direction::Decode, text, true);
                SplitChecker("damaged", Decoder(kind, tolerant, header), Direction::Decode, text, whole.Code,
                             whole.Bytes)
                    .CheckRandom(1);
            }
        }
    }
}

}  // namespace
}  // namespace talvo::test
