#include "Translator.h"

#include "CatalogViews.h"
#include "SqlError.h"
#include "TypeMap.h"

#include <algorithm>
#include <set>

namespace standin {
namespace {

// Words that end an expression or a select item: never read as an alias.
const std::set<std::string> kReserved = {
    "ADD",      "ALL",       "ALTER",    "AND",       "ANY",      "AS",        "ASC",      "BACKUP",
    "BEGIN",    "BETWEEN",   "BREAK",    "BY",        "CASE",     "CHECK",     "CLUSTERED", "COLLATE",
    "COMMIT",   "CONSTRAINT", "CONTINUE", "CREATE",   "CROSS",    "CURRENT_TIMESTAMP", "DECLARE", "DEFAULT",
    "DELETE",   "DENY",      "DESC",     "DISTINCT",  "DROP",     "ELSE",      "END",      "ESCAPE",
    "EXCEPT",   "EXEC",      "EXECUTE",  "EXISTS",    "FOR",      "FOREIGN",   "FROM",     "FULL",
    "GO",       "GOTO",      "GRANT",    "GROUP",     "HAVING",   "IF",        "IN",       "INNER",
    "INSERT",   "INTERSECT", "INTO",     "IS",        "JOIN",     "KEY",       "LEFT",     "LIKE",
    "NOT",      "NULL",      "ON",       "OPTION",    "OR",       "ORDER",     "OUTER",    "PRIMARY",
    "PRINT",    "RAISERROR", "REFERENCES", "RESTORE", "RETURN",   "REVOKE",    "RIGHT",    "ROLLBACK",
    "SELECT",   "SET",       "TABLE",    "THEN",      "TO",       "TOP",       "TRUNCATE", "UNION",
    "UNIQUE",   "UPDATE",    "USE",      "VALUES",    "WHEN",     "WHERE",     "WHILE",    "WITH",
};

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
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
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

struct Expr {
    std::string sql;
    std::optional<ColumnInfo> type;
    std::string columnName;   // a plain column reference: its name
};

struct ObjectName {
    std::string server, database, schema, name;
    bool schemaGiven = false;
};

class Parser {
public:
    Parser(std::string sql, const std::map<std::string, ColumnInfo>& vars)
        : m_sql(std::move(sql)), m_t(tokenize(m_sql)), m_varTypes(vars)
    {
    }

    // "@a int, @b nvarchar(10) = N'x' OUTPUT", optionally in parentheses, up to AS or the end.
    std::vector<ParameterDefinition> parameterList()
    {
        std::vector<ParameterDefinition> defs;
        const bool parenthesised = acceptOp("(");
        while (peek().kind == TokenKind::Variable) {
            ParameterDefinition d;
            d.name = lowerOf(next().text);
            accept("AS");
            typeSpec(d.type);
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

    std::vector<Stmt> parseBatch()
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

    Expr parseExpression() { return expr(); }
    bool atEnd() const { return m_t[m_pos].kind == TokenKind::End; }
    const Token& peek(size_t k = 0) const { return m_t[std::min(m_pos + k, m_t.size() - 1)]; }

private:
    std::string m_sql;
    std::vector<Token> m_t;
    size_t m_pos = 0;
    std::vector<Stmt> m_out;
    std::map<std::string, ColumnInfo> m_varTypes;

    // ---- token helpers -------------------------------------------------------------------
    const Token& next() { return m_t[m_pos < m_t.size() - 1 ? m_pos++ : m_pos]; }
    bool accept(const char* kw)
    {
        if (peek().is(kw)) {
            ++m_pos;
            return true;
        }
        return false;
    }
    bool acceptOp(const char* o)
    {
        if (peek().op(o)) {
            ++m_pos;
            return true;
        }
        return false;
    }
    void expect(const char* kw)
    {
        if (!accept(kw))
            syntaxError();
    }
    void expectOp(const char* o)
    {
        if (!acceptOp(o))
            syntaxError();
    }
    [[noreturn]] void syntaxError() const
    {
        const Token* t = &peek();
        if (t->kind == TokenKind::End && m_pos > 0)
            t = &m_t[m_pos - 1];
        std::string shown = t->text;
        if (t->kind == TokenKind::String)
            shown = t->text;
        if (t->kind == TokenKind::Identifier && kReserved.count(t->upper))
            throw SqlError(156, 15, "Incorrect syntax near the keyword '" + t->text + "'.");
        throw SqlError(102, 15, "Incorrect syntax near '" + shown + "'.");
    }
    std::string name()
    {
        const Token& t = peek();
        if (!t.isName() || (t.kind == TokenKind::Identifier && kReserved.count(t.upper)))
            syntaxError();
        ++m_pos;
        return t.text;
    }
    bool isAliasToken(const Token& t) const
    {
        return t.kind == TokenKind::Quoted || t.kind == TokenKind::String ||
               (t.kind == TokenKind::Identifier && !kReserved.count(t.upper));
    }

    Stmt& emit(StmtKind kind, int line)
    {
        Stmt s;
        s.kind = kind;
        s.line = line;
        m_out.push_back(std::move(s));
        return m_out.back();
    }

    // ---- names ---------------------------------------------------------------------------
    ObjectName objectName()
    {
        std::vector<std::string> parts;
        parts.push_back(name());
        while (peek().op(".")) {
            ++m_pos;
            if (peek().op(".")) {
                parts.push_back("");   // master..sysdatabases
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

    std::string schemaFor(const ObjectName& n) const
    {
        return n.database.empty() ? std::string("main") : databasePlaceholder(n.database);
    }

    // A table reference: user tables, temporary tables, system views.
    std::pair<std::string, std::string> tableRef(const ObjectName& n)
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

    std::string plainTable(const ObjectName& n)
    {
        auto [sql, alias] = tableRef(n);
        if (!alias.empty())
            throw SqlError(259, 16, "Ad hoc updates to system catalogs are not allowed.");
        return sql;
    }

    static std::string fullName(const ObjectName& n)
    {
        std::string s = n.database.empty() ? "" : n.database + ".";
        if (n.schemaGiven)
            s += n.schema + ".";
        return s + n.name;
    }

    // ---- types ---------------------------------------------------------------------------
    // Reads "nvarchar(50)", "int", "varchar(max)", "decimal(18, 2)". Returns the T-SQL spelling.
    std::string typeSpec(ColumnInfo& info)
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

    // ---- expressions ---------------------------------------------------------------------
    Expr expr() { return orExpr(); }

    Expr orExpr()
    {
        Expr l = andExpr();
        while (accept("OR")) {
            Expr r = andExpr();
            l = {"(" + l.sql + " OR " + r.sql + ")", makeType(SqlType::Int, 4), ""};
        }
        return l;
    }
    Expr andExpr()
    {
        Expr l = notExpr();
        while (accept("AND")) {
            Expr r = notExpr();
            l = {"(" + l.sql + " AND " + r.sql + ")", makeType(SqlType::Int, 4), ""};
        }
        return l;
    }
    Expr notExpr()
    {
        if (accept("NOT")) {
            Expr e = notExpr();
            return {"(NOT " + e.sql + ")", makeType(SqlType::Int, 4), ""};
        }
        return comparison();
    }
    Expr comparison()
    {
        Expr l = additive();
        for (;;) {
            const Token& t = peek();
            if (t.kind == TokenKind::Operator &&
                (t.text == "=" || t.text == "<>" || t.text == "!=" || t.text == "<" || t.text == ">" ||
                 t.text == "<=" || t.text == ">=" || t.text == "!<" || t.text == "!>")) {
                std::string op = t.text == "!<" ? ">=" : t.text == "!>" ? "<=" : t.text;
                ++m_pos;
                Expr r = additive();
                l = {"(" + l.sql + " " + op + " " + r.sql + ")", makeType(SqlType::Int, 4), ""};
                continue;
            }
            bool negated = false;
            if (t.is("NOT") && (peek(1).is("LIKE") || peek(1).is("IN") || peek(1).is("BETWEEN"))) {
                negated = true;
                ++m_pos;
            }
            const std::string notText = negated ? " NOT" : "";
            if (accept("LIKE")) {
                Expr r = additive();
                std::string sql = "(" + l.sql + notText + " LIKE " + r.sql;
                if (accept("ESCAPE"))
                    sql += " ESCAPE " + additive().sql;
                l = {sql + ")", makeType(SqlType::Int, 4), ""};
            } else if (accept("IN")) {
                expectOp("(");
                std::string list;
                if (peek().is("SELECT")) {
                    list = selectStatement(nullptr);
                } else {
                    do {
                        if (!list.empty())
                            list += ", ";
                        list += expr().sql;
                    } while (acceptOp(","));
                }
                expectOp(")");
                l = {"(" + l.sql + notText + " IN (" + list + "))", makeType(SqlType::Int, 4), ""};
            } else if (accept("BETWEEN")) {
                Expr lo = additive();
                expect("AND");
                Expr hi = additive();
                l = {"(" + l.sql + notText + " BETWEEN " + lo.sql + " AND " + hi.sql + ")", makeType(SqlType::Int, 4),
                     ""};
            } else if (negated) {
                syntaxError();
            } else if (accept("IS")) {
                const bool isNot = accept("NOT");
                expect("NULL");
                l = {"(" + l.sql + (isNot ? " IS NOT NULL)" : " IS NULL)"), makeType(SqlType::Int, 4), ""};
            } else {
                return l;
            }
        }
    }
    Expr additive()
    {
        Expr l = multiplicative();
        for (;;) {
            const Token& t = peek();
            if (t.op("+")) {
                ++m_pos;
                Expr r = multiplicative();
                // T-SQL's "+" adds numbers and joins strings; which one is known only from the
                // operands' values, so a function decides at run time.
                std::optional<ColumnInfo> type;
                if (l.type && r.type && isCharacterType(*l.type) && isCharacterType(*r.type)) {
                    const bool nvar = l.type->type == SqlType::NVarChar || r.type->type == SqlType::NVarChar;
                    int32_t len = (l.type->maxLength < 0 || r.type->maxLength < 0)
                                      ? -1
                                      : std::min<int32_t>(l.type->maxLength + r.type->maxLength, nvar ? 4000 : 8000);
                    type = makeType(nvar ? SqlType::NVarChar : SqlType::VarChar, len);
                } else if (l.type && r.type && !isCharacterType(*l.type) && !isCharacterType(*r.type)) {
                    type = (l.type->type == SqlType::Float || r.type->type == SqlType::Float) ? makeType(SqlType::Float, 8)
                           : (l.type->type == SqlType::BigInt || r.type->type == SqlType::BigInt)
                               ? makeType(SqlType::BigInt, 8)
                               : makeType(SqlType::Int, 4);
                }
                l = {"lf_add(" + l.sql + ", " + r.sql + ")", type, ""};
            } else if (t.op("-") || t.op("&") || t.op("|")) {
                ++m_pos;
                Expr r = multiplicative();
                l = {"(" + l.sql + " " + t.text + " " + r.sql + ")", l.type, ""};
            } else {
                return l;
            }
        }
    }
    Expr multiplicative()
    {
        Expr l = unary();
        for (;;) {
            const Token& t = peek();
            if (t.op("*") || t.op("/") || t.op("%")) {
                ++m_pos;
                Expr r = unary();
                if (t.text == "/")
                    l = {"lf_div(" + l.sql + ", " + r.sql + ")", l.type, ""};
                else
                    l = {"(" + l.sql + " " + t.text + " " + r.sql + ")", l.type, ""};
            } else {
                return l;
            }
        }
    }
    Expr unary()
    {
        if (peek().op("-") || peek().op("+") || peek().op("~")) {
            const std::string op = next().text;
            Expr e = unary();
            return {"(" + op + e.sql + ")", e.type, ""};
        }
        return primary();
    }

    std::vector<Expr> callArguments()
    {
        std::vector<Expr> args;
        expectOp("(");
        if (!peek().op(")")) {
            do {
                args.push_back(expr());
            } while (acceptOp(","));
        }
        expectOp(")");
        return args;
    }

    static std::string joinSql(const std::vector<Expr>& args)
    {
        std::string s;
        for (const auto& a : args) {
            if (!s.empty())
                s += ", ";
            s += a.sql;
        }
        return s;
    }

    Expr functionCall(const Token& fn)
    {
        const std::string& f = fn.upper;
        if (f == "CONVERT" || f == "TRY_CONVERT") {
            expectOp("(");
            ColumnInfo info;
            std::string type = typeSpec(info);
            expectOp(",");
            Expr value = expr();
            std::string style;
            if (acceptOp(","))
                style = ", " + expr().sql;
            expectOp(")");
            return {"lf_convert(" + quoteString(type) + ", " + value.sql + style + ")", info, ""};
        }
        if (f == "CAST") {
            expectOp("(");
            Expr value = expr();
            expect("AS");
            ColumnInfo info;
            std::string type = typeSpec(info);
            expectOp(")");
            return {"lf_convert(" + quoteString(type) + ", " + value.sql + ")", info, ""};
        }
        if (f == "COUNT" || f == "COUNT_BIG") {
            expectOp("(");
            std::string inner;
            if (acceptOp("*")) {
                inner = "*";
            } else {
                if (accept("DISTINCT"))
                    inner = "DISTINCT ";
                else
                    accept("ALL");
                inner += expr().sql;
            }
            expectOp(")");
            return {"count(" + inner + ")", f == "COUNT" ? makeType(SqlType::Int, 4) : makeType(SqlType::BigInt, 8), ""};
        }
        if (f == "DATEADD" || f == "DATEDIFF" || f == "DATEPART" || f == "DATENAME") {
            expectOp("(");
            std::string part = lowerOf(name());
            std::vector<Expr> rest;
            while (acceptOp(","))
                rest.push_back(expr());
            expectOp(")");
            std::string sql = "lf_" + lowerOf(f) + "(" + quoteString(part);
            for (const auto& r : rest)
                sql += ", " + r.sql;
            std::optional<ColumnInfo> type = f == "DATEADD"    ? makeType(SqlType::DateTime, 8)
                                             : f == "DATENAME" ? makeType(SqlType::NVarChar, 30)
                                                               : makeType(SqlType::Int, 4);
            return {sql + ")", type, ""};
        }
        std::vector<Expr> args = callArguments();
        const std::string list = joinSql(args);
        auto firstType = [&]() { return args.empty() ? std::optional<ColumnInfo>{} : args[0].type; };
        if (f == "ISNULL")
            return {"ifnull(" + list + ")", firstType(), ""};
        if (f == "COALESCE")
            return {"coalesce(" + list + ")", firstType(), ""};
        if (f == "NEWID")
            return {"lf_newid()", makeType(SqlType::UniqueIdentifier, 16), ""};
        if (f == "GETDATE" || f == "SYSDATETIME" || f == "GETUTCDATE")
            return {f == "GETUTCDATE" ? "lf_getutcdate()" : "lf_getdate()", makeType(SqlType::DateTime, 8), ""};
        if (f == "LEN")
            return {"lf_len(" + list + ")", makeType(SqlType::Int, 4), ""};
        if (f == "DATALENGTH")
            return {"lf_datalength(" + list + ")", makeType(SqlType::Int, 4), ""};
        if (f == "SUBSTRING")
            return {"substr(" + list + ")", firstType(), ""};
        if (f == "UPPER" || f == "LOWER" || f == "LTRIM" || f == "RTRIM" || f == "REPLACE" || f == "LEFT" ||
            f == "RIGHT" || f == "REVERSE")
            return {(f == "LEFT" || f == "RIGHT" || f == "REVERSE" ? "lf_" : "") + lowerOf(f) + "(" + list + ")",
                    firstType(), ""};
        if (f == "CHARINDEX")
            return {"lf_charindex(" + list + ")", makeType(SqlType::Int, 4), ""};
        if (f == "SCOPE_IDENTITY" || f == "IDENT_CURRENT")
            return {"lf_global('IDENTITY')", makeType(SqlType::BigInt, 8), ""};
        if (f == "SERVERPROPERTY")
            return {"lf_serverproperty(" + list + ")", makeType(SqlType::NVarChar, 128), ""};
        if (f == "HOST_NAME" || f == "SUSER_SNAME" || f == "SUSER_NAME" || f == "USER_NAME" || f == "DB_NAME" ||
            f == "APP_NAME")
            return {"lf_" + lowerOf(f) + "(" + list + ")", makeType(SqlType::NVarChar, 128), ""};
        if (f == "DB_ID" || f == "HAS_DBACCESS" || f == "IS_SRVROLEMEMBER" || f == "IS_MEMBER" || f == "OBJECT_ID")
            return {(f == "DB_ID" ? "db_id" : "lf_" + lowerOf(f)) + "(" + list + ")", makeType(SqlType::Int, 4), ""};
        if (f == "ABS" || f == "ROUND" || f == "FLOOR" || f == "CEILING" || f == "SIGN")
            return {(f == "FLOOR" || f == "CEILING" ? "lf_" : "") + lowerOf(f) + "(" + list + ")", firstType(), ""};
        if (f == "YEAR" || f == "MONTH" || f == "DAY")
            return {"lf_datepart(" + quoteString(lowerOf(f)) + ", " + list + ")", makeType(SqlType::Int, 4), ""};
        if (f == "MAX" || f == "MIN")
            return {lowerOf(f) + "(" + list + ")", firstType(), ""};
        if (f == "SUM" || f == "AVG")
            return {lowerOf(f) + "(" + list + ")", firstType(), ""};
        // Anything else goes to SQLite by name; an unknown one fails there with SQL Server's
        // "is not a recognized built-in function name".
        return {"lf_fn_" + lowerOf(f) + "(" + list + ")", std::nullopt, ""};
    }

    Expr primary()
    {
        const Token& t = peek();
        switch (t.kind) {
        case TokenKind::Number: {
            ++m_pos;
            const bool integral = t.text.find_first_of(".eE") == std::string::npos;
            if (integral) {
                const bool big = t.text.size() > 10 || (t.text.size() == 10 && t.text > "2147483647");
                return {t.text, big ? makeType(SqlType::BigInt, 8) : makeType(SqlType::Int, 4), ""};
            }
            return {t.text, makeType(SqlType::Float, 8), ""};
        }
        case TokenKind::String:
            ++m_pos;
            return {quoteString(t.text), makeType(SqlType::VarChar, std::max(1, utf8Length(t.text))), ""};
        case TokenKind::NString:
            ++m_pos;
            return {quoteString(t.text), makeType(SqlType::NVarChar, std::max(1, utf8Length(t.text))), ""};
        case TokenKind::Binary:
            ++m_pos;
            return {"X'" + (t.text.size() % 2 ? "0" + t.text : t.text) + "'",
                    makeType(SqlType::VarBinary, static_cast<int32_t>((t.text.size() + 1) / 2)), ""};
        case TokenKind::Variable: {
            ++m_pos;
            const std::string n = lowerOf(t.text);
            auto it = m_varTypes.find(n);
            return {n, it == m_varTypes.end() ? std::optional<ColumnInfo>{} : it->second, ""};
        }
        case TokenKind::Global:
            ++m_pos;
            return globalVariable(t);
        case TokenKind::Operator:
            if (t.op("(")) {
                ++m_pos;
                if (peek().is("SELECT")) {
                    std::string sub = selectStatement(nullptr);
                    expectOp(")");
                    return {"(" + sub + ")", std::nullopt, ""};
                }
                Expr e = expr();
                expectOp(")");
                return {"(" + e.sql + ")", e.type, e.columnName};
            }
            syntaxError();
        case TokenKind::Identifier:
        case TokenKind::Quoted:
            break;
        case TokenKind::End:
            syntaxError();
        }
        if (t.kind == TokenKind::Identifier) {
            if (t.upper == "NULL") {
                ++m_pos;
                return {"NULL", std::nullopt, ""};
            }
            if (t.upper == "CASE")
                return caseExpr();
            if (t.upper == "EXISTS") {
                ++m_pos;
                expectOp("(");
                std::string sub = selectStatement(nullptr);
                expectOp(")");
                return {"EXISTS (" + sub + ")", makeType(SqlType::Int, 4), ""};
            }
            if (t.upper == "CURRENT_TIMESTAMP") {
                ++m_pos;
                return {"lf_getdate()", makeType(SqlType::DateTime, 8), ""};
            }
            if ((t.upper == "SYSTEM_USER" || t.upper == "CURRENT_USER" || t.upper == "USER" ||
                 t.upper == "SESSION_USER") &&
                !peek(1).op("(") && !peek(1).op(".")) {
                ++m_pos;
                return {t.upper == "SYSTEM_USER" ? "lf_suser_sname()" : "lf_user_name()",
                        makeType(SqlType::NVarChar, 128), ""};
            }
            if (peek(1).op("(") && (!kReserved.count(t.upper) || t.upper == "LEFT" || t.upper == "RIGHT")) {
                ++m_pos;
                return functionCall(t);
            }
            if (kReserved.count(t.upper))
                syntaxError();
        }
        // Column reference: [db.][schema.][table.]column; only the last two parts matter to SQLite.
        std::vector<std::string> parts{name()};
        while (peek().op(".") && peek(1).isName()) {
            m_pos += 1;
            parts.push_back(name());
        }
        std::string sql = quoteIdent(parts.back());
        if (parts.size() >= 2)
            sql = quoteIdent(parts[parts.size() - 2]) + "." + sql;
        return {sql, std::nullopt, parts.back()};
    }

    Expr globalVariable(const Token& t)
    {
        static const std::map<std::string, ColumnInfo> kGlobals = {
            {"@@VERSION", makeType(SqlType::NVarChar, 300)},   {"@@SERVERNAME", makeType(SqlType::NVarChar, 128)},
            {"@@SERVICENAME", makeType(SqlType::NVarChar, 128)}, {"@@SPID", makeType(SqlType::SmallInt, 2)},
            {"@@ROWCOUNT", makeType(SqlType::Int, 4)},         {"@@IDENTITY", makeType(SqlType::BigInt, 8)},
            {"@@ERROR", makeType(SqlType::Int, 4)},            {"@@TRANCOUNT", makeType(SqlType::Int, 4)},
            {"@@LANGUAGE", makeType(SqlType::NVarChar, 128)},  {"@@MICROSOFTVERSION", makeType(SqlType::Int, 4)},
            {"@@FETCH_STATUS", makeType(SqlType::Int, 4)},
        };
        auto it = kGlobals.find(t.upper);
        if (it == kGlobals.end())
            throw SqlError(137, 15, "Must declare the scalar variable \"" + t.text + "\".");
        return {"lf_global('" + t.upper.substr(2) + "')", it->second, ""};
    }

    Expr caseExpr()
    {
        expect("CASE");
        std::string sql = "CASE";
        std::optional<ColumnInfo> type;
        if (!peek().is("WHEN"))
            sql += " " + expr().sql;
        while (accept("WHEN")) {
            sql += " WHEN " + expr().sql;
            expect("THEN");
            Expr r = expr();
            if (!type)
                type = r.type;
            sql += " THEN " + r.sql;
        }
        if (accept("ELSE")) {
            Expr r = expr();
            if (!type)
                type = r.type;
            sql += " ELSE " + r.sql;
        }
        expect("END");
        return {sql + " END", type, ""};
    }

    // ---- SELECT --------------------------------------------------------------------------
    // Returns the SQLite text. With top set (the statement's outermost SELECT), unnamed or
    // typed result columns get aliases that carry their T-SQL name and type to the session,
    // and "SELECT @v = ..." turns into a variable assignment.
    std::string selectStatement(Stmt* top)
    {
        std::string limit;
        std::string sql = selectCore(top, limit);
        while (peek().is("UNION") || peek().is("EXCEPT") || peek().is("INTERSECT")) {
            std::string op = next().upper;
            if (accept("ALL"))
                op += " ALL";
            std::string ignored;
            sql += " " + op + " " + selectCore(nullptr, ignored);
        }
        if (accept("ORDER")) {
            expect("BY");
            std::string order;
            do {
                if (!order.empty())
                    order += ", ";
                order += expr().sql;
                if (accept("DESC"))
                    order += " DESC";
                else
                    accept("ASC");
            } while (acceptOp(","));
            sql += " ORDER BY " + order;
        }
        if (!limit.empty())
            sql += " LIMIT " + limit;
        return sql;
    }

    std::string selectCore(Stmt* top, std::string& limit)
    {
        expect("SELECT");
        std::string sql = "SELECT ";
        if (accept("DISTINCT"))
            sql += "DISTINCT ";
        else
            accept("ALL");
        if (accept("TOP")) {
            if (acceptOp("(")) {
                limit = expr().sql;
                expectOp(")");
            } else {
                const Token& n = next();
                if (n.kind != TokenKind::Number && n.kind != TokenKind::Variable)
                    syntaxError();
                limit = n.kind == TokenKind::Variable ? lowerOf(n.text) : n.text;
            }
            if (peek().is("PERCENT"))
                throw unsupported("TOP ... PERCENT");
            if (accept("WITH")) {
                expect("TIES");
                throw unsupported("TOP ... WITH TIES");
            }
        }
        std::string items;
        bool assigns = false;
        do {
            if (!items.empty())
                items += ", ";
            if (peek().op("*")) {
                ++m_pos;
                items += "*";
                continue;
            }
            if (peek().isName() && peek(1).op(".") && peek(2).op("*")) {
                items += quoteIdent(name()) + ".*";
                m_pos += 2;
                continue;
            }
            if (peek().kind == TokenKind::Variable && peek(1).op("=")) {
                if (!top)
                    syntaxError();
                top->targets.push_back(lowerOf(next().text));
                ++m_pos;
                items += expr().sql;
                assigns = true;
                continue;
            }
            std::string alias;
            bool aliased = false;
            if ((peek().isName() || peek().kind == TokenKind::String) && peek(1).op("=") &&
                !kReserved.count(peek().upper)) {
                alias = next().text;   // T-SQL's "alias = expression"
                ++m_pos;
                aliased = true;
            }
            Expr e = expr();
            if (!aliased && accept("AS")) {
                if (!isAliasToken(peek()) && !peek().isName())
                    syntaxError();
                alias = next().text;
                aliased = true;
            } else if (!aliased && isAliasToken(peek())) {
                alias = next().text;
                aliased = true;
            }
            items += e.sql;
            if (top && !assigns) {
                if (aliased) {
                    items += " AS " + quoteIdent(alias);
                    if (e.type)
                        top->namedHints[alias] = ColumnHint{alias, e.type};
                } else if (e.columnName.empty()) {
                    // SQL Server leaves computed columns unnamed.
                    items += " AS " + quoteIdent("__lfc" + std::to_string(top->hints.size()));
                    top->hints.push_back(ColumnHint{"", e.type});
                }
            } else if (aliased) {
                items += " AS " + quoteIdent(alias);
            }
        } while (acceptOp(","));
        sql += items;
        if (top && assigns && top->targets.size() == 0)
            syntaxError();
        if (peek().is("INTO"))
            throw unsupported("SELECT ... INTO");
        if (accept("FROM"))
            sql += " FROM " + tableSources();
        if (accept("WHERE"))
            sql += " WHERE " + expr().sql;
        if (accept("GROUP")) {
            expect("BY");
            std::string g;
            do {
                if (!g.empty())
                    g += ", ";
                g += expr().sql;
            } while (acceptOp(","));
            sql += " GROUP BY " + g;
        }
        if (accept("HAVING"))
            sql += " HAVING " + expr().sql;
        if (top && assigns)
            top->kind = StmtKind::SelectAssign;
        return sql;
    }

    std::string tableSources()
    {
        std::string sql = tableSource();
        for (;;) {
            if (acceptOp(",")) {
                sql += ", " + tableSource();
                continue;
            }
            std::string join;
            if (accept("INNER")) {
                join = "INNER JOIN";
            } else if (peek().is("LEFT") || peek().is("RIGHT") || peek().is("FULL")) {
                join = next().upper;
                accept("OUTER");
                join += " JOIN";
            } else if (accept("CROSS")) {
                join = "CROSS JOIN";
            } else if (peek().is("JOIN")) {
                join = "JOIN";
            } else {
                return sql;
            }
            expect("JOIN");
            sql += " " + join + " " + tableSource();
            if (join != "CROSS JOIN") {
                expect("ON");
                sql += " ON " + expr().sql;
            }
        }
    }

    std::string tableSource()
    {
        std::string sql;
        std::string defaultAlias;
        if (acceptOp("(")) {
            sql = "(" + selectStatement(nullptr) + ")";
            expectOp(")");
        } else {
            auto [ref, alias] = tableRef(objectName());
            sql = ref;
            defaultAlias = alias;
        }
        std::string alias;
        if (accept("AS"))
            alias = name();
        else if (peek().isName() && !kReserved.count(peek().upper) && !peek().is("NOLOCK"))
            alias = name();
        if (accept("WITH")) {   // table hints (NOLOCK...) mean nothing to SQLite
            expectOp("(");
            while (!peek().op(")") && !atEnd())
                ++m_pos;
            expectOp(")");
        }
        if (alias.empty())
            alias = defaultAlias;
        if (!alias.empty())
            sql += " AS " + quoteIdent(alias);
        return sql;
    }

    // ---- statements ----------------------------------------------------------------------
    void parseStatement()
    {
        const Token& t = peek();
        const int line = t.line;
        if (t.kind != TokenKind::Identifier)
            syntaxError();
        const std::string kw = t.upper;
        if (kw == "SELECT") {
            Stmt s;
            s.kind = StmtKind::Query;
            s.line = line;
            s.curCmd = 0xC1;
            s.returnsRows = true;
            std::string sql = selectStatement(&s);
            if (s.kind == StmtKind::SelectAssign)
                s.returnsRows = false;
            s.sql.push_back(sql);
            m_out.push_back(std::move(s));
        } else if (kw == "INSERT") {
            insertStatement(line);
        } else if (kw == "UPDATE") {
            updateStatement(line);
        } else if (kw == "DELETE") {
            deleteStatement(line);
        } else if (kw == "TRUNCATE") {
            ++m_pos;
            expect("TABLE");
            ObjectName n = objectName();
            Stmt& s = emit(StmtKind::Query, line);
            s.sql.push_back("DELETE FROM " + plainTable(n));
        } else if (kw == "CREATE") {
            createStatement(line);
        } else if (kw == "DROP") {
            dropStatement(line);
        } else if (kw == "ALTER") {
            alterStatement(line);
        } else if (kw == "DECLARE") {
            declareStatement(line);
        } else if (kw == "SET") {
            setStatement(line);
        } else if (kw == "PRINT") {
            ++m_pos;
            Stmt& s = emit(StmtKind::Print, line);
            s.args.push_back({"", expr().sql});
        } else if (kw == "RAISERROR") {
            ++m_pos;
            expectOp("(");
            Stmt& s = emit(StmtKind::Raiserror, line);
            do {
                s.args.push_back({"", expr().sql});
            } while (acceptOp(","));
            expectOp(")");
            if (accept("WITH"))
                name();
        } else if (kw == "USE") {
            ++m_pos;
            emit(StmtKind::Use, line).name = name();
        } else if (kw == "EXEC" || kw == "EXECUTE") {
            execStatement(line);
        } else if (kw == "BEGIN") {
            ++m_pos;
            if (accept("TRAN") || accept("TRANSACTION")) {
                if (peek().isName() && !kReserved.count(peek().upper))
                    ++m_pos;
                emit(StmtKind::BeginTran, line);
            } else {
                // A block: its statements simply follow each other.
                while (!peek().is("END")) {
                    if (atEnd())
                        syntaxError();
                    if (acceptOp(";"))
                        continue;
                    parseStatement();
                }
                ++m_pos;
            }
        } else if (kw == "COMMIT" || kw == "ROLLBACK") {
            ++m_pos;
            if (accept("TRAN") || accept("TRANSACTION") || accept("WORK")) {
                if (peek().isName() && !kReserved.count(peek().upper))
                    ++m_pos;
            }
            emit(kw == "COMMIT" ? StmtKind::CommitTran : StmtKind::RollbackTran, line);
        } else if (kw == "IF") {
            ++m_pos;
            Expr cond = expr();
            const size_t ifIndex = m_out.size();
            emit(StmtKind::IfNot, line).args.push_back({"", cond.sql});
            statementBody();
            if (accept("ELSE")) {
                const size_t jumpIndex = m_out.size();
                emit(StmtKind::Jump, line);
                m_out[ifIndex].jumpTarget = m_out.size();
                statementBody();
                m_out[jumpIndex].jumpTarget = m_out.size();
            } else {
                m_out[ifIndex].jumpTarget = m_out.size();
            }
        } else if (kw == "GO") {
            ++m_pos;
            if (peek().kind == TokenKind::Number)
                ++m_pos;
        } else if (kw == "BACKUP") {
            backupStatement(line);
        } else if (kw == "RESTORE") {
            restoreStatement(line);
        } else if (kw == "GRANT" || kw == "DENY" || kw == "REVOKE") {
            permissionStatement(line);
        } else if (kw == "RETURN") {
            ++m_pos;
            Stmt& s = emit(StmtKind::Return, line);
            if (!atEnd() && !peek().op(";") && !(peek().kind == TokenKind::Identifier && kReserved.count(peek().upper)))
                s.args.push_back({"", expr().sql});
        } else if (kw == "WHILE" || kw == "GOTO" || kw == "WAITFOR" || kw == "MERGE" ||
                   kw == "DBCC" || kw == "CHECKPOINT" || kw == "OPEN" || kw == "FETCH" || kw == "CLOSE" ||
                   kw == "DEALLOCATE" || kw == "BULK" || kw == "RECONFIGURE" || kw == "SHUTDOWN" ||
                   kw == "KILL" || kw == "WITH") {
            throw unsupported("the " + kw + " statement");
        } else {
            syntaxError();
        }
    }

    void statementBody()
    {
        while (acceptOp(";")) {
        }
        if (atEnd())
            syntaxError();
        parseStatement();
    }

    void insertStatement(int line)
    {
        expect("INSERT");
        if (peek().is("TOP"))
            throw unsupported("INSERT TOP");
        accept("INTO");
        ObjectName n = objectName();
        std::string sql = "INSERT INTO " + plainTable(n);
        if (peek().op("(")) {
            ++m_pos;
            std::string cols;
            do {
                if (!cols.empty())
                    cols += ", ";
                cols += quoteIdent(name());
            } while (acceptOp(","));
            expectOp(")");
            sql += " (" + cols + ")";
        }
        if (accept("DEFAULT")) {
            expect("VALUES");
            sql += " DEFAULT VALUES";
        } else if (accept("VALUES")) {
            std::string rows;
            do {
                expectOp("(");
                std::string row;
                do {
                    if (!row.empty())
                        row += ", ";
                    row += expr().sql;
                } while (acceptOp(","));
                expectOp(")");
                if (!rows.empty())
                    rows += ", ";
                rows += "(" + row + ")";
            } while (acceptOp(","));
            sql += " VALUES " + rows;
        } else if (peek().is("SELECT")) {
            sql += " " + selectStatement(nullptr);
        } else if (peek().is("EXEC") || peek().is("EXECUTE")) {
            throw unsupported("INSERT ... EXEC");
        } else {
            syntaxError();
        }
        Stmt& s = emit(StmtKind::Query, line);
        s.curCmd = 0xC3;
        s.sql.push_back(sql);
    }

    void updateStatement(int line)
    {
        expect("UPDATE");
        if (peek().is("TOP"))
            throw unsupported("UPDATE TOP");
        ObjectName n = objectName();
        if (accept("WITH")) {
            expectOp("(");
            while (!peek().op(")") && !atEnd())
                ++m_pos;
            expectOp(")");
        }
        expect("SET");
        std::string sets;
        do {
            if (!sets.empty())
                sets += ", ";
            if (peek().kind == TokenKind::Variable)
                throw unsupported("assigning variables in UPDATE");
            std::string col = name();
            while (acceptOp("."))
                col = name();
            expectOp("=");
            sets += quoteIdent(col) + " = " + expr().sql;
        } while (acceptOp(","));
        std::string sql = "UPDATE " + plainTable(n) + " SET " + sets;
        if (peek().is("FROM"))
            throw unsupported("UPDATE ... FROM");
        if (accept("WHERE"))
            sql += " WHERE " + expr().sql;
        Stmt& s = emit(StmtKind::Query, line);
        s.curCmd = 0xC5;
        s.sql.push_back(sql);
    }

    void deleteStatement(int line)
    {
        expect("DELETE");
        if (peek().is("TOP"))
            throw unsupported("DELETE TOP");
        accept("FROM");
        ObjectName n = objectName();
        std::string sql = "DELETE FROM " + plainTable(n);
        if (peek().is("FROM"))
            throw unsupported("DELETE ... FROM");
        if (accept("WHERE"))
            sql += " WHERE " + expr().sql;
        Stmt& s = emit(StmtKind::Query, line);
        s.curCmd = 0xC4;
        s.sql.push_back(sql);
    }

    void skipClusterWords()
    {
        while (accept("CLUSTERED") || accept("NONCLUSTERED")) {
        }
    }

    std::string columnList()
    {
        expectOp("(");
        std::string cols;
        do {
            if (!cols.empty())
                cols += ", ";
            cols += quoteIdent(name());
            if (accept("DESC"))
                cols += " DESC";
            else
                accept("ASC");
        } while (acceptOp(","));
        expectOp(")");
        return cols;
    }

    void createTable(int line)
    {
        ObjectName n = objectName();
        const bool temp = !n.name.empty() && n.name[0] == '#';
        expectOp("(");
        std::vector<std::string> defs;
        std::string identityColumn;
        int64_t identitySeed = 1;
        std::string primaryKeyConstraint;
        do {
            if (peek().is("CONSTRAINT") || peek().is("PRIMARY") || peek().is("UNIQUE") || peek().is("FOREIGN") ||
                peek().is("CHECK")) {
                std::string constraint;
                if (accept("CONSTRAINT"))
                    constraint = "CONSTRAINT " + quoteIdent(name()) + " ";
                if (accept("PRIMARY")) {
                    expect("KEY");
                    skipClusterWords();
                    primaryKeyConstraint = columnList();
                    continue;
                }
                if (accept("UNIQUE")) {
                    skipClusterWords();
                    defs.push_back(constraint + "UNIQUE (" + columnList() + ")");
                } else if (accept("FOREIGN")) {
                    expect("KEY");
                    std::string cols = columnList();
                    expect("REFERENCES");
                    ObjectName ref = objectName();
                    std::string refCols = peek().op("(") ? " (" + columnList() + ")" : "";
                    defs.push_back(constraint + "FOREIGN KEY (" + cols + ") REFERENCES " + quoteIdent(ref.name) + refCols);
                } else {
                    expect("CHECK");
                    expectOp("(");
                    defs.push_back(constraint + "CHECK (" + expr().sql + ")");
                    expectOp(")");
                }
                continue;
            }
            const std::string column = name();
            ColumnInfo info;
            std::string type = typeSpec(info);
            std::string def = quoteIdent(column) + " ";
            std::string constraints;
            bool identity = false;
            for (;;) {
                if (accept("CONSTRAINT")) {
                    name();
                    continue;
                }
                if (accept("NOT")) {
                    expect("NULL");
                    constraints += " NOT NULL";
                } else if (accept("NULL")) {
                } else if (accept("IDENTITY")) {
                    identity = true;
                    if (acceptOp("(")) {
                        const bool negative = acceptOp("-");
                        identitySeed = std::stoll(next().text) * (negative ? -1 : 1);
                        expectOp(",");
                        acceptOp("-");
                        next();
                        expectOp(")");
                    }
                } else if (accept("PRIMARY")) {
                    expect("KEY");
                    skipClusterWords();
                    primaryKeyConstraint = quoteIdent(column);
                } else if (accept("UNIQUE")) {
                    skipClusterWords();
                    constraints += " UNIQUE";
                } else if (accept("DEFAULT")) {
                    constraints += " DEFAULT (" + unary().sql + ")";
                } else if (accept("REFERENCES")) {
                    ObjectName ref = objectName();
                    constraints += " REFERENCES " + quoteIdent(ref.name);
                    if (peek().op("("))
                        constraints += " (" + columnList() + ")";
                } else if (accept("CHECK")) {
                    expectOp("(");
                    constraints += " CHECK (" + expr().sql + ")";
                    expectOp(")");
                } else if (accept("COLLATE")) {
                    name();
                } else if (accept("ROWGUIDCOL") || accept("SPARSE")) {
                } else {
                    break;
                }
            }
            if (identity) {
                if (!identityColumn.empty())
                    throw SqlError(2744, 16, "Multiple identity columns specified for table '" + n.name +
                                                 "'. Only one identity column per table is allowed.");
                identityColumn = quoteIdent(column);
                // SQLite numbers rows itself only through an INTEGER PRIMARY KEY column.
                def += "INTEGER PRIMARY KEY AUTOINCREMENT";
            } else {
                // SQLite's type names take numbers only: (max) is kept as (-1), which reads back
                // as (max).
                if (auto m = type.find("(max)"); m != std::string::npos)
                    type.replace(m, 5, "(-1)");
                def += type;
                if (isCharacterType(info))
                    def += " COLLATE NOCASE";
            }
            defs.push_back(def + constraints);
        } while (acceptOp(","));
        expectOp(")");
        if (accept("ON"))
            name();
        if (accept("TEXTIMAGE_ON"))
            name();
        if (!primaryKeyConstraint.empty()) {
            if (identityColumn.empty())
                defs.push_back("PRIMARY KEY (" + primaryKeyConstraint + ")");
            else if (primaryKeyConstraint != identityColumn)
                defs.push_back("UNIQUE (" + primaryKeyConstraint + ")");
        }
        std::string body;
        for (const auto& d : defs)
            body += (body.empty() ? "" : ", ") + d;
        Stmt& s = emit(StmtKind::Query, line);
        s.curCmd = 0xC6;
        const std::string table = temp ? "temp." + quoteIdent(n.name) : plainTable(n);
        s.sql.push_back("CREATE TABLE " + table + " (" + body + ")");
        if (!identityColumn.empty() && identitySeed != 1) {
            const std::string schema = temp ? "temp" : n.database.empty() ? "main" : quoteIdent(schemaFor(n));
            s.sql.push_back("INSERT INTO " + schema + ".sqlite_sequence (name, seq) VALUES (" + quoteString(n.name) +
                            ", " + std::to_string(identitySeed - 1) + ")");
        }
    }

    std::string optionValue()
    {
        if (peek().isName() && !peek(1).op("(") && peek().kind == TokenKind::Identifier &&
            !(peek().upper == "NULL"))
            return quoteString(next().text);   // ON, OFF, SIMPLE...: a word stands for itself
        return expr().sql;
    }

    // Reads "NAME = value, NAME, NAME = value" up to a word that is not an option.
    void withOptions(Stmt& s)
    {
        do {
            if (!peek().isName())
                syntaxError();
            std::string opt = next().upper;
            if (opt == "MOVE") {
                std::string from = expr().sql;
                expect("TO");
                s.moves.emplace_back(from, expr().sql);
                continue;
            }
            std::string value;
            if (acceptOp("="))
                value = optionValue();
            s.options.emplace_back(opt, value);
        } while (acceptOp(","));
    }

    void fileSpec(Stmt& s, const std::string& prefix)
    {
        expectOp("(");
        do {
            std::string opt = next().upper;
            expectOp("=");
            s.options.emplace_back(prefix + opt, optionValue());
        } while (acceptOp(","));
        expectOp(")");
    }

    void createStatement(int line)
    {
        expect("CREATE");
        if (accept("TABLE")) {
            createTable(line);
        } else if (peek().is("UNIQUE") || peek().is("INDEX") || peek().is("CLUSTERED") || peek().is("NONCLUSTERED")) {
            const bool unique = accept("UNIQUE");
            skipClusterWords();
            expect("INDEX");
            std::string index = name();
            expect("ON");
            ObjectName table = objectName();
            std::string cols = columnList();
            Stmt& s = emit(StmtKind::Query, line);
            std::string schema = table.database.empty() ? "" : quoteIdent(schemaFor(table)) + ".";
            s.sql.push_back(std::string("CREATE ") + (unique ? "UNIQUE " : "") + "INDEX " + schema + quoteIdent(index) +
                            " ON " + quoteIdent(table.name) + " (" + cols + ")");
            if (accept("WITH"))
                syntaxError();
            if (accept("ON"))
                name();
        } else if (accept("DATABASE")) {
            Stmt& s = emit(StmtKind::CreateDatabase, line);
            s.name = name();
            if (accept("ON")) {
                accept("PRIMARY");
                fileSpec(s, "DATA_");
                if (accept("LOG")) {
                    expect("ON");
                    fileSpec(s, "LOG_");
                }
            }
            if (accept("COLLATE"))
                name();
        } else if (accept("LOGIN")) {
            Stmt& s = emit(StmtKind::CreateLogin, line);
            s.name = name();
            if (accept("FROM")) {
                expect("WINDOWS");
                s.flag = true;
                if (accept("WITH"))
                    withOptions(s);
            } else {
                expect("WITH");
                withOptions(s);
                if (!s.option("PASSWORD"))
                    syntaxError();
            }
        } else if (accept("USER")) {
            Stmt& s = emit(StmtKind::CreateUser, line);
            s.name = name();
            if (accept("FOR") || accept("FROM")) {
                expect("LOGIN");
                s.name2 = name();
            } else if (accept("WITHOUT")) {
                expect("LOGIN");
                s.flag = true;
            }
            if (accept("WITH"))
                withOptions(s);
        } else if (accept("ROLE")) {
            Stmt& s = emit(StmtKind::CreateRole, line);
            s.name = name();
            if (accept("AUTHORIZATION"))
                s.name2 = name();
        } else if (accept("PROC") || accept("PROCEDURE")) {
            procedureDefinition(line, false);
        } else if (accept("VIEW")) {
            ObjectName n = objectName();
            expect("AS");
            std::string sel = selectStatement(nullptr);
            emit(StmtKind::Query, line).sql.push_back("CREATE VIEW " + plainTable(n) + " AS " + sel);
        } else {
            throw unsupported("CREATE " + peek().text);
        }
    }

    void dropStatement(int line)
    {
        expect("DROP");
        if (accept("TABLE")) {
            bool ifExists = false;
            if (accept("IF")) {
                expect("EXISTS");
                ifExists = true;
            }
            Stmt& s = emit(StmtKind::Query, line);
            do {
                ObjectName n = objectName();
                const std::string table =
                    !n.name.empty() && n.name[0] == '#' ? "temp." + quoteIdent(n.name) : plainTable(n);
                s.sql.push_back(std::string("DROP TABLE ") + (ifExists ? "IF EXISTS " : "") + table);
            } while (acceptOp(","));
        } else if (accept("VIEW")) {
            ObjectName n = objectName();
            emit(StmtKind::Query, line).sql.push_back("DROP VIEW " + plainTable(n));
        } else if (accept("INDEX")) {
            ObjectName n = objectName();
            if (accept("ON"))
                objectName();
            emit(StmtKind::Query, line).sql.push_back("DROP INDEX " + quoteIdent(n.name));
        } else if (accept("PROC") || accept("PROCEDURE")) {
            Stmt& s = emit(StmtKind::DropProcedure, line);
            if (accept("IF")) {
                expect("EXISTS");
                s.flag = true;
            }
            do {
                s.targets.push_back(objectName().name);
            } while (acceptOp(","));
        } else if (accept("DATABASE")) {
            Stmt& s = emit(StmtKind::DropDatabase, line);
            do {
                s.targets.push_back(name());
            } while (acceptOp(","));
        } else if (accept("LOGIN")) {
            emit(StmtKind::DropLogin, line).name = name();
        } else if (accept("USER")) {
            emit(StmtKind::DropUser, line).name = name();
        } else if (accept("ROLE")) {
            emit(StmtKind::DropRole, line).name = name();
        } else {
            throw unsupported("DROP " + peek().text);
        }
    }

    // CREATE PROCEDURE takes the rest of the batch as its body, as in SQL Server. The body is
    // parsed now, so that a procedure with a syntax error is refused when it is created.
    void procedureDefinition(int line, bool alter)
    {
        ObjectName n = objectName();
        const size_t paramsStart = peek().offset;
        std::vector<ParameterDefinition> defs = parameterList();
        const size_t paramsEnd = peek().offset;
        if (accept("WITH")) {
            do {
                name();
            } while (acceptOp(","));
        }
        expect("AS");
        const size_t bodyStart = peek().offset;
        std::map<std::string, ColumnInfo> types = m_varTypes;
        for (const auto& d : defs)
            types[d.name] = d.type;
        const std::string body = m_sql.substr(bodyStart);
        Parser bodyParser(body, types);
        bodyParser.parseBatch();
        Stmt& s = emit(StmtKind::CreateProcedure, line);
        s.name = n.name;
        s.name2 = m_sql.substr(paramsStart, paramsEnd - paramsStart);
        s.body = body;
        s.flag = alter;
        m_pos = m_t.size() - 1;
    }

    void alterStatement(int line)
    {
        expect("ALTER");
        if (accept("PROC") || accept("PROCEDURE")) {
            procedureDefinition(line, true);
        } else if (accept("DATABASE")) {
            std::string db = name();
            if (accept("MODIFY")) {
                expect("FILE");
                Stmt& s = emit(StmtKind::AlterDatabaseFile, line);
                s.name = db;
                fileSpec(s, "");
            } else if (accept("SET")) {
                Stmt& s = emit(StmtKind::AlterDatabaseSet, line);
                s.name = db;
                while (!atEnd() && !peek().op(";") && !(peek().kind == TokenKind::Identifier &&
                                                        kReserved.count(peek().upper) && !peek().is("WITH"))) {
                    s.targets.push_back(next().upper);
                }
            } else {
                throw unsupported("ALTER DATABASE " + peek().text);
            }
        } else if (accept("LOGIN")) {
            Stmt& s = emit(StmtKind::AlterLogin, line);
            s.name = name();
            if (accept("ENABLE"))
                s.options.emplace_back("ENABLE", "");
            else if (accept("DISABLE"))
                s.options.emplace_back("DISABLE", "");
            else {
                expect("WITH");
                withOptions(s);
            }
        } else if (accept("ROLE")) {
            Stmt& s = emit(StmtKind::AlterRoleMember, line);
            s.name = name();
            if (accept("ADD"))
                s.flag = true;
            else
                expect("DROP");
            expect("MEMBER");
            s.name2 = name();
        } else if (accept("SERVER")) {
            expect("ROLE");
            Stmt& s = emit(StmtKind::AlterServerRoleMember, line);
            s.name = name();
            if (accept("ADD"))
                s.flag = true;
            else
                expect("DROP");
            expect("MEMBER");
            s.name2 = name();
        } else {
            throw unsupported("ALTER " + peek().text);
        }
    }

    void declareStatement(int line)
    {
        expect("DECLARE");
        Stmt& s = emit(StmtKind::Declare, line);
        do {
            if (peek().kind != TokenKind::Variable)
                syntaxError();
            std::string var = lowerOf(next().text);
            accept("AS");
            if (peek().is("TABLE") || peek().is("CURSOR"))
                throw unsupported("table and cursor variables");
            ColumnInfo info;
            typeSpec(info);
            m_varTypes[var] = info;
            s.targets.push_back(var);
            s.declaredTypes.push_back(info);
            StmtArg init;
            if (acceptOp("="))
                init.expr = expr().sql;
            s.args.push_back(init);
        } while (acceptOp(","));
    }

    void setStatement(int line)
    {
        expect("SET");
        if (peek().kind == TokenKind::Variable) {
            Stmt& s = emit(StmtKind::SetVariable, line);
            s.targets.push_back(lowerOf(next().text));
            std::string op;
            if (peek().op("+=") || peek().op("-=") || peek().op("*=") || peek().op("/="))
                op = next().text.substr(0, 1);
            else
                expectOp("=");
            Expr e = expr();
            if (op == "+")
                s.args.push_back({"", "lf_add(" + s.targets[0] + ", " + e.sql + ")"});
            else if (!op.empty())
                s.args.push_back({"", "(" + s.targets[0] + " " + op + " " + e.sql + ")"});
            else
                s.args.push_back({"", e.sql});
            return;
        }
        Stmt& s = emit(StmtKind::SetOption, line);
        s.name = name();
        std::string upper = s.name;
        std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
        s.name = upper;
        if (upper == "TRANSACTION") {
            expect("ISOLATION");
            expect("LEVEL");
            while (peek().isName() && !kReserved.count(peek().upper))
                ++m_pos;
            return;
        }
        if (upper == "IDENTITY_INSERT")
            objectName();
        while (acceptOp(","))
            name();
        if (peek().is("ON") || peek().is("OFF"))
            s.args.push_back({"", "'" + next().upper + "'"});
        else
            s.args.push_back({"", optionValue()});
    }

    void execStatement(int line)
    {
        ++m_pos;
        if (peek().op("(")) {
            ++m_pos;
            Stmt& s = emit(StmtKind::ExecString, line);
            Expr e = expr();
            std::string sql = e.sql;
            while (acceptOp("+"))
                sql = "lf_add(" + sql + ", " + expr().sql + ")";
            s.args.push_back({"", sql});
            expectOp(")");
            return;
        }
        Stmt s;
        s.kind = StmtKind::Exec;
        s.line = line;
        s.curCmd = 0xE0;
        if (peek().kind == TokenKind::Variable && peek(1).op("=")) {
            s.returnTarget = lowerOf(next().text);
            ++m_pos;
        }
        ObjectName proc = objectName();
        s.name = proc.name;
        s.name2 = proc.database;
        const auto endsArgs = [&]() {
            const Token& t = peek();
            return t.kind == TokenKind::End || t.op(";") ||
                   (t.kind == TokenKind::Identifier && kReserved.count(t.upper) && !t.is("DEFAULT") &&
                    !t.is("NULL"));
        };
        if (!endsArgs()) {
            do {
                StmtArg a;
                if (peek().kind == TokenKind::Variable && peek(1).op("=")) {
                    a.name = lowerOf(next().text);
                    ++m_pos;
                }
                if (accept("DEFAULT")) {
                    a.isDefault = true;
                } else if (peek().kind == TokenKind::Identifier && !peek(1).op("(") && !peek(1).op(".") &&
                           !kReserved.count(peek().upper)) {
                    a.expr = quoteString(next().text);   // EXEC sp_x name: a bare word is a string
                } else {
                    Expr e = unary();
                    a.expr = e.sql;
                }
                if (accept("OUTPUT") || accept("OUT"))
                    a.output = true;
                s.args.push_back(a);
            } while (acceptOp(","));
        }
        m_out.push_back(std::move(s));
    }

    void expectDiskTarget(Stmt& s)
    {
        if (!accept("DISK"))
            throw unsupported("backup devices other than DISK");
        expectOp("=");
        s.options.emplace_back("DISK", expr().sql);
        if (acceptOp(","))
            throw unsupported("backups striped over several files");
    }

    void backupStatement(int line)
    {
        expect("BACKUP");
        Stmt& s = emit(StmtKind::Backup, line);
        if (accept("LOG"))
            throw unsupported("BACKUP LOG");
        expect("DATABASE");
        s.name = name();
        expect("TO");
        expectDiskTarget(s);
        if (accept("WITH"))
            withOptions(s);
    }

    void restoreStatement(int line)
    {
        expect("RESTORE");
        Stmt& s = emit(StmtKind::Restore, line);
        if (accept("DATABASE")) {
            s.name = name();
            s.name2 = "DATABASE";
        } else if (peek().is("FILELISTONLY") || peek().is("HEADERONLY") || peek().is("VERIFYONLY") ||
                   peek().is("LABELONLY")) {
            s.name2 = next().upper;
            if (s.name2 == "LABELONLY")
                throw unsupported("RESTORE LABELONLY");
        } else if (accept("LOG")) {
            throw unsupported("RESTORE LOG");
        } else {
            syntaxError();
        }
        expect("FROM");
        expectDiskTarget(s);
        if (accept("WITH"))
            withOptions(s);
    }

    void permissionStatement(int line)
    {
        Stmt& s = emit(StmtKind::Permission, line);
        s.name = next().upper;
        do {
            std::string perm = name();
            while (peek().isName() && !peek().is("ON") && !peek().is("TO") && !peek().is("FROM"))
                perm += " " + name();
            std::transform(perm.begin(), perm.end(), perm.begin(), ::toupper);
            s.targets.push_back(perm);
        } while (acceptOp(","));
        if (accept("ON")) {
            if (peek().isName() && peek(1).op("::")) {
                name();
                m_pos += 1;
            }
            s.name2 = objectName().name;
        }
        if (!accept("TO") && !accept("FROM"))
            syntaxError();
        do {
            s.args.push_back({name(), ""});
        } while (acceptOp(","));
        if (accept("WITH")) {
            expect("GRANT");
            expect("OPTION");
        }
        accept("CASCADE");
    }
};

}  // namespace

std::vector<Stmt> translateBatch(const std::string& sql, const std::map<std::string, ColumnInfo>& variableTypes)
{
    Parser p(sql, variableTypes);
    return p.parseBatch();
}

std::vector<ParameterDefinition> parseParameterDefinitions(const std::string& text)
{
    Parser p(text, {});
    auto defs = p.parameterList();
    if (!p.atEnd())
        throw SqlError(102, 15, "Incorrect syntax near '" + p.peek().text + "'.");
    return defs;
}

}  // namespace standin
