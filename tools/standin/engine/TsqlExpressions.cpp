#include "TsqlParser.h"

#include "SqlError.h"
#include "TypeMap.h"

#include <algorithm>

// Expressions and SELECT: T-SQL's operators, built-in functions and select lists written as
// SQLite, with the T-SQL type of each result column where SQLite cannot tell it.

namespace standin::tsql {

Expr Parser::orExpr()
{
    Expr l = andExpr();
    while (accept("OR")) {
        Expr r = andExpr();
        l = {"(" + l.sql + " OR " + r.sql + ")", makeType(SqlType::Int, 4), ""};
    }
    return l;
}

Expr Parser::andExpr()
{
    Expr l = notExpr();
    while (accept("AND")) {
        Expr r = notExpr();
        l = {"(" + l.sql + " AND " + r.sql + ")", makeType(SqlType::Int, 4), ""};
    }
    return l;
}

Expr Parser::notExpr()
{
    const Nesting level(m_depth);
    if (accept("NOT")) {
        Expr e = notExpr();
        return {"(NOT " + e.sql + ")", makeType(SqlType::Int, 4), ""};
    }
    return comparison();
}

Expr Parser::comparison()
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
            l = {"(" + l.sql + notText + " BETWEEN " + lo.sql + " AND " + hi.sql + ")",
                 makeType(SqlType::Int, 4), ""};
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

Expr Parser::additive()
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
                int32_t len =
                    (l.type->maxLength < 0 || r.type->maxLength < 0)
                        ? -1
                        : std::min<int32_t>(l.type->maxLength + r.type->maxLength, nvar ? 4000 : 8000);
                type = makeType(nvar ? SqlType::NVarChar : SqlType::VarChar, len);
            } else if (l.type && r.type && !isCharacterType(*l.type) && !isCharacterType(*r.type)) {
                type = (l.type->type == SqlType::Float || r.type->type == SqlType::Float)
                           ? makeType(SqlType::Float, 8)
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

Expr Parser::multiplicative()
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

Expr Parser::unary()
{
    const Nesting level(m_depth);
    if (peek().op("-") || peek().op("+") || peek().op("~")) {
        const std::string op = next().text;
        Expr e = unary();
        return {"(" + op + e.sql + ")", e.type, ""};
    }
    return primary();
}

std::vector<Expr> Parser::callArguments()
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

std::string Parser::joinSql(const std::vector<Expr>& args)
{
    std::string s;
    for (const auto& a : args) {
        if (!s.empty())
            s += ", ";
        s += a.sql;
    }
    return s;
}

Expr Parser::functionCall(const Token& fn)
{
    const std::string& f = fn.upper;
    if (f == "CONVERT" || f == "TRY_CONVERT") {
        expectOp("(");
        ColumnInfo info;
        std::string type = parseType(info);
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
        std::string type = parseType(info);
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
        return {"count(" + inner + ")",
                f == "COUNT" ? makeType(SqlType::Int, 4) : makeType(SqlType::BigInt, 8), ""};
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
    if (f == "ERROR_NUMBER" || f == "ERROR_SEVERITY" || f == "ERROR_STATE" || f == "ERROR_LINE")
        return {"lf_global('" + f + "')", makeType(SqlType::Int, 4), ""};
    if (f == "ERROR_MESSAGE" || f == "ERROR_PROCEDURE")
        return {"lf_global('" + f + "')", makeType(SqlType::NVarChar, 4000), ""};
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
    if (f == "DB_ID" || f == "HAS_DBACCESS" || f == "IS_SRVROLEMEMBER" || f == "IS_MEMBER" ||
        f == "OBJECT_ID" || f == "OBJECTPROPERTY" || f == "HAS_PERMS_BY_NAME")
        return {(f == "DB_ID" ? "db_id" : "lf_" + lowerOf(f)) + "(" + list + ")", makeType(SqlType::Int, 4),
                ""};
    if (f == "ABS" || f == "ROUND" || f == "FLOOR" || f == "CEILING" || f == "SIGN")
        return {(f == "FLOOR" || f == "CEILING" ? "lf_" : "") + lowerOf(f) + "(" + list + ")", firstType(),
                ""};
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

Expr Parser::primary()
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
        if (peek(1).op("(") && (!reservedWords().count(t.upper) || t.upper == "LEFT" || t.upper == "RIGHT")) {
            ++m_pos;
            return functionCall(t);
        }
        if (reservedWords().count(t.upper))
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

Expr Parser::globalVariable(const Token& t)
{
    static const std::map<std::string, ColumnInfo> kGlobals = {
        {"@@VERSION", makeType(SqlType::NVarChar, 300)},
        {"@@SERVERNAME", makeType(SqlType::NVarChar, 128)},
        {"@@SERVICENAME", makeType(SqlType::NVarChar, 128)},
        {"@@SPID", makeType(SqlType::SmallInt, 2)},
        {"@@ROWCOUNT", makeType(SqlType::Int, 4)},
        {"@@IDENTITY", makeType(SqlType::BigInt, 8)},
        {"@@ERROR", makeType(SqlType::Int, 4)},
        {"@@TRANCOUNT", makeType(SqlType::Int, 4)},
        {"@@LANGUAGE", makeType(SqlType::NVarChar, 128)},
        {"@@MICROSOFTVERSION", makeType(SqlType::Int, 4)},
        {"@@FETCH_STATUS", makeType(SqlType::Int, 4)},
    };
    auto it = kGlobals.find(t.upper);
    if (it == kGlobals.end())
        throw SqlError(137, 15, "Must declare the scalar variable \"" + t.text + "\".");
    return {"lf_global('" + t.upper.substr(2) + "')", it->second, ""};
}

Expr Parser::caseExpr()
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

// Returns the SQLite text. With top set (the statement's outermost SELECT), unnamed or
// typed result columns get aliases that carry their T-SQL name and type to the session,
// and "SELECT @v = ..." turns into a variable assignment.
std::string Parser::selectStatement(Stmt* top)
{
    const Nesting level(m_depth);
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

std::string Parser::selectCore(Stmt* top, std::string& limit)
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
            !reservedWords().count(peek().upper)) {
            alias = next().text; // T-SQL's "alias = expression"
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
    if (peek().is("INTO")) {
        if (!top || assigns)
            syntaxError();
        ++m_pos;
        m_selectInto = objectName();
        touch("CREATE TABLE", *m_selectInto);
    }
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

std::string Parser::tableSources()
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

std::string Parser::tableSource()
{
    std::string sql;
    std::string defaultAlias;
    if (acceptOp("(")) {
        sql = "(" + selectStatement(nullptr) + ")";
        expectOp(")");
    } else {
        ObjectName n = objectName();
        auto [ref, alias] = tableRef(n);
        if (alias.empty())
            touch("SELECT", n);
        sql = ref;
        defaultAlias = alias;
    }
    std::string alias;
    if (accept("AS"))
        alias = name();
    else if (peek().isName() && !reservedWords().count(peek().upper) && !peek().is("NOLOCK"))
        alias = name();
    if (accept("WITH")) { // table hints (NOLOCK...) mean nothing to SQLite
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

} // namespace standin::tsql
