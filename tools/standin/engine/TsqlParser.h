#pragma once

// The T-SQL parser behind translateBatch(): internal to the engine.

#include "Lexer.h"
#include "Statement.h"
#include "Translator.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace standin::tsql {

// Words that end an expression or a select item: never read as an alias.
const std::set<std::string>& reservedWords();

std::string quoteIdent(const std::string& name);
std::string quoteString(const std::string& s);
std::string lowerOf(std::string s);
ColumnInfo makeType(SqlType t, int32_t len);
int32_t utf8Length(const std::string& s);

struct Expr {
    std::string sql;
    std::optional<ColumnInfo> type;
    std::string columnName; // a plain column reference: its name
};

struct ObjectName {
    std::string server, database, schema, name;
    bool schemaGiven = false;
};

// A recursive-descent parser over the tokens of one batch that writes SQLite text for
// queries as it goes and collects the statements the session carries out itself.
class Parser {
public:
    Parser(std::string sql, const std::map<std::string, ColumnInfo>& vars);

    std::vector<ParameterDefinition> parameterList();

    std::vector<Stmt> parseBatch();

    Expr parseExpression() { return expr(); }
    bool atEnd() const { return m_t[m_pos].kind == TokenKind::End; }
    const Token& peek(size_t k = 0) const { return m_t[std::min(m_pos + k, m_t.size() - 1)]; }

private:
    std::string m_sql;
    std::vector<Token> m_t;
    std::vector<StmtAccess> m_pending; // tables met in the statement being parsed
    size_t m_pos = 0;
    std::vector<Stmt> m_out;
    std::map<std::string, ColumnInfo> m_varTypes;
    struct Loop {
        size_t start;               // the WHILE's test
        std::vector<size_t> breaks; // jumps to patch with the loop's end
    };
    std::vector<Loop> m_loops;
    std::optional<ObjectName> m_selectInto; // SELECT ... INTO's new table
    int m_depth = 0;                        // nesting of the statement being parsed

    // One level of nesting for as long as it lives. A statement nested deeper than the
    // stand-in parses is refused with error 191, as SQL Server refuses it, before the
    // recursion can exhaust the stack and end the server.
    class Nesting {
    public:
        explicit Nesting(int& depth);
        ~Nesting() { --m_depth; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        int& m_depth;
    };

    // Tokens and names (TsqlParser.cpp)
    const Token& next() { return m_t[m_pos < m_t.size() - 1 ? m_pos++ : m_pos]; }
    bool accept(const char* kw);
    bool acceptOp(const char* o);
    void expect(const char* kw);
    void expectOp(const char* o);
    [[noreturn]] void syntaxError() const;
    std::string name();
    bool isAliasToken(const Token& t) const;
    Stmt& emit(StmtKind kind, int line);
    // A statement SQLite runs as translated, reported to the client with its TDS command code.
    void emitQuery(int line, uint16_t curCmd, std::string sql);
    // The end of an UPDATE or DELETE: "... FROM" is refused by name, WHERE is translated.
    std::string whereTail(const char* statement);
    ObjectName objectName();
    std::string schemaFor(const ObjectName& n) const;
    std::pair<std::string, std::string> tableRef(const ObjectName& n);
    void touch(const char* permission, const ObjectName& n);
    std::string plainTable(const ObjectName& n);
    static std::string fullName(const ObjectName& n);
    std::string parseType(ColumnInfo& info);

    // Expressions and SELECT (TsqlExpressions.cpp)
    Expr expr() { return orExpr(); }
    Expr orExpr();
    Expr andExpr();
    Expr notExpr();
    Expr comparison();
    Expr additive();
    Expr multiplicative();
    Expr unary();
    std::vector<Expr> callArguments();
    static std::string joinSql(const std::vector<Expr>& args);
    Expr functionCall(const Token& fn);
    Expr primary();
    Expr globalVariable(const Token& t);
    Expr caseExpr();
    std::string selectStatement(Stmt* top);
    std::string selectCore(Stmt* top, std::string& limit);
    std::string tableSources();
    std::string tableSource();

    // Statements and tables (TsqlStatements.cpp)
    struct ColumnDef {
        std::string column;
        std::string type;        // as SQLite is to declare it
        std::string constraints; // NOT NULL, DEFAULT, UNIQUE, CHECK, REFERENCES
        bool identity = false;
        int64_t seed = 1;
        bool primaryKey = false;
    };
    void parseStatement();
    void parseStatementBody();
    void statementBody();
    void insertStatement(int line);
    void updateStatement(int line);
    void deleteStatement(int line);
    void skipClusterWords();
    std::string columnList();
    ColumnDef columnDefinition();
    void createTable(int line);

    // Other objects, variables, procedures, backup and restore, permissions (TsqlDefinitions.cpp)
    std::string optionValue();
    void withOptions(Stmt& s);
    void fileOptions(Stmt& s, const std::string& prefix);
    void createStatement(int line);
    void dropStatement(int line);
    void procedureDefinition(int line, bool alter);
    void alterTable(int line);
    void skipIndexOptions();
    void alterStatement(int line);
    void declareStatement(int line);
    void setStatement(int line);
    void execStatement(int line);
    void expectDiskTarget(Stmt& s);
    void backupStatement(int line);
    void restoreStatement(int line);
    void permissionStatement(int line);
};

} // namespace standin::tsql
