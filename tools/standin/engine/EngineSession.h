#pragma once

#include "Catalog.h"
#include "SqlError.h"
#include "SqlFunctions.h"
#include "Sqlite.h"
#include "StandinEngine.h"
#include "Statement.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace standin {

class EngineInstance;

struct Variable {
    ColumnInfo type;
    Value value;
};

// One client connection: its login, its current database (an SQLite connection to that
// database's file, with master and other databases attached on demand) and its variables.
class EngineSession : public Session, public FunctionContext {
public:
    EngineSession(EngineInstance& instance, LoginRecord login, std::vector<LoginRecord> groups,
                  const DatabaseRecord& database, std::string hostName, std::string appName);
    ~EngineSession() override;

    std::string currentDatabase() const override { return m_database.name; }
    void executeBatch(const std::string& sql, ResultSink& sink) override;
    void executeRpc(const std::string& procedure, std::vector<RpcParameter>& parameters,
                    ResultSink& sink) override;

    Value callContextFunction(const std::string& name, const std::vector<Value>& args) override;

    // The database user this session's login maps to in the database at path, or nothing
    // when it has no access. Sysadmins are dbo everywhere.
    static std::optional<int> databaseUserFor(EngineInstance& instance, const LoginRecord& login,
                                              const std::vector<LoginRecord>& groups,
                                              const DatabaseRecord& db);

private:
    EngineInstance& m_instance;
    LoginRecord m_login;
    std::vector<LoginRecord> m_groups; // Windows group logins through which a Windows user came in
    std::string m_hostName;
    std::string m_appName;
    int m_spid;
    DatabaseRecord m_database;
    SqliteDb m_db;
    std::map<std::string, std::string> m_attached; // upper-case database name -> schema alias
    uint64_t m_generation = 0;
    std::map<std::string, Variable> m_variables;
    int64_t m_rowCount = 0;
    int64_t m_lastError = 0;
    bool m_noCount = false;
    bool m_inTransaction = false;
    std::vector<std::string> m_savepoints; // SAVE TRANSACTION names, upper-case, oldest first
    std::map<int, std::pair<std::string, std::string>> m_prepared; // sp_prepare handles
    int m_nextHandle = 1;
    int m_depth = 0;
    std::optional<int64_t> m_returnStatus;         // set by RETURN
    std::optional<ServerMessage> m_caughtError;    // the error a CATCH block handles
    int m_ownershipChain = 0;                      // > 0 while a procedure's own statements run
    std::optional<std::optional<int>> m_userCache; // this batch's database user

    // Transactions, savepoints and WAITFOR (SessionControl.cpp).
    void saveTransaction(const std::string& name);
    // ROLLBACK TRANSACTION: to the savepoint of that name if there is one, else all of it.
    void rollbackTransaction(const std::string& name);
    // WAITFOR DELAY 'hh:mm[:ss[.fff]]': sleeps, waking early when the client cancels.
    void waitFor(const std::string& delay, ResultSink& sink);

    // Batches and statements (EngineSession.cpp)
    void openDatabase(const DatabaseRecord& db);
    void runStatements(const std::vector<Stmt>& statements, ResultSink& sink, const std::string& procName);
    void execute(const Stmt& s, ResultSink& sink, size_t& next);
    void runQuery(const Stmt& s, ResultSink& sink);
    void streamRows(SqliteStmt& st, const Stmt& s, ResultSink& sink);
    std::string resolve(const std::string& sql);
    void bindVariables(SqliteStmt& st);
    Value evaluate(const std::string& expr);
    std::string evaluateText(const std::string& expr);
    void assign(const std::string& variable, const Value& value);
    void done(ResultSink& sink, uint16_t curCmd, bool hasCount, uint64_t count);
    void info(ResultSink& sink, int32_t number, const std::string& text, int line = 1);
    void useDatabase(const std::string& name, ResultSink& sink, int line);
    std::map<std::string, ColumnInfo> variableTypes() const;
    Value hasPermsByName(const Value& securable, const std::string& securableClass,
                         const std::string& permission);

    // Procedures (SessionProcedures.cpp)
    void execStatement(const Stmt& s, ResultSink& sink);
    int callProcedure(const std::string& procedure, std::vector<RpcParameter>& params, ResultSink& sink);
    int executeSql(std::vector<RpcParameter>& params, ResultSink& sink);
    void startSession(std::vector<RpcParameter>& params);
    void createProcedure(const Stmt& s);
    void dropProcedures(const Stmt& s);
    bool findProcedure(const std::string& name, std::string& parameters, std::string& body);
    int runProcedure(const std::string& name, const std::string& parameters, const std::string& body,
                     std::vector<RpcParameter>& params, ResultSink& sink);
    void endSession(std::vector<RpcParameter>& params);

    // Administration (SessionAdmin.cpp)
    bool isSysadmin();
    bool hasServerRole(const std::string& role);
    bool isDbOwner();
    std::optional<int> currentUserId();
    void checkAccess(const Stmt& s);
    std::vector<int64_t> principalsOfCurrentUser(int user);
    void requireServerRole(const char* role);
    void requireDbRole(const char* role);
    void createDatabase(const Stmt& s, ResultSink& sink);
    void dropDatabases(const Stmt& s, ResultSink& sink);
    void alterDatabaseFile(const Stmt& s, ResultSink& sink);
    void alterDatabaseSet(const Stmt& s, ResultSink& sink);
    void createLogin(const std::string& name, bool windows, const std::string* password,
                     const std::string& defaultDb);
    void dropLogin(const std::string& name, bool windowsOnly);
    void alterLogin(const Stmt& s);
    void createUser(const std::string& user, const std::string& login, bool withoutLogin);
    void dropUser(const std::string& user);
    void createRole(const std::string& role);
    void dropRole(const std::string& role);
    void setRoleMember(const std::string& role, const std::string& member, bool add);
    void setServerRoleMember(const std::string& role, const std::string& login, bool add);
    void permission(const Stmt& s);
    std::optional<int> principalId(const std::string& name, bool rolesOnly = false);

    // Backup and restore (SessionBackup.cpp)
    void backupDatabase(const Stmt& s, ResultSink& sink);
    void restore(const Stmt& s, ResultSink& sink);
};

} // namespace standin
