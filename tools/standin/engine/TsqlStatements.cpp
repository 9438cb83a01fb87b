#include "TsqlParser.h"

#include "SqlError.h"
#include "TypeMap.h"

#include <algorithm>

// Statements: the dispatch on the first keyword, INSERT / UPDATE / DELETE and CREATE TABLE.

namespace standin::tsql {

void Parser::parseStatement()
{
    const Nesting level(m_depth);
    const size_t before = m_out.size();
    parseStatementBody();
    if (!m_pending.empty() && m_out.size() > before) {
        auto& access = m_out.back().access;
        access.insert(access.end(), m_pending.begin(), m_pending.end());
    }
    m_pending.clear();
}

void Parser::parseStatementBody()
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
        m_selectInto.reset();
        std::string sql = selectStatement(&s);
        if (s.kind == StmtKind::SelectAssign)
            s.returnsRows = false;
        if (m_selectInto) {
            // SELECT ... INTO makes the table from the query; the columns take SQLite's
            // affinities (INT, REAL, TEXT) as their types.
            const ObjectName& t = *m_selectInto;
            const bool temp = !t.name.empty() && t.name[0] == '#';
            const std::string table = temp ? "temp." + quoteIdent(t.name) : plainTable(t);
            s.returnsRows = false;
            s.curCmd = 0xC2;
            s.hints.clear();
            s.namedHints.clear();
            s.sql.push_back((temp ? "CREATE TEMP TABLE " + quoteIdent(t.name) : "CREATE TABLE " + table) +
                            " AS " + sql);
            s.sql.push_back("SELECT count(*) FROM " + table);
            m_selectInto.reset();
        } else {
            s.sql.push_back(sql);
        }
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
        touch("ALTER", n);
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
            if (peek().kind == TokenKind::Quoted || (peek().isName() && !reservedWords().count(peek().upper)))
                ++m_pos;
            emit(StmtKind::BeginTran, line);
        } else if (accept("TRY")) {
            // BEGIN TRY ... END TRY BEGIN CATCH ... END CATCH: the session's error handling
            // jumps from a failing statement of the TRY part to the CATCH part.
            const size_t tryIndex = m_out.size();
            emit(StmtKind::TryBegin, line);
            while (!(peek().is("END") && peek(1).is("TRY"))) {
                if (atEnd())
                    syntaxError();
                if (acceptOp(";"))
                    continue;
                parseStatement();
            }
            m_pos += 2;
            emit(StmtKind::TryEnd, line);
            const size_t jumpIndex = m_out.size();
            emit(StmtKind::Jump, line);
            while (acceptOp(";")) {
            }
            expect("BEGIN");
            expect("CATCH");
            m_out[tryIndex].jumpTarget = m_out.size();
            while (!(peek().is("END") && peek(1).is("CATCH"))) {
                if (atEnd())
                    syntaxError();
                if (acceptOp(";"))
                    continue;
                parseStatement();
            }
            m_pos += 2;
            m_out[jumpIndex].jumpTarget = m_out.size();
        } else if (peek().is("CATCH") || peek().is("DISTRIBUTED")) {
            throw unsupported("BEGIN " + peek().upper);
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
        std::string transaction;
        if (accept("TRAN") || accept("TRANSACTION") || accept("WORK")) {
            if (peek().kind == TokenKind::Quoted || (peek().isName() && !reservedWords().count(peek().upper)))
                transaction = name();
        }
        emit(kw == "COMMIT" ? StmtKind::CommitTran : StmtKind::RollbackTran, line).name = transaction;
    } else if (kw == "SAVE") {
        ++m_pos;
        if (!accept("TRAN") && !accept("TRANSACTION"))
            syntaxError();
        emit(StmtKind::SaveTran, line).name = name();
    } else if (kw == "IF") {
        ++m_pos;
        Expr cond = expr();
        const size_t ifIndex = m_out.size();
        Stmt& ifNot = emit(StmtKind::IfNot, line);
        ifNot.args.push_back({"", cond.sql});
        ifNot.access = std::move(m_pending);
        m_pending.clear();
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
        if (!atEnd() && !peek().op(";") &&
            !(peek().kind == TokenKind::Identifier && reservedWords().count(peek().upper)))
            s.args.push_back({"", expr().sql});
    } else if (kw == "WHILE") {
        // The loop becomes a test that jumps past it and a jump back to the test.
        ++m_pos;
        Expr cond = expr();
        const size_t start = m_out.size();
        Stmt& test = emit(StmtKind::IfNot, line);
        test.args.push_back({"", cond.sql});
        test.access = std::move(m_pending);
        m_pending.clear();
        m_loops.push_back({start, {}});
        statementBody();
        emit(StmtKind::Jump, line).jumpTarget = start;
        const size_t end = m_out.size();
        m_out[start].jumpTarget = end;
        for (size_t b : m_loops.back().breaks)
            m_out[b].jumpTarget = end;
        m_loops.pop_back();
    } else if (kw == "BREAK" || kw == "CONTINUE") {
        ++m_pos;
        if (m_loops.empty())
            throw SqlError(kw == "BREAK" ? 135 : 136, 15,
                           "Cannot use a " + kw + " statement outside the scope of a WHILE statement.");
        Stmt& jump = emit(StmtKind::Jump, line);
        if (kw == "CONTINUE")
            jump.jumpTarget = m_loops.back().start;
        else
            m_loops.back().breaks.push_back(m_out.size() - 1);
    } else if (kw == "WAITFOR") {
        ++m_pos;
        if (!accept("DELAY"))
            throw unsupported("the WAITFOR " + peek().upper + " statement");
        emit(StmtKind::WaitFor, line).args.push_back({"", expr().sql});
    } else if (kw == "GOTO" || kw == "MERGE" || kw == "DBCC" || kw == "CHECKPOINT" || kw == "OPEN" ||
               kw == "FETCH" || kw == "CLOSE" || kw == "DEALLOCATE" || kw == "BULK" || kw == "RECONFIGURE" ||
               kw == "SHUTDOWN" || kw == "KILL" || kw == "WITH") {
        throw unsupported("the " + kw + " statement");
    } else {
        syntaxError();
    }
}

void Parser::statementBody()
{
    while (acceptOp(";")) {
    }
    if (atEnd())
        syntaxError();
    parseStatement();
}

void Parser::insertStatement(int line)
{
    expect("INSERT");
    if (peek().is("TOP"))
        throw unsupported("INSERT TOP");
    accept("INTO");
    ObjectName n = objectName();
    touch("INSERT", n);
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
    emitQuery(line, 0xC3, sql);
}

void Parser::updateStatement(int line)
{
    expect("UPDATE");
    if (peek().is("TOP"))
        throw unsupported("UPDATE TOP");
    ObjectName n = objectName();
    touch("UPDATE", n);
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
    const std::string target = plainTable(n);
    const std::string where = whereTail("UPDATE");
    emitQuery(line, 0xC5, "UPDATE " + target + " SET " + sets + where);
}

void Parser::deleteStatement(int line)
{
    expect("DELETE");
    if (peek().is("TOP"))
        throw unsupported("DELETE TOP");
    accept("FROM");
    ObjectName n = objectName();
    touch("DELETE", n);
    const std::string target = plainTable(n);
    const std::string where = whereTail("DELETE");
    emitQuery(line, 0xC4, "DELETE FROM " + target + where);
}

void Parser::skipClusterWords()
{
    while (accept("CLUSTERED") || accept("NONCLUSTERED")) {
    }
}

std::string Parser::columnList()
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

// One column of CREATE TABLE or ALTER TABLE ... ADD.
Parser::ColumnDef Parser::columnDefinition()
{
    ColumnDef c;
    c.column = name();
    ColumnInfo info;
    c.type = parseType(info);
    // SQLite's type names take numbers only: (max) is kept as (-1), which reads back as (max).
    if (auto m = c.type.find("(max)"); m != std::string::npos)
        c.type.replace(m, 5, "(-1)");
    if (isCharacterType(info))
        c.type += " COLLATE NOCASE";
    // SQLite keeps any length; SQL Server refuses text or bytes longer than the column.
    if ((isCharacterType(info) || info.type == SqlType::VarBinary) && info.maxLength > 0)
        c.constraints += " CHECK (" +
                         std::string(info.type == SqlType::VarBinary ? "length(CAST(" : "length((") +
                         quoteIdent(c.column) + (info.type == SqlType::VarBinary ? " AS BLOB))" : "))") +
                         " <= " + std::to_string(info.maxLength) + ")";
    for (;;) {
        if (accept("CONSTRAINT")) {
            name();
            continue;
        }
        if (accept("NOT")) {
            expect("NULL");
            c.constraints += " NOT NULL";
        } else if (accept("NULL")) {
        } else if (accept("IDENTITY")) {
            c.identity = true;
            if (acceptOp("(")) {
                const bool negative = acceptOp("-");
                c.seed = std::stoll(next().text) * (negative ? -1 : 1);
                expectOp(",");
                acceptOp("-");
                next();
                expectOp(")");
            }
        } else if (accept("PRIMARY")) {
            expect("KEY");
            skipClusterWords();
            c.primaryKey = true;
        } else if (accept("UNIQUE")) {
            skipClusterWords();
            c.constraints += " UNIQUE";
        } else if (accept("DEFAULT")) {
            c.constraints += " DEFAULT (" + unary().sql + ")";
        } else if (accept("REFERENCES")) {
            ObjectName ref = objectName();
            c.constraints += " REFERENCES " + quoteIdent(ref.name);
            if (peek().op("("))
                c.constraints += " (" + columnList() + ")";
        } else if (accept("CHECK")) {
            expectOp("(");
            c.constraints += " CHECK (" + expr().sql + ")";
            expectOp(")");
        } else if (accept("COLLATE")) {
            name();
        } else if (accept("ROWGUIDCOL") || accept("SPARSE")) {
        } else {
            return c;
        }
    }
}

void Parser::createTable(int line)
{
    ObjectName n = objectName();
    touch("CREATE TABLE", n);
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
                defs.push_back(constraint + "FOREIGN KEY (" + cols + ") REFERENCES " + quoteIdent(ref.name) +
                               refCols);
            } else {
                expect("CHECK");
                expectOp("(");
                defs.push_back(constraint + "CHECK (" + expr().sql + ")");
                expectOp(")");
            }
            continue;
        }
        ColumnDef c = columnDefinition();
        if (c.primaryKey)
            primaryKeyConstraint = quoteIdent(c.column);
        std::string def = quoteIdent(c.column) + " ";
        if (c.identity) {
            if (!identityColumn.empty())
                throw SqlError(2744, 16,
                               "Multiple identity columns specified for table '" + n.name +
                                   "'. Only one identity column per table is allowed.");
            identityColumn = quoteIdent(c.column);
            identitySeed = c.seed;
            // SQLite numbers rows itself only through an INTEGER PRIMARY KEY column.
            def += "INTEGER PRIMARY KEY AUTOINCREMENT";
        } else {
            def += c.type;
        }
        defs.push_back(def + c.constraints);
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
        s.sql.push_back("INSERT INTO " + schema + ".sqlite_sequence (name, seq) VALUES (" +
                        quoteString(n.name) + ", " + std::to_string(identitySeed - 1) + ")");
    }
}

} // namespace standin::tsql
