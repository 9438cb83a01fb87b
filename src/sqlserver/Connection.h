#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ConnectOptions.h"
#include "LfError.h"
#include "RecordSet.h"
#include "ServerMessage.h"

namespace sqlserver {

// The table and key through which a static record set writes its changes back.
struct UpdateTarget {
    std::string table;
    std::string keyColumn;
};

// One integer parameter of a stored procedure call, in the order the procedure declares them.
struct IntParam {
    std::string name; // for messages only; parameters bind by position
    bool output = false;
    int32_t value = 0; // input value; the output value after the call
};

// A database connection, the wizard's ADO connection. Opened from one of the two OLE DB
// connection strings the product writes (see ConnectionString.h); closed by its destructor.
// Every failure raises LfError (numbers: ConnectionError.h). One thread uses it; Cancel() may
// be called from another.
class Connection {
public:
    virtual ~Connection() = default;

    // Runs a statement or batch; returns the rows affected by its last statement (-1: none).
    virtual long Execute(const std::string& sql) = 0;
    // Rows read from the server as the record set moves.
    virtual std::unique_ptr<RecordSet> OpenForward(const std::string& sql) = 0;
    // All rows read at once into a snapshot; with a target, its columns may be changed and
    // written back by key.
    virtual std::unique_ptr<RecordSet> OpenStatic(const std::string& sql,
                                                  const UpdateTarget& target = {}) = 0;
    // "{call name(?, ...)}" with integer parameters; output values are written back into params.
    virtual void CallProcedure(const std::string& name, std::vector<IntParam>& params) = 0;

    // Informational messages (PRINT, RAISERROR below level 11, progress texts) one by one as the
    // driver delivers them, on the thread that runs the statement.
    virtual void SetMessageHandler(std::function<void(const ServerMessage&)> handler) = 0;
    // Asks the server to stop the statement that runs now (from any thread); the statement
    // then fails with the server's cancel error. Nothing happens when none runs.
    virtual void Cancel() = 0;

    virtual void Close() = 0;
};

// Opens a connection from an OLE DB connection string ("Provider=SQLOLEDB.1;...") with the
// user name and password that ADO's Open takes (empty: those of the string); loginTimeout in
// seconds, 0 for the driver's default.
std::unique_ptr<Connection> OpenConnection(const std::string& oleDbConnectionString,
                                           const std::string& user = {}, const std::string& password = {},
                                           int loginTimeoutSeconds = 0);

// Opens a connection to a database of a server with the given login (integrated, or SQL Server
// user and password) and login time-out; an empty database is the login's default one.
std::unique_ptr<Connection> OpenDatabase(const ConnectOptions& server, const std::string& database);

// What OpenConnection calls: the ODBC implementation unless a test replaced it.
using ConnectionOpener = std::function<std::unique_ptr<Connection>(
    const std::string& oleDbConnectionString, const std::string& user, const std::string& password,
    int loginTimeoutSeconds)>;

// What OpenDatabase calls: the ODBC implementation unless a test replaced it.
using DatabaseOpener =
    std::function<std::unique_ptr<Connection>(const ConnectOptions& server, const std::string& database)>;

// Tests replace the connection opener (and, when given, the database opener) for their own scope.
class ScopedConnectionOpenerOverride {
public:
    explicit ScopedConnectionOpenerOverride(ConnectionOpener opener, DatabaseOpener databaseOpener = {});
    ~ScopedConnectionOpenerOverride();
    ScopedConnectionOpenerOverride(const ScopedConnectionOpenerOverride&) = delete;
    ScopedConnectionOpenerOverride& operator=(const ScopedConnectionOpenerOverride&) = delete;

private:
    ConnectionOpener m_previous;
    DatabaseOpener m_previousDatabase;
};

} // namespace sqlserver
