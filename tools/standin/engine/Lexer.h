#pragma once

#include <string>
#include <vector>

namespace standin {

enum class TokenKind {
    Identifier, // bare word: keywords are identifiers too, compared by upper
    Quoted,     // [bracketed] or "double-quoted" identifier
    String,     // '...'
    NString,    // N'...'
    Number,     // 12, 1.5, 1e3
    Binary,     // 0x0A0B
    Variable,   // @name
    Global,     // @@name
    Operator,   // punctuation and operators
    End,
};

struct Token {
    TokenKind kind = TokenKind::End;
    std::string text;  // identifier or string contents without quotes; operator as written
    std::string upper; // upper-cased text, for keyword tests
    int line = 1;
    size_t offset = 0; // byte offset in the batch
    bool spaceBefore = false;

    bool is(const char* keyword) const { return kind == TokenKind::Identifier && upper == keyword; }
    bool op(const char* o) const { return kind == TokenKind::Operator && text == o; }
    bool isName() const { return kind == TokenKind::Identifier || kind == TokenKind::Quoted; }
};

// Splits a T-SQL batch into tokens, dropping comments (-- and nested /* */). Throws SqlError
// for an unterminated string, identifier or comment.
std::vector<Token> tokenize(const std::string& sql);

} // namespace standin
