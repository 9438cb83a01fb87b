#include "TsqlParser.h"

#include "CatalogViews.h"
#include "SqlError.h"
#include "TypeMap.h"

#include <algorithm>

// Tokens, names and types shared by the parser's parts.

namespace standin::tsql {

const std::set<std::string>& reservedWords()
{
    static const std::set<std::string> words = {
        "ADD",        "ALL",
        "ALTER",      "AND",
        "ANY",        "AS",
        "ASC",        "BACKUP",
        "BEGIN",      "BETWEEN",
        "BREAK",      "BY",
        "CASE",       "CHECK",
        "CLUSTERED",  "COLLATE",
        "COMMIT",     "CONSTRAINT",
        "CONTINUE",   "CREATE",
        "CROSS",      "CURRENT_TIMESTAMP",
        "DECLARE",    "DEFAULT",
        "DELETE",     "DENY",
        "DESC",       "DISTINCT",
        "DROP",       "ELSE",
        "END",        "ESCAPE",
        "EXCEPT",     "EXEC",
        "EXECUTE",    "EXISTS",
        "FOR",        "FOREIGN",
        "FROM",       "FULL",
        "GO",         "GOTO",
        "GRANT",      "GROUP",
        "HAVING",     "IF",
        "IN",         "INNER",
        "INSERT",     "INTERSECT",
        "INTO",       "IS",
        "JOIN",       "KEY",
        "LEFT",       "LIKE",
        "NOT",        "NULL",
        "ON",         "OPTION",
        "OR",         "ORDER",
        "OUTER",      "PRIMARY",
        "PRINT",      "RAISERROR",
        "REFERENCES", "RESTORE",
        "RETURN",     "REVOKE",
        "RIGHT",      "ROLLBACK",
        "SELECT",     "SET",
        "TABLE",      "THEN",
        "TO",         "TOP",
        "TRUNCATE",   "UNION",
        "UNIQUE",     "UPDATE",
        "USE",        "VALUES",
        "WHEN",       "WHERE",
        "WHILE",      "WITH",
        "SAVE",
    };
    return words;
}

std::string quoteIdent(const std::string& name)
{
    std::string out = "\"";
    for (char c : name) {
        if (c == '"')
            out += '"';
        out += c;
    }
    return out + "\"";
}

std::string quoteString(const std::string& s)
{
    std::string out = "'";
    for (char c : s) {
        if (c == '\'')
            out += '\'';
        out += c;
    }
    return out + "'";
}

std::string lowerOf(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

ColumnInfo makeType(SqlType t, int32_t len)
{
    ColumnInfo c;
    c.type = t;
    c.maxLength = len;
    return c;
}

int32_t utf8Length(const std::string& s)
{
    int32_t n = 0;
    for (unsigned char c : s)
        if ((c & 0xC0) != 0x80)
            ++n;
    return n;
}

Parser::Parser(std::string sql, const std::map<std::string, ColumnInfo>& vars)
    : m_sql(std::move(sql)), m_t(tokenize(m_sql)), m_varTypes(vars)
{
}

// "@a int, @b nvarchar(10) = N'x' OUTPUT", optionally in parentheses, up to AS or the end.
std::vector<ParameterDefinition> Parser::parameterList()
{
    std::vector<ParameterDefinition> defs;
    const bool parenthesised = acceptOp("(");
    while (peek().kind == TokenKind::Variable) {
        ParameterDefinition d;
        d.name = lowerOf(next().text);
        accept("AS");
        parseType(d.type);
        if (acceptOp("="))
            d.defaultExpr = unary().sql;
        if (accept("OUTPUT") || accept("OUT"))
            d.output = true;
        accept("READONLY");
        defs.push_back(d);
        if (!acceptOp(","))
            break;
    }
    if (parenthesised)
        expectOp(")");
    return defs;
}

std::vector<Stmt> Parser::parseBatch()
{
    while (!atEnd()) {
        if (peek().op(";")) {
            ++m_pos;
            continue;
        }
        parseStatement();
    }
    return std::move(m_out);
}

bool Parser::accept(const char* kw)
{
    if (peek().is(kw)) {
        ++m_pos;
        return true;
    }
    return false;
}

bool Parser::acceptOp(const char* o)
{
    if (peek().op(o)) {
        ++m_pos;
        return true;
    }
    return false;
}

void Parser::expect(const char* kw)
{
    if (!accept(kw))
        syntaxError();
}

void Parser::expectOp(const char* o)
{
    if (!acceptOp(o))
        syntaxError();
}

Parser::Nesting::Nesting(int& depth) : m_depth(depth)
{
    constexpr int kMaxNesting = 256;
    if (++m_depth > kMaxNesting) {
        --m_depth;
        throw SqlError(191, 15,
                       "Some part of your SQL statement is nested too deeply. Rewrite the query or break it "
                       "up into smaller queries.");
    }
}

void Parser::syntaxError() const
{
    const Token* t = &peek();
    if (t->kind == TokenKind::End && m_pos > 0)
        t = &m_t[m_pos - 1];
    std::string shown = t->text;
    if (t->kind == TokenKind::String)
        shown = t->text;
    if (t->kind == TokenKind::Identifier && reservedWords().count(t->upper))
        throw SqlError(156, 15, "Incorrect syntax near the keyword '" + t->text + "'.");
    throw SqlError(102, 15, "Incorrect syntax near '" + shown + "'.");
}

std::string Parser::name()
{
    const Token& t = peek();
    if (!t.isName() || (t.kind == TokenKind::Identifier && reservedWords().count(t.upper)))
        syntaxError();
    ++m_pos;
    return t.text;
}

bool Parser::isAliasToken(const Token& t) const
{
    return t.kind == TokenKind::Quoted || t.kind == TokenKind::String ||
           (t.kind == TokenKind::Identifier && !reservedWords().count(t.upper));
}

Stmt& Parser::emit(StmtKind kind, int line)
{
    Stmt s;
    s.kind = kind;
    s.line = line;
    m_out.push_back(std::move(s));
    return m_out.back();
}

void Parser::emitQuery(int line, uint16_t curCmd, std::string sql)
{
    Stmt& s = emit(StmtKind::Query, line);
    s.curCmd = curCmd;
    s.sql.push_back(std::move(sql));
}

std::string Parser::whereTail(const char* statement)
{
    if (peek().is("FROM"))
        throw unsupported(std::string(statement) + " ... FROM");
    return accept("WHERE") ? " WHERE " + expr().sql : std::string();
}

ObjectName Parser::objectName()
{
    std::vector<std::string> parts;
    parts.push_back(name());
    while (peek().op(".")) {
        ++m_pos;
        if (peek().op(".")) {
            parts.push_back(""); // master..sysdatabases
            continue;
        }
        parts.push_back(name());
    }
    if (parts.size() > 4)
        syntaxError();
    ObjectName n;
    n.name = parts.back();
    if (parts.size() >= 2) {
        n.schema = parts[parts.size() - 2];
        n.schemaGiven = true;
    }
    if (parts.size() >= 3)
        n.database = parts[parts.size() - 3];
    if (parts.size() == 4)
        n.server = parts[0];
    return n;
}

std::string Parser::schemaFor(const ObjectName& n) const
{
    return n.database.empty() ? std::string("main") : databasePlaceholder(n.database);
}

// A table reference: user tables, temporary tables, system views.
std::pair<std::string, std::string> Parser::tableRef(const ObjectName& n)
{
    std::string schemaUpper = n.schema;
    std::transform(schemaUpper.begin(), schemaUpper.end(), schemaUpper.begin(), ::toupper);
    std::string nameUpper = n.name;
    std::transform(nameUpper.begin(), nameUpper.end(), nameUpper.begin(), ::toupper);
    if (schemaUpper == "SYS" || schemaUpper == "INFORMATION_SCHEMA" ||
        ((schemaUpper.empty() || schemaUpper == "DBO") && nameUpper.rfind("SYS", 0) == 0)) {
        std::string view = systemViewSql(schemaUpper, nameUpper, schemaFor(n), n.database);
        if (!view.empty())
            return {"(" + view + ")", n.name};
        if (schemaUpper == "SYS" || schemaUpper == "INFORMATION_SCHEMA")
            throw SqlError(208, 16, "Invalid object name '" + fullName(n) + "'.");
    }
    if (!n.name.empty() && n.name[0] == '#')
        return {"temp." + quoteIdent(n.name), ""};
    if (n.database.empty())
        return {quoteIdent(n.name), ""};
    return {quoteIdent(schemaFor(n)) + "." + quoteIdent(n.name), ""};
}

void Parser::touch(const char* permission, const ObjectName& n)
{
    if (!n.name.empty() && n.name[0] != '#')
        m_pending.push_back({permission, n.database, n.name});
}

std::string Parser::plainTable(const ObjectName& n)
{
    auto [sql, alias] = tableRef(n);
    if (!alias.empty())
        throw SqlError(259, 16, "Ad hoc updates to system catalogs are not allowed.");
    return sql;
}

std::string Parser::fullName(const ObjectName& n)
{
    std::string s = n.database.empty() ? "" : n.database + ".";
    if (n.schemaGiven)
        s += n.schema + ".";
    return s + n.name;
}

// Reads "nvarchar(50)", "int", "varchar(max)", "decimal(18, 2)". Returns the T-SQL spelling.
std::string Parser::parseType(ColumnInfo& info)
{
    std::string t = lowerOf(name());
    if (t == "double" && accept("PRECISION"))
        t = "float";
    if (peek().op("(")) {
        ++m_pos;
        std::string args;
        while (!peek().op(")")) {
            const Token& a = next();
            if (a.kind == TokenKind::End)
                syntaxError();
            args += a.kind == TokenKind::Identifier ? lowerOf(a.text) : a.text;
        }
        ++m_pos;
        t += "(" + args + ")";
    }
    info = columnInfoForType(t);
    return t;
}

} // namespace standin::tsql
