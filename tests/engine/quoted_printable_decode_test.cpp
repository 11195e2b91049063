// The quoted-printable decoder: defects strict and tolerant, and garbage with every type of line break against a second
// decoder that looks at the whole text at once.
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "tests/engine/sessions.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

TEST(QuotedPrintableDecode, Defects) {
    const DefectRow kRows[] = {
        {"blanks before a break", "ab \t\r\ncd  ", S_OK, "ab\r\ncd"},
        {"an escaped blank stays", "a=20 \r\n=09", S_OK, "a \r\n\t"},
        {"blanks between CR and LF", "a\r \nb", S_OK, "a\r\nb"},
        {"soft, then hard", "a=\r\n\r\nb=\n\nc=\r\rd", S_OK, "a\r\nb\r\nc\r\nd"},

        {"no second digit", "=aG", kCharacter, "=AG"},
        {"nor behind a digit", "=4=41", kCharacter, "=4=41"},
        {"break behind a digit", "=4\r\nb", kCharacter, "=4\r\nb"},
        {"digit left", "=a", kLeft, "=A"},
    };
    for (const DefectRow& row : kRows) CheckDefect(kQP, row);
}

// Blanks are held back without limit, and let go in one piece.
TEST(QuotedPrintableDecode, ManyBlanks) {
    for (const size_t count : {1023, 1024, 1025, 5000}) {
        const std::string blanks(count, '\t');
        CheckEverySplit("kept", Decoder(kQP, false), Direction::Decode, "a" + blanks + "b" + blanks + "=", S_OK,
                        "a" + blanks + "b" + blanks);
        CheckEverySplit("dropped", Decoder(kQP, false), Direction::Decode, blanks + "\n" + blanks, S_OK, "\r\n");
    }
}

Fed NaiveDecode(const std::string& text, bool tolerant, const std::string& lineBreak) {
    static const std::regex kToken(
        R"((=[ \t\f]*(?:\r\n|\r|\n|$))|=[ \t\f]*([0-9A-Fa-f])[ \t\f]*([0-9A-Fa-f]))"
        R"(|=[ \t\f]*(?:([0-9A-Fa-f])[ \t\f]*)?([^]?)|([ \t]*(?:\r[ \t]*\n|\r|\n))|([ \t]+$)|([^]))");
    enum { kSoft = 1, kHigh, kLow, kHeld, kWrong, kBreak, kTrailing, kOther };
    Fed result;
    for (std::sregex_iterator token(text.begin(), text.end(), kToken), end; token != end; ++token) {
        const auto& part = *token;
        if (part[kHigh].matched) {
            result.Bytes += static_cast<char>(std::stoi(part[kHigh].str() + part[kLow].str(), nullptr, 16));
        } else if (part[kWrong].matched) {
            const bool left = part[kWrong].length() == 0;
            if (!tolerant) return {left ? berRemainingData : berInvalidCharacterInData, {}};
            if (!left) result.Code = berWarningInvalidCharacterInData;
            if (result.Code == S_OK) result.Code = berWarningRemainingData;
            result.Bytes += '=';
            if (part[kHeld].matched) result.Bytes += static_cast<char>(std::toupper(*part[kHeld].first));
            if (!part[kHeld].matched || !std::strchr("\r\n", *part[kWrong].first)) result.Bytes += part[kWrong].str();
        } else if (part[kBreak].matched) {
            if (lineBreak.empty()) return {berInvalidEndOfLineType, {}};
            result.Bytes += lineBreak;
        } else {
            result.Bytes += part[kOther].str();
        }
    }
    return result;
}

TEST(QuotedPrintableDecode, GarbageLikeThePlainDecoder) {
    static const std::string kKinds[] = {"abc   =4\r\n", "abcd=\n  \r", "=0F9\t", "=\r\n *", "*"};
    std::mt19937 random(8);
    for (int i = 0; i < 3000; ++i) {
        const std::string& kind = kKinds[i % std::size(kKinds)];
        std::string text;
        for (size_t size = random() % 50; text.size() < size;) {
            const char c = kind[random() % kind.size()];
            text += random() % 8 == 0 ? "=4A"
                    : c == '*'        ? std::string(1, static_cast<char>(random()))
                                      : std::string(1, c);
        }
        for (const auto& [type, lineBreak] : {std::pair{kCrLf, "\r\n"}, {kLf, "\n"}, {kCr, "\r"}, {kNoBreak, ""}}) {
            for (const bool tolerant : {false, true}) {
                const Fed expected = NaiveDecode(text, tolerant, lineBreak);
                SplitChecker("garbage", Decoder(kQP, tolerant, true, type), Direction::Decode, text, expected.Code,
                             expected.Bytes)
                    .CheckRandom(1);
            }
        }
        if (HasFailure()) break;
    }
}

}  // namespace
}  // namespace talvo::test
