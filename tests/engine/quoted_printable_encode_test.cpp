// The quoted-printable encoder: a table at every split, and a line checker that knows what the text promises but not
// how the encoder goes about it, over every short text and random long ones.
#include <string>

#include <gtest/gtest.h>

#include "tests/engine/sessions.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

const std::string kBreaks[] = {"", "\r\n", "\n", "\r"};  // by EndOfLine

std::string A(size_t count) { return std::string(count, 'a'); }

TEST(QuotedPrintableEncode, Rows) {
    const struct {
        const char* name;
        std::string bytes, text;
        uint32_t line = 0;
    } kRows[] = {
        {"escapes", "Hello, World!a=b\0\xFF"s, "Hello, World=21a=3Db=00=FF"},
        {"escape goes over", A(74) + "=", A(74) + "=\r\n=3D"},
        {"full line, two CR, LF", A(76) + "\r\r\n", A(75) + "=\r\na=0D\r\n"},
        {"blank fills the line", A(75) + " \r\n", A(75) + "=\r\n =\r\n\r\n"},
        {"shortest line", "====", "=3D=\r\n=3D=\r\n=3D=\r\n=3D", 1},
    };
    for (const auto& row : kRows) {
        CheckEverySplit(row.name, Encoder(kQP, row.line), Direction::Encode, row.bytes, S_OK, row.text);
    }
}

// What is wrong with `text` as the encoding of `bytes`, or nothing.
class LineChecker {
public:
    LineChecker(size_t limit, int32_t type) : limit_(limit), hard_(kBreaks[type]) {}

    std::string Check(const std::string& bytes, const std::string& text) {
        decoded_.clear();
        size_t hardBreaks = 0;
        for (size_t at = 0;;) {
            const size_t end = text.find("\r\n", at);
            const bool last = end == std::string::npos;
            const std::string line = text.substr(at, last ? end : end - at);
            if (line.size() > limit_) return "too long: " + line;
            if (line.find_first_of("\r\n") != std::string::npos) return "lone CR or LF: " + line;
            if (line.ends_with(' ') || line.ends_with('\t')) return "blank at the end: " + line;
            const bool soft = line.ends_with('=');
            if (last && soft) return "soft break, then nothing: " + line;
            if (!Decode(soft ? line.substr(0, line.size() - 1) : line)) return "not as written: " + line;
            if (last) break;
            at = end + 2;
            if (soft && !Late(line, text, at)) return "too early: " + line;
            if (!soft) decoded_ += hard_, ++hardBreaks;
        }
        if (decoded_ != bytes) return "decodes to " + testing::PrintToString(decoded_);
        for (size_t at = 0; !hard_.empty() && (at = bytes.find(hard_, at)) != std::string::npos; at += hard_.size()) {
            --hardBreaks;
        }
        return hardBreaks == 0 ? "" : "line breaks as escapes";
    }

private:
    // Appends what the line stands for. Escapes are for what must not stand for itself, and for nothing else.
    bool Decode(const std::string& line) {
        for (size_t i = 0; i < line.size(); ++i) {
            const bool escaped = line[i] == '=';
            char byte = line[i];
            if (escaped) {
                const std::string digits = line.substr(i + 1, 2);
                if (digits.size() != 2 || digits.find_first_not_of("0123456789ABCDEF") != std::string::npos)
                    return false;
                byte = static_cast<char>(std::stoi(digits, nullptr, 16));
                i += 2;
            }
            const bool literal = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
                                 (byte >= '%' && byte <= '?' && byte != '=') || byte == '_' || byte == ' ' ||
                                 byte == '\t';
            if (literal == escaped) return false;
            decoded_ += byte;
        }
        return true;
    }

    // A soft break comes behind a blank that would end its line, or because the next character has no room: it would
    // leave none for "=", or, if it could end the line, is a blank or follows one.
    bool Late(const std::string& line, const std::string& text, size_t next) const {
        const std::string rest = text.substr(next, 5);
        const char before = line.size() > 1 ? line[line.size() - 2] : 'a';
        const bool blankBefore = before == ' ' || before == '\t';
        if (rest.empty() || rest.starts_with("\r\n")) return blankBefore;
        const size_t width = rest[0] == '=' ? 3 : 1;
        const size_t with = line.size() - 1 + width;
        if (with != limit_) return with > limit_;
        const bool hardFollows = rest.substr(width, 2) == "\r\n", endFollows = rest.size() == width;
        if (hardFollows) return blankBefore;
        return !endFollows;
    }

    size_t limit_;
    std::string hard_, decoded_;
};

// The whole in one call, checked; and the same in single bytes. `text` is the result.
std::string Encode(const std::string& bytes, uint32_t line, int32_t type, bool singly) {
    EncodingSession session;
    Encoder(kQP, line, type)(session);
    std::string text;
    for (size_t i = 0; singly && i < bytes.size(); ++i) {
        text += Feed(session, Direction::Encode, bytes.substr(i, 1), false).Bytes;
    }
    const Fed last = Feed(session, Direction::Encode, singly ? "" : bytes, true);
    EXPECT_EQ(CodeName(last.Code), "S_OK") << testing::PrintToString(bytes);
    return text + last.Bytes;
}

TEST(QuotedPrintableEncode, EveryShortText) {
    constexpr std::string_view kBytes = "a =\r\n";
    for (const uint32_t line : {4u, 5u, 6u, 7u}) {
        for (int32_t type = kNoBreak; type <= kCr; ++type) {
            LineChecker checker(line, type);
            for (size_t number = 0, count = 3125; number < 2 * count; ++number) {
                std::string bytes = number < count ? "" : "aaa";
                for (size_t digits = number % count; digits != 0; digits /= 5) bytes += kBytes[digits % 5];
                const std::string text = Encode(bytes, line, type, false);
                ASSERT_EQ(checker.Check(bytes, text), "")
                    << testing::PrintToString(bytes) << " gives " << testing::PrintToString(text) << ", " << line;
                ASSERT_EQ(Encode(bytes, line, type, true), text) << testing::PrintToString(bytes);
            }
        }
    }
}

// Long texts keep the checker's promises, and decode back whatever the line ends they are stored with.
TEST(QuotedPrintableEncode, RandomTexts) {
    static const std::string kKinds[] = {"abcdefgh ", "word word \t=\r\n", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\n\r", "*",
                                         "a*"};
    std::mt19937 random(7);
    for (int i = 0; i < 400; ++i) {
        const std::string& kind = kKinds[i % std::size(kKinds)];
        const uint32_t line = i % 3 == 0 ? 76 : static_cast<uint32_t>(4 + random() % 80);
        const auto type = static_cast<int32_t>(random() % 4);
        std::string bytes;
        for (size_t size = random() % 600; bytes.size() < size;) {
            const char c = kind[random() % kind.size()];
            bytes += c == '*'             ? std::string(1, static_cast<char>(random()))
                     : random() % 30 == 0 ? kBreaks[type]
                                          : std::string(1, c);
        }
        std::string text = Encode(bytes, line, type, false);
        ASSERT_EQ(LineChecker(line, type).Check(bytes, text), "") << line << ", " << testing::PrintToString(bytes);
        SplitChecker("random", Encoder(kQP, line, type), Direction::Encode, bytes, S_OK, text).CheckRandom(3);
        for (const char* const stored : {"\r\n", "\n", "\r"}) {
            std::string other;
            for (const char c : text) other += c == '\r' ? stored : c == '\n' ? "" : std::string(1, c);
            SplitChecker(stored, Decoder(kQP, false, true, type), Direction::Decode, other, S_OK, bytes).CheckRandom(1);
        }
        if (HasFailure()) break;
    }
}

}  // namespace
}  // namespace talvo::test
