#include "OdbcTestClient.h"

#include <cstring>

namespace {
std::string describe(const std::string& what, const std::vector<OdbcDiag>& diags)
{
    std::string s = what;
    for (const OdbcDiag& d : diags)
        s += "\n  [" + d.state + "] (" + std::to_string(d.native) + ") " + d.text;
    return s;
}
} // namespace

OdbcError::OdbcError(const std::string& what, std::vector<OdbcDiag> d)
    : std::runtime_error(describe(what, d)), diags(std::move(d))
{
}

std::vector<OdbcDiag> odbcDiagnostics(SQLSMALLINT type, SQLHANDLE handle)
{
    std::vector<OdbcDiag> out;
    for (SQLSMALLINT i = 1;; ++i) {
        SQLCHAR state[6] = {};
        SQLINTEGER native = 0;
        SQLCHAR text[2048] = {};
        SQLSMALLINT len = 0;
        const SQLRETURN rc = SQLGetDiagRec(type, handle, i, state, &native, text, sizeof text, &len);
        if (!SQL_SUCCEEDED(rc))
            break;
        out.push_back({reinterpret_cast<char*>(state), native, reinterpret_cast<char*>(text)});
    }
    return out;
}

OdbcConnection::OdbcConnection(const std::string& connectionString)
{
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &m_env);
    SQLSetEnvAttr(m_env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, m_env, &m_dbc);
    SQLSetConnectAttr(m_dbc, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(10), 0);
    const SQLRETURN rc = SQLDriverConnect(
        m_dbc, nullptr, reinterpret_cast<SQLCHAR*>(const_cast<char*>(connectionString.c_str())), SQL_NTS,
        nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(rc)) {
        auto diags = odbcDiagnostics(SQL_HANDLE_DBC, m_dbc);
        SQLFreeHandle(SQL_HANDLE_DBC, m_dbc);
        SQLFreeHandle(SQL_HANDLE_ENV, m_env);
        throw OdbcError("SQLDriverConnect failed", std::move(diags));
    }
}

OdbcConnection::~OdbcConnection()
{
    SQLDisconnect(m_dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, m_dbc);
    SQLFreeHandle(SQL_HANDLE_ENV, m_env);
}

OdbcStatement::OdbcStatement(OdbcConnection& connection)
{
    SQLAllocHandle(SQL_HANDLE_STMT, connection.handle(), &m_stmt);
}

OdbcStatement::~OdbcStatement()
{
    SQLFreeHandle(SQL_HANDLE_STMT, m_stmt);
}

void OdbcStatement::check(SQLRETURN rc, const char* what) const
{
    if (rc == SQL_ERROR || rc == SQL_INVALID_HANDLE)
        throw OdbcError(what, diagnostics());
}

SQLRETURN OdbcStatement::execute(const std::string& sql)
{
    const SQLRETURN rc =
        SQLExecDirect(m_stmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())), SQL_NTS);
    check(rc, ("SQLExecDirect: " + sql).c_str());
    return rc;
}

std::vector<std::vector<std::optional<std::string>>> OdbcStatement::fetchAll()
{
    std::vector<std::vector<std::optional<std::string>>> rows;
    for (;;) {
        SQLSMALLINT columns = 0;
        SQLNumResultCols(m_stmt, &columns);
        if (columns > 0) {
            for (;;) {
                const SQLRETURN rc = SQLFetch(m_stmt);
                if (rc == SQL_NO_DATA)
                    break;
                check(rc, "SQLFetch");
                std::vector<std::optional<std::string>> row;
                for (SQLUSMALLINT c = 1; c <= static_cast<SQLUSMALLINT>(columns); ++c) {
                    std::string value;
                    SQLLEN indicator = 0;
                    char buf[4096];
                    bool isNull = false;
                    for (;;) {
                        const SQLRETURN g = SQLGetData(m_stmt, c, SQL_C_CHAR, buf, sizeof buf, &indicator);
                        if (g == SQL_NO_DATA)
                            break;
                        check(g, "SQLGetData");
                        if (indicator == SQL_NULL_DATA) {
                            isNull = true;
                            break;
                        }
                        // A truncated chunk is NUL-terminated and may stop short of the buffer
                        // (binary shown as hex comes in whole byte pairs).
                        const bool truncated =
                            indicator == SQL_NO_TOTAL || indicator >= static_cast<SQLLEN>(sizeof buf);
                        const size_t got =
                            truncated ? strnlen(buf, sizeof buf - 1) : static_cast<size_t>(indicator);
                        value.append(buf, got);
                        if (g == SQL_SUCCESS)
                            break;
                    }
                    row.push_back(isNull ? std::nullopt : std::optional<std::string>(value));
                }
                rows.push_back(std::move(row));
            }
        }
        const SQLRETURN more = SQLMoreResults(m_stmt);
        if (more == SQL_NO_DATA)
            break;
        check(more, "SQLMoreResults");
    }
    return rows;
}

std::vector<std::vector<std::optional<std::string>>> OdbcStatement::query(const std::string& sql)
{
    execute(sql);
    return fetchAll();
}
