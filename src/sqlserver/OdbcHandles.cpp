#include "OdbcHandles.h"

#include <algorithm>
#include <mutex>

#include "ConnectionError.h"
#include "LfError.h"

namespace sqlserver {
namespace {

// SQL Server's driver-specific diagnostic fields (also understood by FreeTDS where it can).
constexpr SQLSMALLINT kDiagSsMsgState = -1150;
constexpr SQLSMALLINT kDiagSsSeverity = -1151;
constexpr SQLSMALLINT kDiagSsSrvName = -1152;
constexpr SQLSMALLINT kDiagSsProcName = -1153;
constexpr SQLSMALLINT kDiagSsLine = -1154;

std::string diagText(SQLSMALLINT type, SQLHANDLE h, SQLSMALLINT rec, SQLSMALLINT field)
{
    char buf[1024];
    SQLSMALLINT len = 0;
    if (!SQL_SUCCEEDED(SQLGetDiagFieldA(type, h, rec, field, buf, sizeof buf, &len)))
        return {};
    return std::string(
        buf, static_cast<size_t>(std::max<SQLSMALLINT>(0, std::min<SQLSMALLINT>(len, sizeof buf - 1))));
}

} // namespace

SQLHENV odbcEnvironment()
{
    static SQLHENV env = [] {
        SQLHENV e = SQL_NULL_HENV;
        if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &e)))
            throw LfError(kClientFailure, "", "the ODBC driver manager cannot be loaded");
        SQLSetEnvAttr(e, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        return e;
    }();
    return env;
}

OdbcHandle::OdbcHandle(SQLSMALLINT type, SQLHANDLE parent) : m_type(type)
{
    if (!SQL_SUCCEEDED(SQLAllocHandle(type, parent, &m_h))) {
        m_h = SQL_NULL_HANDLE;
        const SQLSMALLINT parentType = type == SQL_HANDLE_DBC ? SQL_HANDLE_ENV : SQL_HANDLE_DBC;
        throwDiagnostics(parentType, parent, "while allocating an ODBC handle, ");
    }
}

OdbcHandle& OdbcHandle::operator=(OdbcHandle&& other) noexcept
{
    if (this != &other) {
        reset();
        m_type = other.m_type;
        m_h = other.m_h;
        other.m_h = SQL_NULL_HANDLE;
    }
    return *this;
}

void OdbcHandle::reset()
{
    if (m_h == SQL_NULL_HANDLE)
        return;
    if (m_type == SQL_HANDLE_DBC)
        SQLDisconnect(m_h); // harmless when not connected
    SQLFreeHandle(m_type, m_h);
    m_h = SQL_NULL_HANDLE;
}

std::vector<ServerMessage> readDiagnostics(SQLSMALLINT type, SQLHANDLE h)
{
    std::vector<ServerMessage> out;
    if (h == SQL_NULL_HANDLE)
        return out;
    for (SQLSMALLINT rec = 1;; ++rec) {
        SQLCHAR state[6] = {0};
        SQLINTEGER native = 0;
        std::string text(1024, '\0');
        SQLSMALLINT len = 0;
        SQLRETURN rc = SQLGetDiagRecA(type, h, rec, state, &native, reinterpret_cast<SQLCHAR*>(text.data()),
                                      static_cast<SQLSMALLINT>(text.size()), &len);
        if (rc == SQL_SUCCESS_WITH_INFO && len >= static_cast<SQLSMALLINT>(text.size())) {
            text.assign(static_cast<size_t>(len) + 1, '\0');
            rc = SQLGetDiagRecA(type, h, rec, state, &native, reinterpret_cast<SQLCHAR*>(text.data()),
                                static_cast<SQLSMALLINT>(text.size()), &len);
        }
        if (!SQL_SUCCEEDED(rc))
            break;
        text.resize(static_cast<size_t>(
            std::max<SQLSMALLINT>(0, std::min<SQLSMALLINT>(len, static_cast<SQLSMALLINT>(text.size() - 1)))));

        ServerMessage m;
        m.sqlState = reinterpret_cast<char*>(state);
        m.number = native;
        m.text = stripDriverPrefixes(text);
        SQLINTEGER value = 0;
        if (SQL_SUCCEEDED(SQLGetDiagFieldA(type, h, rec, kDiagSsMsgState, &value, 0, nullptr)))
            m.state = static_cast<int>(value);
        value = 0;
        if (SQL_SUCCEEDED(SQLGetDiagFieldA(type, h, rec, kDiagSsSeverity, &value, 0, nullptr)))
            m.severity = static_cast<int>(value);
        else
            m.severity = isInformational(m) ? 0 : 16; // drivers that do not report the level
        SQLUSMALLINT line = 0;
        if (SQL_SUCCEEDED(SQLGetDiagFieldA(type, h, rec, kDiagSsLine, &line, 0, nullptr)))
            m.line = line;
        m.server = diagText(type, h, rec, kDiagSsSrvName);
        m.procedure = diagText(type, h, rec, kDiagSsProcName);
        out.push_back(std::move(m));
    }
    return out;
}

void throwDiagnostics(SQLSMALLINT type, SQLHANDLE handle, const std::string& context)
{
    throw errorFromDiagnostics(readDiagnostics(type, handle), context);
}

} // namespace sqlserver
