#include "OdbcConnectionString.h"

#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#include <sql.h>
#include <sqlext.h>
#include "OdbcHandles.h"
#endif

namespace sqlserver {
namespace {

bool isFreeTds(const std::string& driver)
{
    return driver.find("FreeTDS") != std::string::npos || driver.find("libtdsodbc") != std::string::npos;
}

#ifdef _WIN32
bool driverInstalled(const std::string& name)
{
    SQLHENV env = odbcEnvironment();
    SQLCHAR desc[256];
    SQLCHAR attrs[1024];
    SQLSMALLINT descLen = 0, attrLen = 0;
    SQLUSMALLINT direction = SQL_FETCH_FIRST;
    while (SQL_SUCCEEDED(
        SQLDriversA(env, direction, desc, sizeof desc, &descLen, attrs, sizeof attrs, &attrLen))) {
        if (name == reinterpret_cast<char*>(desc))
            return true;
        direction = SQL_FETCH_NEXT;
    }
    return false;
}
#endif

} // namespace

std::string defaultOdbcDriver()
{
    if (const char* v = std::getenv("LABFOLIO_ODBC_DRIVER"); v && *v)
        return v;
#ifdef _WIN32
    return driverInstalled("ODBC Driver 18 for SQL Server") ? "ODBC Driver 18 for SQL Server" : "SQL Server";
#else
    return "FreeTDS";
#endif
}

std::string integratedLoginAttributes()
{
    if (const char* v = std::getenv("LABFOLIO_ODBC_INTEGRATED"); v && *v)
        return v;
    return "Trusted_Connection=Yes";
}

std::string odbcValue(const std::string& value)
{
    const bool plain = value.find_first_of(";{}=") == std::string::npos &&
                       (value.empty() || (value.front() != ' ' && value.back() != ' '));
    if (plain)
        return value;
    std::string out = "{";
    for (char c : value) {
        out += c;
        if (c == '}')
            out += '}';
    }
    out += '}';
    return out;
}

std::string buildOdbcConnectionString(const OdbcTarget& t)
{
    std::string s = "DRIVER={" + t.driver + "};";
    if (isFreeTds(t.driver)) {
        s += "SERVER=" + odbcValue(t.endpoint.host) + ";PORT=" + std::to_string(t.endpoint.port) + ";";
        // Names and texts travel as UTF-8; TDS 7.4 is what current servers and the stand-in speak.
        s += "TDS_Version=7.4;ClientCharset=UTF-8;";
    } else {
        s += "SERVER=" + odbcValue("tcp:" + t.endpoint.host + "," + std::to_string(t.endpoint.port)) + ";";
        // SQLOLEDB did not encrypt; driver 18 would insist on a trusted certificate.
        if (t.driver.find("ODBC Driver 18") != std::string::npos)
            s += "Encrypt=Optional;";
    }
    if (!t.database.empty())
        s += "DATABASE=" + odbcValue(t.database) + ";";
    if (t.integrated) {
        s += integratedLoginAttributes();
        if (s.back() != ';')
            s += ';';
    } else {
        s += "UID=" + odbcValue(t.user) + ";PWD=" + odbcValue(t.password) + ";";
    }
    s += "APP=" + odbcValue("Labfolio Setup") + ";";
    return s;
}

} // namespace sqlserver
