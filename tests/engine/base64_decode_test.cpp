// The Base64 decoder: every defect strict and tolerant, the repairs that emit more than their share, random text
// against a plain second decoder.
#include <string>

#include <gtest/gtest.h>

#include "engine/kernels/kernels.h"
#include "tests/engine/base64_oracle.h"
#include "tests/engine/defect_rows.h"
#include "tests/support/splits.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

Setup Decoder(bool tolerant) { return TextDecoder(FormatKind::Base64, tolerant); }

TEST(Base64Decode, Defects) {
    constexpr HRESULT kCharacter = berInvalidCharacterInData, kEnd = berInvalidEndOfData, kLeft = berRemainingData,
                      kLine = berInvalidNumberOfCharacterOnLine;
    const DefectRow kRows[] = {
        {"nothing", "", S_OK, S_OK, ""},
        {"whole groups", "QUJDREVG", S_OK, S_OK, "ABCDEF"},
        {"one pad", "QUI=", S_OK, S_OK, "AB"},
        {"two pads", "QUJDRA==", S_OK, S_OK, "ABCD"},
        {"bits beyond the last byte", "QR==", S_OK, S_OK, "A"},
        {"blanks in a group", " Q\tU\fJ D ", S_OK, S_OK, "ABC"},
        {"blanks between pads", "Q Q\t=\f= ", S_OK, S_OK, "A"},
        {"breaks between groups", "\r\nQUJD\r\n\nREVG\r", S_OK, S_OK, "ABCDEF"},
        {"breaks after padding", "QQ==\r\n \n", S_OK, S_OK, "A"},
        {"only white", " \t\f\r\n \r", S_OK, S_OK, ""},

        {"LF in a group", "QUJDQU\nJDQUJD", kLine, kLine, "ABC\x24\x34\x14"s},
        {"CR after one digit", "Q\rQUJD", kLine, kLine, "ABC"},
        {"break between pads", "QQ=\n=", kLine, kLine, ""},
        {"CR LF in a group is one defect", "QUJ\r\nQUJD", kLine, kLine, "ABC"},

        {"outside the alphabet", "QU*JD", kCharacter, kCharacter, "ABC"},
        {"between groups", "QUJD-QUJD", kCharacter, kCharacter, "ABCABC"},
        {"after padding", "QQ==_", kCharacter, kCharacter, "A"},
        {"zero and high bytes", "QU\0JD\xFF\x80"s, kCharacter, kCharacter, "ABC"},

        {"pad first", "=", kEnd, kEnd, ""},
        {"pad for three digits", "=QUJD", kEnd, kEnd, "\x00\x04\x14"s},
        {"pad second", "Q=QUJD", kEnd, kEnd, "\x01\x04\x14"s},
        {"padded group of one digit", "Q===", kEnd, kEnd, "\x01"s},
        {"only pads", "====", kEnd, kEnd, "\0\0"s},
        {"one pad too many", "QQ===", kEnd, kEnd, "A\0"s},
        {"pad after one pad", "QUI==", kEnd, kEnd, "AB"},
        {"data after padding", "QQ==QUJD", kEnd, kEnd, "A"},
        {"the first digit after padding is lost", "QQ==xQUJD", kEnd, kEnd, "AABC"},
        {"data between pads", "QQ=xUJ", kEnd, kEnd, "\x40\x05\x09"s},

        {"one digit left", "QUJDQ", kLeft, kLeft, "ABC"},
        {"two digits left", "QU", kLeft, kLeft, ""},
        {"three digits left", "QUJDQUJ", kLeft, kLeft, "ABC"},
        {"a pad missing", "QUJDQQ=", kLeft, kLeft, "ABC"},

        {"first warning stays", "QUJ\nQ=QUJDQ", kLine, kLine, "\x01\x04\x14"s},
        {"invalid character replaces it", "QUJ\nQUJD*", kLine, kCharacter, "ABC"},
        {"and stays", "*QUJ\nQ", kCharacter, kCharacter, ""},
        {"end of data before rest", "=\nQ", kEnd, kEnd, ""},
    };
    for (const DefectRow& row : kRows) CheckDefect(FormatKind::Base64, row);
}

TEST(Base64Decode, EveryByteHasItsClass) {
    for (unsigned c = 0; c < 256; ++c) {
        const char byte = static_cast<char>(c);
        const size_t value = kDigits.find(byte);
        EncodingSession session;
        Decoder(false)(session);
        ASSERT_EQ(Feed(session, Direction::Decode, "AA", false).Code, S_OK);
        const HRESULT inGroup = value != std::string::npos || " \t\f="s.find(byte) != std::string::npos ? S_OK
                                : byte == '\n' || byte == '\r' ? berInvalidNumberOfCharacterOnLine
                                                               : berInvalidCharacterInData;
        EXPECT_EQ(CodeName(Feed(session, Direction::Decode, {&byte, 1}, false).Code), CodeName(inGroup)) << c;
        if (value == std::string::npos) continue;
        session.ResetSession();
        EXPECT_EQ(Feed(session, Direction::Decode, "AAA"s + byte, true).Bytes, "\0\0"s + static_cast<char>(value)) << c;
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
        const NaiveResult expected = NaiveDecode(row.text, true);
        EXPECT_EQ(expected.Bytes.size(), row.bytes) << row.name;
        CheckEverySplit(row.name, Decoder(true), Direction::Decode, row.text, expected.Code, expected.Bytes);
    }
}

std::string Garbage(std::mt19937& random, size_t size) {
    // From nearly clean to nearly noise.
    static const std::string kKinds[] = {"dddddddddddddddddddd=", "dddddddd=\n ", "ddd=", "dd==\n*", "dd=\r\t*\0"s};
    const std::string& kind = kKinds[random() % std::size(kKinds)];
    std::string text;
    while (text.size() < size) {
        const char c = kind[random() % kind.size()];
        text += c == 'd' ? kDigits[random() % 64] : c == '*' ? static_cast<char>(random()) : c;
    }
    return text;
}

TEST(Base64Decode, GarbageLikeThePlainDecoder) {
    std::mt19937 random(3);
    for (int i = 0; i < 1000; ++i) {
        const std::string text = Garbage(random, random() % 80);
        for (const bool tolerant : {false, true}) {
            const NaiveResult expected = NaiveDecode(text, tolerant);
            SplitChecker(tolerant ? "tolerant" : "strict", Decoder(tolerant), Direction::Decode, text, expected.Code,
                         expected.Bytes)
                .CheckRandom(2);
        }
        if (HasFailure()) break;
    }
}

TEST(Base64Decode, RoundTrips) {
    std::mt19937 random(4);
    for (int i = 0; i < 120; ++i) {
        const std::string bytes = RandomBytes(random, i < 100 ? random() % 300 : random() % 4000);
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(FormatKind::Base64), S_OK);
        ASSERT_EQ(session.SetMaxLineLength(static_cast<uint32_t>(random() % 100)), S_OK);
        ASSERT_EQ(session.SetEndOfLineType(static_cast<int32_t>(random() % 4)), S_OK);
        const std::string text = Feed(session, Direction::Encode, bytes, true).Bytes;
        SplitChecker("round trip", Decoder(false), Direction::Decode, text, S_OK, bytes).CheckRandom(2);
        if (HasFailure()) break;
    }
}

// A kernel stops in front of the group with the odd byte, wherever it is, and has written what comes before.
TEST(Base64Decode, KernelStopsAtEveryOddPlace) {
    std::mt19937 random(5);
    for (const size_t groups : {1, 2, 3, 4, 5, 8, 9, 16, 17, 33}) {
        const std::string bytes = RandomBytes(random, 3 * groups);
        const std::string clean = NaiveEncode(bytes);
        const auto stop = [&](const std::string& text) {
            std::string out(3 * groups, '\0');
            const size_t done = kernels::Base64DecodeGroups(reinterpret_cast<BYTE*>(out.data()),
                                                            reinterpret_cast<const BYTE*>(text.data()), groups);
            EXPECT_EQ(out.substr(0, 3 * done), bytes.substr(0, 3 * done));
            return done;
        };
        EXPECT_EQ(stop(clean), groups);
        for (size_t place = 0; place < clean.size(); ++place) {
            for (unsigned c = 0; c < 256; ++c) {
                if (kDigits.find(static_cast<char>(c)) != std::string::npos) continue;
                std::string text = clean;
                text[place] = static_cast<char>(c);
                ASSERT_EQ(stop(text), place / 4) << "byte " << c << " at " << place;
            }
        }
    }
}

}  // namespace
}  // namespace talvo::test
