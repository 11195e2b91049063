// See idl_lexer.h.
#include "platform/idl_lexer.h"

#include <algorithm>

#include "platform/wide_text.h"

namespace platform {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsWord(char c) { return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

int HexDigit(char c) {
    if (IsDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

IdlLexer::IdlLexer(std::string_view text) : text_(text) {
    if (text_.starts_with("\xEF\xBB\xBF")) position_ = 3;
    Advance();
}

void IdlLexer::SkipComment() {
    const bool block = At(1, '*');
    const size_t end = block ? text_.find("*/", position_ + 2) : std::min(text_.find('\n', position_), text_.size());
    if (end == std::string_view::npos) throw IdlError{line_, "comment without end"};
    const size_t stop = block ? end + 2 : end;
    line_ += static_cast<size_t>(std::count(text_.begin() + static_cast<std::ptrdiff_t>(position_),
                                            text_.begin() + static_cast<std::ptrdiff_t>(stop), '\n'));
    position_ = stop;
}

void IdlLexer::SkipBlanks() {
    while (position_ < text_.size()) {
        const char c = text_[position_];
        if (c == '/' && (At(1, '/') || At(1, '*'))) {
            SkipComment();
        } else if (c == '#' && lineStart_) {
            position_ = std::min(text_.find('\n', position_), text_.size());
        } else if (c == '\n' || c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') {
            if (c == '\n') {
                ++line_;
                lineStart_ = true;
            }
            ++position_;
        } else {
            break;
        }
    }
}

// Decimal or hexadecimal, up to 32 bits, with the suffixes of C.
void IdlLexer::ReadNumber() {
    const bool hex = At(0, '0') && (At(1, 'x') || At(1, 'X'));
    size_t end = position_ + (hex ? 2 : 0);
    const size_t first = end;
    uint64_t number = 0;
    for (int digit = 0; end < text_.size() && (digit = HexDigit(text_[end])) >= 0 && (hex || digit < 10); ++end) {
        number = number * (hex ? 16 : 10) + static_cast<uint64_t>(digit);
        if (number > UINT32_MAX) throw IdlError{line_, "number too large"};
    }
    if (end == first) throw IdlError{line_, "number without digits"};
    while (end < text_.size() && (text_[end] == 'u' || text_[end] == 'U' || text_[end] == 'l' || text_[end] == 'L'))
        ++end;
    if (end < text_.size() && IsWord(text_[end])) throw IdlError{line_, "malformed number"};
    current_.kind = TokenKind::Number;
    current_.text = text_.substr(position_, end - position_);
    current_.number = static_cast<uint32_t>(number);
    position_ = end;
}

void IdlLexer::ReadText() {
    size_t end = position_ + 1;
    while (end < text_.size() && text_[end] != '"' && text_[end] != '\n') end += text_[end] == '\\' ? 2 : 1;
    if (end >= text_.size() || text_[end] != '"') throw IdlError{line_, "string without end"};
    current_.kind = TokenKind::Text;
    current_.text = text_.substr(position_ + 1, end - position_ - 1);
    position_ = end + 1;
}

void IdlLexer::Advance() {
    SkipBlanks();
    lineStart_ = false;
    current_ = Token{};
    current_.line = line_;
    if (position_ >= text_.size()) return;
    const char c = text_[position_];
    if (IsDigit(c)) return ReadNumber();
    if (c == '"') return ReadText();
    size_t end = position_ + 1;
    current_.kind = IsWord(c) ? TokenKind::Word : TokenKind::Mark;
    if (current_.kind == TokenKind::Word) {
        while (end < text_.size() && IsWord(text_[end])) ++end;
    }
    current_.text = text_.substr(position_, end - position_);
    position_ = end;
}

std::string_view IdlLexer::TakeRaw() {
    const size_t stop = text_.find_first_of(")\n", position_);
    if (stop == std::string_view::npos || text_[stop] != ')') throw IdlError{line_, "missing )"};
    std::string_view raw = text_.substr(position_, stop - position_);
    position_ = stop;
    Advance();
    while (!raw.empty() && (raw.front() == ' ' || raw.front() == '"')) raw.remove_prefix(1);
    while (!raw.empty() && (raw.back() == ' ' || raw.back() == '"')) raw.remove_suffix(1);
    return raw;
}

void IdlLexer::Fail(std::string reason) const { throw IdlError{current_.line, std::move(reason)}; }

bool IdlLexer::Is(std::string_view text) const {
    return (current_.kind == TokenKind::Word || current_.kind == TokenKind::Mark) && current_.text == text;
}

bool IdlLexer::Accept(std::string_view text) {
    if (!Is(text)) return false;
    Advance();
    return true;
}

void IdlLexer::Expect(std::string_view text) {
    if (!Accept(text)) Fail("expected " + std::string(text));
}

std::string_view IdlLexer::TakeWord() {
    if (current_.kind != TokenKind::Word) Fail("expected a name");
    const std::string_view word = current_.text;
    Advance();
    return word;
}

int64_t IdlLexer::TakeInteger() {
    const bool negative = Accept("-");
    if (current_.kind != TokenKind::Number) Fail("expected a number");
    const int64_t number = current_.number;
    if (negative && number > int64_t{INT32_MAX} + 1) Fail("number too small");
    Advance();
    return negative ? -number : number;
}

std::u16string IdlLexer::TakeString() {
    if (current_.kind != TokenKind::Text) Fail("expected a string");
    std::string text;
    for (; current_.kind == TokenKind::Text; Advance()) {
        for (size_t i = 0; i < current_.text.size(); ++i) {
            char c = current_.text[i];
            if (c == '\\' && i + 1 < current_.text.size()) {
                c = current_.text[++i];
                c = c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
            }
            text += c;
        }
    }
    std::u16string wide;
    if (!Widen(text, wide)) Fail("string that is not UTF-8");
    return wide;
}

}  // namespace platform
