#pragma once

#include "StandinEngine.h"

#include <sqlite3.h>

#include <string>
#include <vector>

namespace standin {

// The session-dependent built-ins (HOST_NAME(), DB_NAME(), @@SERVERNAME...) are answered by
// the session that owns the connection.
class FunctionContext {
public:
    virtual ~FunctionContext() = default;
    // name is the SQL function's name ("lf_host_name", "db_id", "lf_global"...). Throws
    // SqlError for a failure that the statement should report.
    virtual Value callContextFunction(const std::string& name, const std::vector<Value>& args) = 0;
};

// Registers T-SQL's built-ins and the operators that behave differently from SQLite's ("+"
// on strings, CONVERT) on a connection.
void registerFunctions(sqlite3* db, FunctionContext* context);

// SQL Server's conversion of a value to a type named as in T-SQL ("nvarchar(255)", "int").
// Throws SqlError (245, 241, 8169...) when SQL Server would.
Value convertValue(const Value& v, const std::string& type);

} // namespace standin
