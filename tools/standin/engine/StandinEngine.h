#pragma once

// The seam between the stand-in's SQL engine (T-SQL over SQLite, catalog, backup and
// restore) and its TDS front end. The engine knows nothing of packets; the front end knows
// nothing of SQL. Text is UTF-8 on both sides.

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace standin {

// The SQL Server column types the stand-in sends.
enum class SqlType {
    Int,
    BigInt,
    SmallInt,
    TinyInt,
    Bit,
    Float,
    NVarChar,
    VarChar,
    DateTime,
    UniqueIdentifier,
    VarBinary,
    Time,
    DateTimeOffset,
};

struct ColumnInfo {
    std::string name;
    SqlType type = SqlType::NVarChar;
    int32_t maxLength = 4000;   // characters for (n)varchar, bytes for varbinary; -1 = (max)
    bool nullable = true;
    uint8_t scale = 7;          // fraction digits of time and datetimeoffset
};

// Null, integers (int, bigint, smallint, tinyint, bit), float, text (nvarchar, varchar,
// datetime as "YYYY-MM-DD hh:mm:ss.fff", time as "hh:mm:ss[.fffffff]", datetimeoffset as
// "YYYY-MM-DD hh:mm:ss[.fffffff] +hh:mm", uniqueidentifier as "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX"),
// bytes (varbinary).
using Value = std::variant<std::monostate, int64_t, double, std::string, std::vector<uint8_t>>;

// An INFO (severity 10 or less) or ERROR token.
struct ServerMessage {
    int32_t number = 0;
    uint8_t state = 1;
    uint8_t severity = 10;
    std::string text;
    std::string procName;
    int32_t line = 1;
};

struct DoneInfo {
    bool hasRowCount = false;
    uint64_t rowCount = 0;
    bool error = false;
    uint16_t currentCommand = 0;   // TDS CurCmd (e.g. 0xC1 SELECT); 0 when unknown
};

// Where the engine delivers a batch's or a procedure call's output, in order, as it is made.
// The front end turns each call into tokens; messages are flushed to the client at once, so
// that "N percent processed." arrives while a BACKUP is still running.
class ResultSink {
public:
    virtual ~ResultSink() = default;
    virtual void columns(const std::vector<ColumnInfo>& columns) = 0;
    virtual void row(const std::vector<Value>& values) = 0;
    // The end of one statement: DONE at top level, DONEINPROC inside a procedure. The front
    // end sets the "more" and final flags itself.
    virtual void statementDone(const DoneInfo& done) = 0;
    virtual void message(const ServerMessage& message) = 0;
    virtual void databaseChanged(const std::string& oldName, const std::string& newName) = 0;
    // Procedure calls only.
    virtual void returnStatus(int32_t status) = 0;
    virtual void returnValue(const std::string& parameterName, const ColumnInfo& type, const Value& value) = 0;
    // True once the client sent an ATTENTION; long statements poll it between steps and end
    // with the server's abort error when it is set.
    virtual bool cancelRequested() = 0;
};

struct RpcParameter {
    std::string name;   // with its leading "@" (or ":" as the product's procedures name them)
    ColumnInfo type;
    Value value;
    bool output = false;
};

class Session {
public:
    virtual ~Session() = default;
    virtual std::string currentDatabase() const = 0;
    // Runs a T-SQL batch. Errors are delivered as ERROR messages through the sink, followed by
    // a statementDone with error set; this call does not throw for SQL errors.
    virtual void executeBatch(const std::string& sql, ResultSink& sink) = 0;
    // Runs a stored procedure (sp_executesql included); output parameters are updated in
    // place and also reported through sink.returnValue, then sink.returnStatus.
    virtual void executeRpc(const std::string& procedure, std::vector<RpcParameter>& parameters,
                            ResultSink& sink) = 0;
};

struct LoginRequest {
    std::string userName;
    std::string password;
    std::string database;     // empty: the login's default database
    std::string hostName;     // the client workstation, for HOST_NAME()
    std::string appName;
    // Set by the front end when it has authenticated a Windows account itself (integrated
    // security). The engine then checks only that the account has a Windows login ('U') or
    // comes in through the group login "BUILTIN\Users"; password is not used.
    bool windowsAuthenticated = false;
};

struct InstanceConfig {
    // Left empty, these two take the names recorded in the data folder by lf-standin-seed
    // (--machine, --instance), else this computer's short host name and "MSSQLSERVER".
    std::string instanceName;    // "MSSQLSERVER" for a default instance
    std::string machineName;     // what SERVERPROPERTY('MachineName') reports
    std::string dataFolder;      // one SQLite file per database; master holds the catalog
    std::string productVersion = "9.00.5000.00";
    // Milliseconds between BACKUP/RESTORE progress steps, so that tests can cancel mid-way.
    int progressStepMillis = 50;
};

// One named instance: its catalog and databases. Thread-safe: every client connection
// has its own Session, and sessions may run at the same time.
class Instance {
public:
    virtual ~Instance() = default;
    virtual const InstanceConfig& config() const = 0;
    // Checks the login against the catalog (name, password, enabled). On failure returns
    // null and fills error with SQL Server's 18456 message.
    virtual std::unique_ptr<Session> login(const LoginRequest& request, ServerMessage& error) = 0;
};

// Opens (creating when new) the instance whose files live in config.dataFolder. A new
// instance has master with the login "sa" (password from LABFOLIO_STANDIN_SA_PASSWORD or
// "Labfolio-sa1") and the server roles.
std::unique_ptr<Instance> openInstance(const InstanceConfig& config);

}  // namespace standin
