// Splits IDL text into words, numbers, strings and marks. Comments and lines that begin with # are left out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// Where a text stops making sense. Thrown by lexer and parser, caught by ParseIdl.
struct IdlError {
    size_t line;
    std::string reason;
};

enum class TokenKind { End, Word, Number, Text, Mark };

struct Token {
    TokenKind kind = TokenKind::End;
    std::string_view text;  // of a string: what is between the quotes, still escaped
    size_t line = 1;
    uint32_t number = 0;
};

class IdlLexer {
public:
    explicit IdlLexer(std::string_view text);

    const Token& Current() const { return current_; }
    void Advance();
    // The characters from behind the current token up to the next parenthesis that closes, which becomes the current token.
    // For identifiers and versions, which are no words or numbers. Quotes and blanks around them are left out.
    std::string_view TakeRaw();

    // Reading steps: what is not there fails at the current line. Words and marks are told apart by their text alone.
    [[noreturn]] void Fail(std::string reason) const;
    bool Is(std::string_view text) const;
    bool Accept(std::string_view text);
    void Expect(std::string_view text);
    std::string_view TakeWord();
    int64_t TakeInteger();        // with sign: -2^31 to 2^32 - 1
    std::u16string TakeString();  // of one or several adjacent literals

private:
    void SkipBlanks();
    void SkipComment();
    void ReadNumber();
    void ReadText();
    bool At(size_t ahead, char c) const { return position_ + ahead < text_.size() && text_[position_ + ahead] == c; }

    std::string_view text_;
    size_t position_ = 0;
    size_t line_ = 1;
    bool lineStart_ = true;
    Token current_;
};

}  // namespace platform
