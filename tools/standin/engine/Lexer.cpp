#include "Lexer.h"

#include "SqlError.h"

#include <cctype>

namespace standin {
namespace {

bool isWordStart(unsigned char c)
{
    return std::isalpha(c) || c == '_' || c == '#' || c >= 0x80;
}

bool isWordChar(unsigned char c)
{
    return std::isalnum(c) || c == '_' || c == '#' || c == '$' || c == '@' || c >= 0x80;
}

std::string upperOf(const std::string& s)
{
    std::string u = s;
    for (auto& c : u)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return u;
}

} // namespace

std::vector<Token> tokenize(const std::string& sql)
{
    std::vector<Token> tokens;
    size_t i = 0;
    int line = 1;
    bool space = true;
    const size_t n = sql.size();
    auto countLines = [&](size_t from, size_t to) {
        for (size_t k = from; k < to && k < n; ++k)
            if (sql[k] == '\n')
                ++line;
    };
    while (i < n) {
        const unsigned char c = static_cast<unsigned char>(sql[i]);
        if (std::isspace(c)) {
            if (c == '\n')
                ++line;
            ++i;
            space = true;
            continue;
        }
        if (c == '-' && i + 1 < n && sql[i + 1] == '-') {
            while (i < n && sql[i] != '\n')
                ++i;
            space = true;
            continue;
        }
        if (c == '/' && i + 1 < n && sql[i + 1] == '*') {
            // T-SQL block comments nest.
            int depth = 0;
            const size_t start = i;
            while (i < n) {
                if (sql[i] == '/' && i + 1 < n && sql[i + 1] == '*') {
                    ++depth;
                    i += 2;
                } else if (sql[i] == '*' && i + 1 < n && sql[i + 1] == '/') {
                    --depth;
                    i += 2;
                    if (depth == 0)
                        break;
                } else {
                    ++i;
                }
            }
            if (depth != 0)
                throw SqlError(113, 15, "Missing end comment mark '*/'.");
            countLines(start, i);
            space = true;
            continue;
        }
        Token t;
        t.line = line;
        t.offset = i;
        t.spaceBefore = space;
        space = false;
        const bool nString = (c == 'N' || c == 'n') && i + 1 < n && sql[i + 1] == '\'';
        if (c == '\'' || nString) {
            t.kind = nString ? TokenKind::NString : TokenKind::String;
            size_t k = i + (nString ? 2 : 1);
            std::string value;
            bool closed = false;
            while (k < n) {
                if (sql[k] == '\'') {
                    if (k + 1 < n && sql[k + 1] == '\'') {
                        value += '\'';
                        k += 2;
                        continue;
                    }
                    closed = true;
                    ++k;
                    break;
                }
                value += sql[k++];
            }
            if (!closed)
                throw SqlError(105, 15,
                               "Unclosed quotation mark after the character string '" + value + "'.");
            countLines(i, k);
            t.text = std::move(value);
            i = k;
        } else if (c == '[' || c == '"') {
            const char close = c == '[' ? ']' : '"';
            size_t k = i + 1;
            std::string value;
            bool closed = false;
            while (k < n) {
                if (sql[k] == close) {
                    if (k + 1 < n && sql[k + 1] == close) {
                        value += close;
                        k += 2;
                        continue;
                    }
                    closed = true;
                    ++k;
                    break;
                }
                value += sql[k++];
            }
            if (!closed)
                throw SqlError(105, 15,
                               "Unclosed quotation mark after the character string '" + value + "'.");
            countLines(i, k);
            t.kind = TokenKind::Quoted;
            t.text = std::move(value);
            t.upper = upperOf(t.text);
            i = k;
        } else if (c == '0' && i + 1 < n && (sql[i + 1] == 'x' || sql[i + 1] == 'X')) {
            size_t k = i + 2;
            while (k < n && std::isxdigit(static_cast<unsigned char>(sql[k])))
                ++k;
            t.kind = TokenKind::Binary;
            t.text = sql.substr(i + 2, k - i - 2);
            i = k;
        } else if (std::isdigit(c) ||
                   (c == '.' && i + 1 < n && std::isdigit(static_cast<unsigned char>(sql[i + 1])))) {
            size_t k = i;
            while (k < n && (std::isdigit(static_cast<unsigned char>(sql[k])) || sql[k] == '.'))
                ++k;
            if (k < n && (sql[k] == 'e' || sql[k] == 'E')) {
                size_t e = k + 1;
                if (e < n && (sql[e] == '+' || sql[e] == '-'))
                    ++e;
                if (e < n && std::isdigit(static_cast<unsigned char>(sql[e]))) {
                    k = e;
                    while (k < n && std::isdigit(static_cast<unsigned char>(sql[k])))
                        ++k;
                }
            }
            t.kind = TokenKind::Number;
            t.text = sql.substr(i, k - i);
            i = k;
        } else if (c == '@') {
            const bool global = i + 1 < n && sql[i + 1] == '@';
            size_t k = i + (global ? 2 : 1);
            while (k < n && isWordChar(static_cast<unsigned char>(sql[k])))
                ++k;
            t.kind = global ? TokenKind::Global : TokenKind::Variable;
            t.text = sql.substr(i, k - i);
            t.upper = upperOf(t.text);
            i = k;
        } else if (isWordStart(c)) {
            size_t k = i;
            while (k < n && isWordChar(static_cast<unsigned char>(sql[k])))
                ++k;
            t.kind = TokenKind::Identifier;
            t.text = sql.substr(i, k - i);
            t.upper = upperOf(t.text);
            i = k;
        } else {
            static const char* const twoChar[] = {"<>", "!=", "<=", ">=", "!<", "!>",
                                                  "+=", "-=", "*=", "/=", "::"};
            t.kind = TokenKind::Operator;
            t.text = std::string(1, static_cast<char>(c));
            for (const char* op : twoChar) {
                if (i + 1 < n && sql[i] == op[0] && sql[i + 1] == op[1]) {
                    t.text = op;
                    break;
                }
            }
            i += t.text.size();
        }
        tokens.push_back(std::move(t));
    }
    Token end;
    end.kind = TokenKind::End;
    end.line = line;
    end.offset = n;
    tokens.push_back(end);
    return tokens;
}

} // namespace standin
