#include "EngineInstance.h"
#include "EngineSession.h"
#include "TypeMap.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

// Databases, logins, users, roles and permissions: the administration that SQL Server keeps
// in its catalog, carried out on master's catalog tables and on each database's own.

namespace standin {
namespace fs = std::filesystem;

namespace {

std::string upper(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

SqlError noPermission()
{
    return SqlError(15247, 16, "User does not have permission to perform this action.");
}

bool isWindowsGroupName(const std::string& name)
{
    const std::string u = upper(name);
    return u.rfind("BUILTIN\\", 0) == 0 || u.rfind("NT AUTHORITY\\", 0) == 0;
}

} // namespace

bool EngineSession::isSysadmin()
{
    return hasServerRole("sysadmin");
}

bool EngineSession::hasServerRole(const std::string& role)
{
    auto& catalog = m_instance.catalog();
    if (catalog.isServerRoleMember(m_login.id, "sysadmin") || catalog.isServerRoleMember(m_login.id, role))
        return true;
    for (const auto& g : m_groups)
        if (catalog.isServerRoleMember(g.id, "sysadmin") || catalog.isServerRoleMember(g.id, role))
            return true;
    return false;
}

std::optional<int> EngineSession::currentUserId()
{
    if (!m_userCache)
        m_userCache = databaseUserFor(m_instance, m_login, m_groups, m_database);
    return *m_userCache;
}

// The user, public, and every role the user is in, directly or through other roles.
std::vector<int64_t> EngineSession::principalsOfCurrentUser(int user)
{
    std::vector<int64_t> ids;
    SqliteStmt s(m_db.get(), "WITH RECURSIVE r(id) AS (SELECT ? UNION SELECT role_principal_id FROM "
                             "main.lf_database_role_members m JOIN r ON m.member_principal_id = r.id) "
                             "SELECT id FROM r UNION SELECT 0");
    s.bind(1, int64_t(user));
    while (s.step())
        ids.push_back(s.integer(0));
    return ids;
}

void EngineSession::checkAccess(const Stmt& s)
{
    // Statements inside a procedure use the tables with the procedure owner's rights
    // (ownership chaining: everything here belongs to dbo).
    if (s.access.empty() || m_ownershipChain > 0)
        return;
    const auto user = currentUserId();
    if (!user || *user == 1 || isDbOwner())
        return;
    const std::vector<int64_t> principals = principalsOfCurrentUser(*user);
    auto inRole = [&](int64_t role) {
        return std::find(principals.begin(), principals.end(), role) != principals.end();
    };
    std::string list;
    for (auto id : principals)
        list += (list.empty() ? "" : ",") + std::to_string(id);
    for (const auto& a : s.access) {
        if (!a.database.empty() && upper(a.database) != upper(m_database.name))
            continue; // other databases are checked only for access (when attached)
        if (a.permission == "CREATE TABLE" || a.permission == "ALTER" || a.permission == "DROP") {
            if (inRole(16387))
                continue;
            if (a.permission == "CREATE TABLE")
                throw SqlError(262, 14,
                               "CREATE TABLE permission denied in database '" + m_database.name + "'.");
            if (a.permission == "DROP")
                throw SqlError(3701, 11,
                               "Cannot drop the table '" + a.object +
                                   "', because it does not exist or you do not have permission.");
            throw SqlError(1088, 16,
                           "Cannot find the object \"" + a.object +
                               "\" because it does not exist or you do not have permissions.");
        }
        SqliteStmt grants(m_db.get(),
                          "SELECT state FROM main.lf_database_permissions WHERE object_name = ? COLLATE "
                          "NOCASE AND permission_name = ? AND grantee_principal_id IN (" +
                              list + ") ORDER BY state");
        grants.bind(1, a.object).bind(2, a.permission);
        bool allowed = false;
        if (grants.step()) {
            allowed = grants.text(0) == "G"; // 'D' sorts first: a DENY anywhere wins
        } else if (a.permission == "SELECT") {
            allowed = inRole(16390) && !inRole(16392);
        } else if (a.permission == "EXECUTE") {
            allowed = false; // no fixed database role may run procedures
        } else {
            allowed = inRole(16391) && !inRole(16393);
        }
        if (!allowed)
            throw SqlError(229, 14,
                           "The " + a.permission + " permission was denied on the object '" + a.object +
                               "', database '" + m_database.name + "', schema 'dbo'.");
    }
}

bool EngineSession::isDbOwner()
{
    auto user = currentUserId();
    if (!user)
        return false;
    if (*user == 1)
        return true;
    SqliteStmt s(m_db.get(),
                 "SELECT 1 FROM main.lf_database_role_members WHERE role_principal_id = 16384 AND "
                 "member_principal_id = ?");
    s.bind(1, int64_t(*user));
    return s.step();
}

void EngineSession::requireServerRole(const char* role)
{
    if (!hasServerRole(role))
        throw noPermission();
}

void EngineSession::requireDbRole(const char* role)
{
    if (isSysadmin() || isDbOwner())
        return;
    auto user = currentUserId();
    auto roleId = principalId(role, true);
    if (user && roleId) {
        SqliteStmt s(m_db.get(),
                     "SELECT 1 FROM main.lf_database_role_members WHERE role_principal_id = ? AND "
                     "member_principal_id = ?");
        s.bind(1, int64_t(*roleId)).bind(2, int64_t(*user));
        if (s.step())
            return;
    }
    throw noPermission();
}

std::optional<int> EngineSession::principalId(const std::string& name, bool rolesOnly)
{
    SqliteStmt s(m_db.get(),
                 std::string("SELECT principal_id FROM main.lf_database_principals WHERE name = ?") +
                     (rolesOnly ? " AND type = 'R'" : ""));
    s.bind(1, name);
    if (!s.step())
        return std::nullopt;
    return static_cast<int>(s.integer(0));
}

// ---- databases ---------------------------------------------------------------------------

void EngineSession::createDatabase(const Stmt& s, ResultSink&)
{
    if (!hasServerRole("dbcreator"))
        throw SqlError(262, 14, "CREATE DATABASE permission denied in database 'master'.");
    std::lock_guard lock(m_instance.fileOperations());
    auto& catalog = m_instance.catalog();
    if (catalog.database(s.name))
        throw SqlError(1801, 16,
                       "Database '" + s.name + "' already exists. Choose a different database name.");
    const fs::path folder = m_instance.config().dataFolder;
    auto optionText = [&](const char* name, const std::string& fallback) {
        const std::string* v = s.option(name);
        return v ? evaluateText(*v) : fallback;
    };
    FileRecord data{1, 0, optionText("DATA_NAME", s.name),
                    optionText("DATA_FILENAME", (folder / (s.name + ".mdf")).string())};
    FileRecord log{2, 1, optionText("LOG_NAME", s.name + "_log"),
                   optionText("LOG_FILENAME", (folder / (s.name + "_log.ldf")).string())};
    for (const auto* f : {&data, &log}) {
        if (fs::exists(f->physicalName))
            throw SqlError(5170, 16,
                           "Cannot create file '" + f->physicalName +
                               "' because it already exists. Change the file path or the file name, and "
                               "retry the operation.");
        if (!fs::is_directory(fs::path(f->physicalName).parent_path()))
            throw SqlError(5133, 16,
                           "Directory lookup for the file \"" + f->physicalName +
                               "\" failed with the operating system error 3(The system cannot find the "
                               "path specified.).");
    }
    try {
        {
            SqliteDb db(data.physicalName);
            db.exec("BEGIN");
            Catalog::initializeDatabaseFile(db.get(), m_login.sid);
            db.exec("COMMIT");
        }
        std::ofstream(log.physicalName, std::ios::binary).close();
        catalog.addDatabase(s.name, {data, log}, m_login.sid);
    } catch (...) {
        std::error_code ec;
        fs::remove(data.physicalName, ec);
        fs::remove(log.physicalName, ec);
        throw;
    }
}

void EngineSession::dropDatabases(const Stmt& s, ResultSink&)
{
    auto& catalog = m_instance.catalog();
    for (const auto& name : s.targets) {
        std::lock_guard lock(m_instance.fileOperations());
        auto db = catalog.database(name);
        if (!db)
            throw SqlError(3701, 11,
                           "Cannot drop the database '" + name +
                               "', because it does not exist or you do not have permission.");
        if (db->id == 1)
            throw SqlError(3708, 16, "Cannot drop the database 'master' because it is a system database.");
        if (!hasServerRole("dbcreator"))
            throw SqlError(3701, 11,
                           "Cannot drop the database '" + name +
                               "', because it does not exist or you do not have permission.");
        if (m_instance.sessionsIn(db->id) > 0)
            throw SqlError(3702, 16,
                           "Cannot drop database \"" + db->name + "\" because it is currently in use.");
        catalog.removeDatabase(db->id);
        m_instance.bumpGeneration();
        resolve(databasePlaceholder("")); // let go of an attached copy now
        for (const auto& f : db->files) {
            std::error_code ec;
            fs::remove(f.physicalName, ec);
            fs::remove(f.physicalName + "-journal", ec);
        }
    }
}

void EngineSession::alterDatabaseFile(const Stmt& s, ResultSink& sink)
{
    auto db = m_instance.catalog().database(s.name);
    if (!db || !databaseUserFor(m_instance, m_login, m_groups, *db))
        throw SqlError(5011, 14,
                       "User does not have permission to alter database '" + s.name +
                           "', the database does not exist, or the database is not in a state that "
                           "allows access checks.");
    if (!isSysadmin() && !hasServerRole("dbcreator")) {
        const auto owner = databaseUserFor(m_instance, m_login, m_groups, *db);
        if (!owner || *owner != 1)
            throw SqlError(5011, 14,
                           "User does not have permission to alter database '" + s.name +
                               "', the database does not exist, or the database is not in a state that "
                               "allows access checks.");
    }
    const std::string* nameExpr = s.option("NAME");
    if (!nameExpr)
        throw SqlError(5035, 16, "MODIFY FILE failed. Specify logical name.");
    const std::string logical = evaluateText(*nameExpr);
    if (s.option("FILENAME") || s.option("SIZE") || s.option("MAXSIZE") || s.option("FILEGROWTH"))
        throw unsupported("changing a file's path or size with MODIFY FILE");
    const std::string* newExpr = s.option("NEWNAME");
    if (!newExpr)
        throw SqlError(5035, 16, "MODIFY FILE failed. Specify NEWNAME.");
    const std::string newName = evaluateText(*newExpr);
    auto exists = [&](const std::string& n) {
        return std::any_of(db->files.begin(), db->files.end(),
                           [&](const FileRecord& f) { return upper(f.name) == upper(n); });
    };
    if (!exists(logical))
        throw SqlError(5041, 16, "MODIFY FILE failed. File '" + logical + "' does not exist.");
    if (upper(logical) != upper(newName) && exists(newName))
        throw SqlError(1828, 16,
                       "The logical file name \"" + newName +
                           "\" is already in use. Choose a different name.");
    m_instance.catalog().renameLogicalFile(db->id, logical, newName);
    info(sink, 5021, "The file name '" + newName + "' has been set.", s.line);
}

void EngineSession::alterDatabaseSet(const Stmt& s, ResultSink&)
{
    auto db = m_instance.catalog().database(s.name);
    if (!db || !hasServerRole("dbcreator"))
        throw SqlError(5011, 14,
                       "User does not have permission to alter database '" + s.name +
                           "', the database does not exist, or the database is not in a state that "
                           "allows access checks.");
    const auto& w = s.targets;
    auto has = [&](const char* word) { return std::find(w.begin(), w.end(), word) != w.end(); };
    // Access modes and the recovery model are recorded in sys.databases; the stand-in does
    // not enforce single-user access.
    const char* columnText = nullptr;
    std::string value;
    int64_t code = 0;
    if (has("SINGLE_USER") || has("MULTI_USER") || has("RESTRICTED_USER")) {
        columnText = "user_access";
        value = has("SINGLE_USER") ? "SINGLE_USER" : has("MULTI_USER") ? "MULTI_USER" : "RESTRICTED_USER";
        code = has("SINGLE_USER") ? 1 : has("MULTI_USER") ? 0 : 2;
    } else if (has("RECOVERY")) {
        columnText = "recovery_model";
        value = has("FULL") ? "FULL" : has("SIMPLE") ? "SIMPLE" : has("BULK_LOGGED") ? "BULK_LOGGED" : "";
        code = value == "FULL" ? 1 : value == "BULK_LOGGED" ? 2 : 3;
        if (value.empty())
            throw SqlError(102, 15, "Incorrect syntax near 'RECOVERY'.");
    } else {
        throw unsupported("ALTER DATABASE ... SET " + (w.empty() ? std::string() : w.front()));
    }
    const std::string column = columnText;
    SqliteDb master(m_instance.catalog().masterPath(), false);
    SqliteStmt u(master.get(),
                 "UPDATE lf_databases SET " + column + " = ?, " + column + "_desc = ? WHERE database_id = ?");
    u.bind(1, code).bind(2, value).bind(3, int64_t(db->id)).step();
}

// ---- logins --------------------------------------------------------------------------------

void EngineSession::createLogin(const std::string& name, bool windows, const std::string* password,
                                const std::string& defaultDb)
{
    requireServerRole("securityadmin");
    if (windows && name.find('\\') == std::string::npos)
        throw SqlError(15407, 11,
                       "'" + name +
                           "' is not a valid Windows NT name. Give the complete name: "
                           "<domain\\username>.");
    if (!windows && name.find('\\') != std::string::npos)
        throw SqlError(15006, 16,
                       "'" + name + "' is not a valid name because it contains invalid characters.");
    if (!defaultDb.empty() && !m_instance.catalog().database(defaultDb))
        throw SqlError(15010, 16,
                       "The database '" + defaultDb + "' does not exist. Supply a valid database name.");
    m_instance.catalog().createLogin(name, windows ? (isWindowsGroupName(name) ? 'G' : 'U') : 'S',
                                     windows ? nullptr : password, defaultDb);
}

void EngineSession::dropLogin(const std::string& name, bool windowsOnly)
{
    requireServerRole("securityadmin");
    auto login = m_instance.catalog().login(name);
    if (!login || (windowsOnly && login->type == 'S'))
        throw SqlError(15151, 16,
                       "Cannot drop the login '" + name +
                           "', because it does not exist or you do not have permission.");
    if (login->id == 1 || login->id == m_login.id)
        throw SqlError(15434, 16, "Could not drop login '" + name + "' as the user is currently logged in.");
    m_instance.catalog().dropLogin(login->id);
}

void EngineSession::alterLogin(const Stmt& s)
{
    auto login = m_instance.catalog().login(s.name);
    if (!login)
        throw SqlError(15151, 16,
                       "Cannot alter the login '" + s.name +
                           "', because it does not exist or you do not have permission.");
    if (login->id != m_login.id || s.option("ENABLE") || s.option("DISABLE"))
        requireServerRole("securityadmin");
    auto& catalog = m_instance.catalog();
    if (s.option("ENABLE"))
        catalog.setLoginDisabled(login->id, false);
    if (s.option("DISABLE"))
        catalog.setLoginDisabled(login->id, true);
    if (const std::string* pw = s.option("PASSWORD")) {
        if (login->type != 'S')
            throw SqlError(15080, 16, "Cannot use parameter PASSWORD for a Windows login.");
        catalog.setPassword(login->id, evaluateText(*pw));
    }
    if (const std::string* db = s.option("DEFAULT_DATABASE"))
        catalog.setDefaultDatabase(login->id, evaluateText(*db));
}

// ---- database users, roles, permissions ------------------------------------------------------

void EngineSession::createUser(const std::string& user, const std::string& loginName, bool withoutLogin)
{
    requireDbRole("db_accessadmin");
    m_userCache.reset();
    std::optional<LoginRecord> login;
    if (!withoutLogin) {
        login = m_instance.catalog().login(loginName);
        if (!login)
            throw SqlError(15007, 16,
                           "'" + loginName + "' is not a valid login or you do not have permission.");
    }
    if (principalId(user))
        throw SqlError(15023, 16,
                       "User, group, or role '" + user + "' already exists in the current database.");
    if (login) {
        SqliteStmt mapped(m_db.get(), "SELECT name FROM main.lf_database_principals WHERE sid = ?");
        mapped.bind(1, Value(login->sid));
        if (mapped.step())
            throw SqlError(15063, 16, "The login already has an account under a different user name.");
    }
    SqliteStmt next(m_db.get(),
                    "SELECT max(5, ifnull(max(principal_id) + 1, 5)) FROM main.lf_database_principals "
                    "WHERE principal_id < 16384");
    next.step();
    const char type = !login ? 'S' : login->type;
    const char* desc = type == 'S' ? "SQL_USER" : type == 'U' ? "WINDOWS_USER" : "WINDOWS_GROUP";
    const std::string now = currentDateTime();
    SqliteStmt ins(m_db.get(),
                   "INSERT INTO main.lf_database_principals (name, principal_id, type, type_desc, "
                   "default_schema_name, create_date, modify_date, owning_principal_id, sid, "
                   "is_fixed_role) VALUES (?, ?, ?, ?, 'dbo', ?, ?, NULL, ?, 0)");
    ins.bind(1, user).bind(2, next.integer(0)).bind(3, std::string(1, type)).bind(4, std::string(desc));
    ins.bind(5, now).bind(6, now).bind(7, login ? Value(login->sid) : Value(randomBytes(16))).step();
}

void EngineSession::dropUser(const std::string& user)
{
    requireDbRole("db_accessadmin");
    m_userCache.reset();
    auto id = principalId(user);
    if (!id || *id < 5 || *id >= 16384)
        throw SqlError(15151, 16,
                       "Cannot drop the user '" + user +
                           "', because it does not exist or you do not have permission.");
    SqliteStmt r(m_db.get(), "DELETE FROM main.lf_database_role_members WHERE member_principal_id = ?");
    r.bind(1, int64_t(*id)).step();
    SqliteStmt p(m_db.get(), "DELETE FROM main.lf_database_permissions WHERE grantee_principal_id = ?");
    p.bind(1, int64_t(*id)).step();
    SqliteStmt d(m_db.get(), "DELETE FROM main.lf_database_principals WHERE principal_id = ?");
    d.bind(1, int64_t(*id)).step();
}

void EngineSession::createRole(const std::string& role)
{
    requireDbRole("db_securityadmin");
    if (principalId(role))
        throw SqlError(15023, 16,
                       "User, group, or role '" + role + "' already exists in the current database.");
    SqliteStmt next(m_db.get(),
                    "SELECT max(5, ifnull(max(principal_id) + 1, 5)) FROM main.lf_database_principals "
                    "WHERE principal_id < 16384");
    next.step();
    const std::string now = currentDateTime();
    SqliteStmt ins(m_db.get(),
                   "INSERT INTO main.lf_database_principals (name, principal_id, type, type_desc, "
                   "default_schema_name, create_date, modify_date, owning_principal_id, sid, "
                   "is_fixed_role) VALUES (?, ?, 'R', 'DATABASE_ROLE', NULL, ?, ?, 1, ?, 0)");
    ins.bind(1, role)
        .bind(2, next.integer(0))
        .bind(3, now)
        .bind(4, now)
        .bind(5, Value(randomBytes(16)))
        .step();
}

void EngineSession::dropRole(const std::string& role)
{
    requireDbRole("db_securityadmin");
    auto id = principalId(role, true);
    if (!id || *id == 0 || *id >= 16384)
        throw SqlError(15151, 16,
                       "Cannot drop the role '" + role +
                           "', because it does not exist or you do not have permission.");
    SqliteStmt members(m_db.get(), "SELECT 1 FROM main.lf_database_role_members WHERE role_principal_id = ?");
    members.bind(1, int64_t(*id));
    if (members.step())
        throw SqlError(15144, 16, "The role has members. It must be empty before it can be dropped.");
    SqliteStmt d(m_db.get(), "DELETE FROM main.lf_database_principals WHERE principal_id = ?");
    d.bind(1, int64_t(*id)).step();
}

void EngineSession::setRoleMember(const std::string& role, const std::string& member, bool add)
{
    requireDbRole("db_securityadmin");
    auto roleId = principalId(role, true);
    if (!roleId || *roleId == 0)
        throw SqlError(15151, 16,
                       "Cannot alter the role '" + role +
                           "', because it does not exist or you do not have permission.");
    auto memberId = principalId(member);
    if (!memberId)
        throw SqlError(15151, 16,
                       "Cannot " + std::string(add ? "add" : "drop") + " the principal '" + member +
                           "', because it does not exist or you do not have permission.");
    SqliteStmt s(m_db.get(),
                 add ? "INSERT OR IGNORE INTO main.lf_database_role_members VALUES (?, ?)"
                     : "DELETE FROM main.lf_database_role_members WHERE role_principal_id = ? AND "
                       "member_principal_id = ?");
    s.bind(1, int64_t(*roleId)).bind(2, int64_t(*memberId)).step();
}

void EngineSession::setServerRoleMember(const std::string& role, const std::string& loginName, bool add)
{
    m_instance.catalog().serverRoleId(role);
    requireServerRole(upper(role) == "SYSADMIN" ? "sysadmin" : "securityadmin");
    auto login = m_instance.catalog().login(loginName);
    if (!login)
        throw SqlError(15151, 16,
                       "Cannot " + std::string(add ? "add" : "drop") + " the principal '" + loginName +
                           "', because it does not exist or you do not have permission.");
    m_instance.catalog().setServerRoleMember(role, login->id, add);
}

void EngineSession::permission(const Stmt& s)
{
    requireDbRole("db_securityadmin");
    int64_t classId = 0, majorId = 0;
    if (!s.name2.empty()) {
        SqliteStmt o(m_db.get(),
                     "SELECT rootpage FROM main.sqlite_master WHERE name = ? COLLATE NOCASE AND type IN "
                     "('table','view')");
        o.bind(1, s.name2);
        if (o.step()) {
            majorId = o.integer(0);
        } else {
            SqliteStmt p(m_db.get(), "SELECT 1000000000 + rowid FROM main.lf_procedures WHERE name = ?");
            p.bind(1, s.name2);
            if (!p.step())
                throw SqlError(15151, 16,
                               "Cannot find the object '" + s.name2 +
                                   "', because it does not exist or you do not have permission.");
            majorId = p.integer(0);
        }
        classId = 1;
    }
    const auto grantor = currentUserId().value_or(1);
    for (const auto& grantee : s.args) {
        auto id = principalId(grantee.name);
        if (!id)
            throw SqlError(15151, 16,
                           "Cannot find the user '" + grantee.name +
                               "', because it does not exist or you do not have permission.");
        for (const auto& perm : s.targets) {
            SqliteStmt del(m_db.get(),
                           "DELETE FROM main.lf_database_permissions WHERE grantee_principal_id = ? AND "
                           "permission_name = ? AND class = ? AND major_id = ?");
            del.bind(1, int64_t(*id)).bind(2, perm).bind(3, classId).bind(4, majorId).step();
            if (s.name == "REVOKE")
                continue;
            const bool deny = s.name == "DENY";
            SqliteStmt ins(m_db.get(),
                           "INSERT INTO main.lf_database_permissions (class, class_desc, major_id, "
                           "minor_id, grantee_principal_id, grantor_principal_id, type, permission_name, "
                           "state, state_desc, object_name) VALUES (?, ?, ?, 0, ?, ?, ?, ?, ?, ?, ?)");
            ins.bind(1, classId)
                .bind(2, std::string(classId ? "OBJECT_OR_COLUMN" : "DATABASE"))
                .bind(3, majorId);
            ins.bind(4, int64_t(*id)).bind(5, int64_t(grantor)).bind(6, perm.substr(0, 4)).bind(7, perm);
            ins.bind(8, std::string(deny ? "D" : "G")).bind(9, std::string(deny ? "DENY" : "GRANT"));
            ins.bind(10, s.name2.empty() ? Value() : Value(s.name2)).step();
        }
    }
}

} // namespace standin
