#pragma once

#include "StandinEngine.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace standin {

// What a T-SQL statement turns into: either SQLite text that the session runs as it is
// (after naming the databases it refers to), or a command that the session carries out
// itself (administration, backup, variables, control flow).
enum class StmtKind {
    Query,        // sql: SQLite text; rows when it is a SELECT
    SelectAssign, // SELECT @a = x, @b = y ...: sql gives the values, targets the variables
    Declare,      // targets with declaredTypes, optional initial values in args
    SetVariable,  // targets[0] = args[0]
    SetOption,    // name = option, args[0] its value (NOCOUNT ON ...)
    Print,
    Raiserror,
    Use,
    Exec,       // name = procedure; args; returnTarget for EXEC @r = proc
    ExecString, // EXEC ('...') / EXEC (@sql)
    BeginTran,
    CommitTran,
    RollbackTran, // name = the transaction or savepoint named, if any
    SaveTran,     // name = the savepoint
    WaitFor,      // args[0] = the delay ('hh:mm:ss')
    IfNot,        // args[0] is the condition; jump to jumpTarget when it is not true
    Jump,
    TryBegin, // errors up to the matching TryEnd jump to jumpTarget (the CATCH block)
    TryEnd,
    CreateDatabase,    // name; options: file names
    DropDatabase,      // names in targets
    AlterDatabaseFile, // name, options NAME / NEWNAME
    AlterDatabaseSet,  // name, option words
    CreateLogin,       // name; options PASSWORD / DEFAULT_DATABASE, flag = FROM WINDOWS
    DropLogin,
    AlterLogin, // name; options ENABLE / DISABLE / PASSWORD / DEFAULT_DATABASE
    CreateUser, // name, name2 = login
    DropUser,
    CreateRole,
    DropRole,
    AlterRoleMember,       // name = role, name2 = member, flag = add
    AlterServerRoleMember, // name = role, name2 = login, flag = add
    Permission,            // name = GRANT/DENY/REVOKE, targets = permissions, name2 = object, args grantees
    CreateProcedure,       // name; name2 = parameter list text; body = statements text; flag = ALTER
    DropProcedure,         // targets = names; flag = IF EXISTS
    Return,                // args[0] the status, when given
    Backup,                // name = database; options (DISK first); flag = log backup
    Restore,               // name = database or the form (FILELISTONLY, HEADERONLY, VERIFYONLY)
    Nop,
};

struct StmtArg {
    std::string name; // @name for named arguments and options; empty when positional
    std::string expr; // SQLite expression evaluated when the statement runs
    bool output = false;
    bool isDefault = false;
};

// A table a statement reads, writes, creates, alters or drops: the session checks the
// user's permissions on it before the statement runs.
struct StmtAccess {
    std::string permission; // SELECT, INSERT, UPDATE, DELETE, CREATE TABLE, ALTER, DROP
    std::string database;   // "" for the current database
    std::string object;
};

// How a result column that SQLite cannot type from a table should be reported.
struct ColumnHint {
    std::string name;
    std::optional<ColumnInfo> type;
};

struct Stmt {
    StmtKind kind = StmtKind::Nop;
    int line = 1;
    uint16_t curCmd = 0;
    std::vector<std::string> sql; // one or more SQLite statements, run in order
    bool returnsRows = false;
    // Result column n of the first SQLite statement whose name is "__lfc<n>" takes hint n;
    // a named column takes the hint of the same name.
    std::vector<ColumnHint> hints;
    std::map<std::string, ColumnHint> namedHints;
    std::vector<std::string> targets;
    std::vector<ColumnInfo> declaredTypes;
    std::vector<StmtArg> args;
    std::vector<std::pair<std::string, std::string>> options; // upper-case name, expression ("" = flag)
    std::vector<std::pair<std::string, std::string>> moves;   // RESTORE ... MOVE a TO b
    std::string name;
    std::string name2;
    std::string returnTarget;
    std::string body;
    std::vector<StmtAccess> access;
    bool flag = false;
    size_t jumpTarget = 0;

    const std::string* option(const std::string& upperName) const
    {
        for (const auto& [k, v] : options)
            if (k == upperName)
                return &v;
        return nullptr;
    }
};

// Placeholders in translated SQL for schema names that are known only when the statement
// runs: the current database may change within a batch (USE), other databases are attached
// on demand.
inline constexpr char kSchemaMark = '\x01';
inline std::string databasePlaceholder(const std::string& database)
{
    return std::string(1, kSchemaMark) + "D:" + database + std::string(1, kSchemaMark);
}
inline std::string masterPlaceholder()
{
    return std::string(1, kSchemaMark) + "M" + std::string(1, kSchemaMark);
}

} // namespace standin
