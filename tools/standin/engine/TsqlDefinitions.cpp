#include "TsqlParser.h"

#include "SqlError.h"
#include "TypeMap.h"

#include <algorithm>
#include <set>

// Databases, logins, users, roles, procedures, variables, EXEC, BACKUP / RESTORE and
// permissions: parsed into the commands that the session carries out itself.

namespace standin::tsql {

std::string Parser::optionValue()
{
    if (peek().isName() && !peek(1).op("(") && peek().kind == TokenKind::Identifier &&
        !(peek().upper == "NULL"))
        return quoteString(next().text); // ON, OFF, SIMPLE...: a word stands for itself
    return expr().sql;
}

// Reads "NAME = value, NAME, NAME = value" up to a word that is not an option.
void Parser::withOptions(Stmt& s)
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

void Parser::fileOptions(Stmt& s, const std::string& prefix)
{
    expectOp("(");
    do {
        std::string opt = next().upper;
        expectOp("=");
        s.options.emplace_back(prefix + opt, optionValue());
    } while (acceptOp(","));
    expectOp(")");
}

void Parser::createStatement(int line)
{
    expect("CREATE");
    if (accept("TABLE")) {
        createTable(line);
    } else if (peek().is("UNIQUE") || peek().is("INDEX") || peek().is("CLUSTERED") ||
               peek().is("NONCLUSTERED")) {
        const bool unique = accept("UNIQUE");
        skipClusterWords();
        expect("INDEX");
        std::string index = name();
        expect("ON");
        ObjectName table = objectName();
        touch("ALTER", table);
        std::string cols = columnList();
        Stmt& s = emit(StmtKind::Query, line);
        s.curCmd = 0xC8;
        std::string schema = table.database.empty() ? "" : quoteIdent(schemaFor(table)) + ".";
        s.sql.push_back(std::string("CREATE ") + (unique ? "UNIQUE " : "") + "INDEX " + schema +
                        quoteIdent(index) + " ON " + quoteIdent(table.name) + " (" + cols + ")");
        if (accept("WITH"))
            skipIndexOptions();
        if (accept("ON"))
            name();
    } else if (accept("DATABASE")) {
        Stmt& s = emit(StmtKind::CreateDatabase, line);
        s.name = name();
        if (accept("ON")) {
            accept("PRIMARY");
            fileOptions(s, "DATA_");
            if (accept("LOG")) {
                expect("ON");
                fileOptions(s, "LOG_");
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

void Parser::dropStatement(int line)
{
    expect("DROP");
    if (accept("TABLE")) {
        bool ifExists = false;
        if (accept("IF")) {
            expect("EXISTS");
            ifExists = true;
        }
        Stmt& s = emit(StmtKind::Query, line);
        s.curCmd = 0xC7;
        do {
            ObjectName n = objectName();
            touch("DROP", n);
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
        emitQuery(line, 0xC9, "DROP INDEX " + quoteIdent(n.name));
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
void Parser::procedureDefinition(int line, bool alter)
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

// ALTER TABLE as generated scripts use it: new columns, primary keys and unique
// constraints added after CREATE TABLE (as unique indexes), dropped columns.
void Parser::alterTable(int line)
{
    ObjectName n = objectName();
    touch("ALTER", n);
    const std::string table = plainTable(n);
    const std::string schema = n.database.empty() ? "" : quoteIdent(schemaFor(n)) + ".";
    if (accept("WITH")) {
        if (!accept("CHECK") && !accept("NOCHECK"))
            syntaxError();
    }
    Stmt& s = emit(StmtKind::Query, line);
    if (accept("ADD")) {
        do {
            if (peek().is("CONSTRAINT") || peek().is("PRIMARY") || peek().is("UNIQUE")) {
                std::string constraint = "UQ_" + n.name + "_" + std::to_string(s.sql.size());
                if (accept("CONSTRAINT"))
                    constraint = name();
                if (accept("PRIMARY"))
                    expect("KEY");
                else if (!accept("UNIQUE"))
                    throw unsupported("ALTER TABLE ... ADD CONSTRAINT other than PRIMARY KEY or UNIQUE");
                skipClusterWords();
                const std::string cols = columnList();
                if (accept("WITH"))
                    skipIndexOptions();
                if (accept("ON"))
                    name();
                s.sql.push_back("CREATE UNIQUE INDEX " + schema + quoteIdent(constraint) + " ON " +
                                quoteIdent(n.name) + " (" + cols + ")");
            } else {
                ColumnDef c = columnDefinition();
                if (c.identity || c.primaryKey)
                    throw unsupported("adding an IDENTITY or PRIMARY KEY column with ALTER TABLE");
                s.sql.push_back("ALTER TABLE " + table + " ADD COLUMN " + quoteIdent(c.column) + " " +
                                c.type + c.constraints);
            }
        } while (acceptOp(","));
    } else if (accept("DROP")) {
        if (!accept("COLUMN"))
            throw unsupported("ALTER TABLE ... DROP other than COLUMN");
        do {
            s.sql.push_back("ALTER TABLE " + table + " DROP COLUMN " + quoteIdent(name()));
        } while (acceptOp(","));
    } else {
        throw unsupported("ALTER TABLE " + peek().text);
    }
}

void Parser::skipIndexOptions()
{
    if (acceptOp("(")) {
        while (!peek().op(")") && !atEnd())
            ++m_pos;
        expectOp(")");
        return;
    }
    do { // WITH FILLFACTOR = 90, PAD_INDEX
        name();
        if (acceptOp("="))
            next();
    } while (acceptOp(","));
}

void Parser::alterStatement(int line)
{
    expect("ALTER");
    if (accept("PROC") || accept("PROCEDURE")) {
        procedureDefinition(line, true);
    } else if (accept("TABLE")) {
        alterTable(line);
    } else if (accept("DATABASE")) {
        std::string db = name();
        if (accept("MODIFY")) {
            expect("FILE");
            Stmt& s = emit(StmtKind::AlterDatabaseFile, line);
            s.name = db;
            fileOptions(s, "");
        } else if (accept("SET")) {
            Stmt& s = emit(StmtKind::AlterDatabaseSet, line);
            s.name = db;
            // The option words (FULL, OFF, WITH ROLLBACK IMMEDIATE...) run up to the next
            // statement's keyword.
            static const std::set<std::string> kStatementStarts = {
                "SELECT", "INSERT",  "UPDATE",   "DELETE",   "CREATE",  "DROP",     "ALTER",
                "EXEC",   "EXECUTE", "USE",      "DECLARE",  "SET",     "PRINT",    "IF",
                "BEGIN",  "COMMIT",  "ROLLBACK", "BACKUP",   "RESTORE", "GRANT",    "DENY",
                "REVOKE", "WHILE",   "RETURN",   "TRUNCATE", "GO",      "RAISERROR"};
            while (!atEnd() && !peek().op(";") &&
                   !(peek().kind == TokenKind::Identifier && kStatementStarts.count(peek().upper))) {
                if (accept("WITH")) { // WITH ROLLBACK IMMEDIATE | ROLLBACK AFTER n [SECONDS] | NO_WAIT
                    if (accept("ROLLBACK")) {
                        if (accept("AFTER")) {
                            next();
                            accept("SECONDS");
                        } else {
                            expect("IMMEDIATE");
                        }
                    } else {
                        expect("NO_WAIT");
                    }
                    continue;
                }
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

void Parser::declareStatement(int line)
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
        parseType(info);
        m_varTypes[var] = info;
        s.targets.push_back(var);
        s.declaredTypes.push_back(info);
        StmtArg init;
        if (acceptOp("="))
            init.expr = expr().sql;
        s.args.push_back(init);
    } while (acceptOp(","));
}

void Parser::setStatement(int line)
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
        while (peek().isName() && !reservedWords().count(peek().upper))
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

void Parser::execStatement(int line)
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
               (t.kind == TokenKind::Identifier && reservedWords().count(t.upper) && !t.is("DEFAULT") &&
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
                       !reservedWords().count(peek().upper)) {
                a.expr = quoteString(next().text); // EXEC sp_x name: a bare word is a string
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

void Parser::expectDiskTarget(Stmt& s)
{
    if (!accept("DISK"))
        throw unsupported("backup devices other than DISK");
    expectOp("=");
    s.options.emplace_back("DISK", expr().sql);
    if (acceptOp(","))
        throw unsupported("backups striped over several files");
}

void Parser::backupStatement(int line)
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

void Parser::restoreStatement(int line)
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

void Parser::permissionStatement(int line)
{
    Stmt& s = emit(StmtKind::Permission, line);
    s.name = next().upper;
    // Permission names are words such as SELECT and EXECUTE, keywords elsewhere.
    auto word = [&]() {
        if (peek().kind != TokenKind::Identifier)
            syntaxError();
        return next().text;
    };
    do {
        std::string perm = word();
        while (peek().kind == TokenKind::Identifier && !peek().is("ON") && !peek().is("TO") &&
               !peek().is("FROM"))
            perm += " " + word();
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

} // namespace standin::tsql
