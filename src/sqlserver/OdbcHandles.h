#pragma once

#ifdef _WIN32
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>

#include <string>
#include <vector>

#include "ServerMessage.h"

namespace sqlserver {

// The process's ODBC environment (ODBC 3 behaviour), created on first use and kept for the
// life of the process; the driver manager allows every thread to share it.
SQLHENV odbcEnvironment();

// One ODBC handle, freed with its object.
class OdbcHandle {
public:
    OdbcHandle() = default;
    OdbcHandle(SQLSMALLINT type, SQLHANDLE parent); // allocates; raises LfError on failure
    ~OdbcHandle() { reset(); }
    OdbcHandle(OdbcHandle&& other) noexcept : m_type(other.m_type), m_h(other.m_h)
    {
        other.m_h = SQL_NULL_HANDLE;
    }
    OdbcHandle& operator=(OdbcHandle&& other) noexcept;
    OdbcHandle(const OdbcHandle&) = delete;
    OdbcHandle& operator=(const OdbcHandle&) = delete;

    SQLHANDLE get() const { return m_h; }
    SQLSMALLINT type() const { return m_type; }
    explicit operator bool() const { return m_h != SQL_NULL_HANDLE; }
    void reset();

private:
    SQLSMALLINT m_type = 0;
    SQLHANDLE m_h = SQL_NULL_HANDLE;
};

// Every diagnostic record of the handle's last call, with the driver's prefixes removed from
// the text.
std::vector<ServerMessage> readDiagnostics(SQLSMALLINT type, SQLHANDLE handle);

// Raises the LfError for the handle's last failed call.
[[noreturn]] void throwDiagnostics(SQLSMALLINT type, SQLHANDLE handle, const std::string& context = {});

} // namespace sqlserver
