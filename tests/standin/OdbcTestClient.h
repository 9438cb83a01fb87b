#pragma once

// A few RAII handles over unixODBC for driving the stand-in through the FreeTDS driver, as the
// product does. Failures throw with the driver's diagnostics (SQLSTATE, native number, text).

#include <sql.h>
#include <sqlext.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

struct OdbcDiag {
    std::string state;
    long native = 0;
    std::string text;
};

class OdbcError : public std::runtime_error {
public:
    OdbcError(const std::string& what, std::vector<OdbcDiag> diags);
    std::vector<OdbcDiag> diags;
};

std::vector<OdbcDiag> odbcDiagnostics(SQLSMALLINT type, SQLHANDLE handle);

class OdbcConnection {
public:
    explicit OdbcConnection(const std::string& connectionString);
    ~OdbcConnection();
    OdbcConnection(const OdbcConnection&) = delete;
    OdbcConnection& operator=(const OdbcConnection&) = delete;
    SQLHDBC handle() const { return m_dbc; }

private:
    SQLHENV m_env = SQL_NULL_HENV;
    SQLHDBC m_dbc = SQL_NULL_HDBC;
};

// One statement handle. Values come back as text (SQL_C_CHAR), NULL as nullopt.
class OdbcStatement {
public:
    explicit OdbcStatement(OdbcConnection& connection);
    ~OdbcStatement();
    OdbcStatement(const OdbcStatement&) = delete;
    OdbcStatement& operator=(const OdbcStatement&) = delete;
    SQLHSTMT handle() const { return m_stmt; }

    // SQLExecDirect; returns its SQLRETURN (SQL_SUCCESS, _WITH_INFO or SQL_NO_DATA), throws on
    // SQL_ERROR.
    SQLRETURN execute(const std::string& sql);
    // Runs sql and reads every row of every result set.
    std::vector<std::vector<std::optional<std::string>>> query(const std::string& sql);
    std::vector<std::vector<std::optional<std::string>>> fetchAll();
    std::vector<OdbcDiag> diagnostics() const { return odbcDiagnostics(SQL_HANDLE_STMT, m_stmt); }
    void check(SQLRETURN rc, const char* what) const;

private:
    SQLHSTMT m_stmt = SQL_NULL_HSTMT;
};
