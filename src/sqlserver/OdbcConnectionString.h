#pragma once

#include <string>

#include "ServerEndpoint.h"

namespace sqlserver {

// What an ODBC connection to SQL Server needs.
struct OdbcTarget {
    std::string driver;
    Endpoint endpoint;
    std::string database; // "" for the login's default database
    bool integrated = true;
    std::string user;
    std::string password;
};

// The ODBC driver: LABFOLIO_ODBC_DRIVER when set; on Windows "ODBC Driver 18 for SQL Server"
// when installed, else "SQL Server"; elsewhere "FreeTDS".
std::string defaultOdbcDriver();

// The attributes of an integrated login: LABFOLIO_ODBC_INTEGRATED when set (tests map the
// Windows identity to a login of the stand-in with it, e.g. "UID=wizard;PWD=secret"), else
// "Trusted_Connection=Yes" (Kerberos through FreeTDS on Linux).
std::string integratedLoginAttributes();

// One attribute value as ODBC reads it: braced when it holds ";", "{", "}", "=" or edge blanks.
std::string odbcValue(const std::string& value);

// The SQLDriverConnect string for the target.
std::string buildOdbcConnectionString(const OdbcTarget& target);

} // namespace sqlserver
