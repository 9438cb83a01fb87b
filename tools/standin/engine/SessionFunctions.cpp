#include "EngineInstance.h"
#include "EngineSession.h"
#include "TypeMap.h"

#include <algorithm>
#include <cctype>

// The built-in functions whose answer depends on the session: @@ globals, SERVERPROPERTY,
// HOST_NAME(), DB_NAME(), HAS_DBACCESS, IS_SRVROLEMEMBER, OBJECT_ID, HAS_PERMS_BY_NAME...

namespace standin {
namespace {

std::string upper(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

} // namespace

Value EngineSession::callContextFunction(const std::string& name, const std::vector<Value>& args)
{
    auto text = [&](size_t i) {
        ColumnInfo t;
        t.type = SqlType::NVarChar;
        if (i >= args.size())
            return std::string();
        Value v = normalizeValue(args[i], t);
        return std::holds_alternative<std::string>(v) ? std::get<std::string>(v) : std::string();
    };
    const InstanceConfig& config = m_instance.config();
    if (name == "lf_global") {
        const std::string g = text(0);
        if (g == "VERSION")
            return m_instance.versionText();
        if (g == "SERVERNAME")
            return m_instance.serverName();
        if (g == "SERVICENAME")
            return m_instance.isDefaultInstance() ? std::string("MSSQLSERVER") : config.instanceName;
        if (g == "SPID")
            return int64_t(m_spid);
        if (g == "ROWCOUNT")
            return m_rowCount;
        if (g == "IDENTITY") {
            const int64_t id = sqlite3_last_insert_rowid(m_db.get());
            return id ? Value(id) : Value();
        }
        if (g == "ERROR")
            return m_lastError;
        if (g == "TRANCOUNT")
            return int64_t(m_inTransaction ? 1 : 0);
        if (g == "LANGUAGE")
            return std::string("us_english");
        if (g.rfind("ERROR_", 0) == 0) {
            if (!m_caughtError)
                return std::monostate{};
            if (g == "ERROR_NUMBER")
                return int64_t(m_caughtError->number);
            if (g == "ERROR_SEVERITY")
                return int64_t(m_caughtError->severity);
            if (g == "ERROR_STATE")
                return int64_t(m_caughtError->state);
            if (g == "ERROR_LINE")
                return int64_t(m_caughtError->line);
            if (g == "ERROR_MESSAGE")
                return m_caughtError->text;
            return m_caughtError->procName.empty() ? Value() : Value(m_caughtError->procName);
        }
        if (g == "MICROSOFTVERSION")
            return int64_t(0x09001388);
        return int64_t(-1);
    }
    if (name == "lf_serverproperty") {
        const std::string p = upper(text(0));
        if (p == "MACHINENAME" || p == "COMPUTERNAMEPHYSICALNETBIOS")
            return config.machineName;
        if (p == "SERVERNAME")
            return m_instance.serverName();
        if (p == "INSTANCENAME")
            return m_instance.isDefaultInstance() ? Value() : Value(config.instanceName);
        if (p == "PRODUCTVERSION")
            return config.productVersion;
        if (p == "PRODUCTLEVEL")
            return std::string("SP4");
        if (p == "EDITION")
            return std::string("Express Edition");
        if (p == "ENGINEEDITION")
            return int64_t(4);
        if (p == "COLLATION")
            return std::string("SQL_Latin1_General_CP1_CI_AS");
        if (p == "ISINTEGRATEDSECURITYONLY" || p == "ISCLUSTERED" || p == "ISSINGLEUSER" ||
            p == "ISFULLTEXTINSTALLED")
            return int64_t(0);
        return std::monostate{};
    }
    if (name == "lf_host_name")
        return m_hostName;
    if (name == "lf_app_name")
        return m_appName;
    if (name == "lf_suser_sname" || name == "lf_suser_name")
        return m_login.name;
    if (name == "lf_user_name") {
        auto id = currentUserId();
        if (!id)
            return std::monostate{};
        SqliteStmt s(m_db.get(), "SELECT name FROM main.lf_database_principals WHERE principal_id = ?");
        s.bind(1, int64_t(*id));
        return s.step() ? Value(s.text(0)) : Value();
    }
    if (name == "lf_db_name") {
        if (args.empty() || std::holds_alternative<std::monostate>(args[0]))
            return m_database.name;
        auto db = m_instance.catalog().database(
            static_cast<int>(std::get<int64_t>(normalizeValue(args[0], columnInfoForType("int")))));
        return db ? Value(db->name) : Value();
    }
    if (name == "db_id") {
        if (args.empty())
            return int64_t(m_database.id);
        auto db = m_instance.catalog().database(text(0));
        return db ? Value(int64_t(db->id)) : Value();
    }
    if (name == "lf_has_dbaccess") {
        auto db = m_instance.catalog().database(text(0));
        if (!db)
            return std::monostate{};
        return int64_t(databaseUserFor(m_instance, m_login, m_groups, *db) ? 1 : 0);
    }
    if (name == "lf_is_srvrolemember") {
        try {
            m_instance.catalog().serverRoleId(text(0));
        } catch (const SqlError&) {
            return std::monostate{};
        }
        if (args.size() > 1) {
            auto other = m_instance.catalog().login(text(1));
            if (!other)
                return std::monostate{};
            return int64_t(m_instance.catalog().isServerRoleMember(other->id, text(0)) ||
                           m_instance.catalog().isServerRoleMember(other->id, "sysadmin"));
        }
        return int64_t(hasServerRole(text(0)) ? 1 : 0);
    }
    if (name == "lf_is_member") {
        auto role = principalId(text(0), true);
        auto user = currentUserId();
        if (!role)
            return std::monostate{};
        if (!user)
            return int64_t(0);
        if (*user == 1 && *role == 16384)
            return int64_t(1);
        SqliteStmt s(m_db.get(),
                     "SELECT 1 FROM main.lf_database_role_members WHERE role_principal_id = ? AND "
                     "member_principal_id = ?");
        s.bind(1, int64_t(*role)).bind(2, int64_t(*user));
        return int64_t(s.step() ? 1 : 0);
    }
    if (name == "lf_object_id") {
        std::string object = text(0);
        if (auto dot = object.rfind('.'); dot != std::string::npos)
            object = object.substr(dot + 1);
        object.erase(std::remove(object.begin(), object.end(), '['), object.end());
        object.erase(std::remove(object.begin(), object.end(), ']'), object.end());
        const bool temp = !object.empty() && object[0] == '#';
        SqliteStmt s(m_db.get(),
                     std::string("SELECT rootpage FROM ") + (temp ? "temp" : "main") +
                         ".sqlite_master WHERE name = ? COLLATE NOCASE AND type IN ('table','view')");
        s.bind(1, object);
        if (s.step())
            return s.integer(0);
        // Procedures have no pages; their ids lie above the pages'.
        SqliteStmt p(m_db.get(), "SELECT 1000000000 + rowid FROM main.lf_procedures WHERE name = ?");
        p.bind(1, object);
        return p.step() ? Value(p.integer(0)) : Value();
    }
    if (name == "lf_objectproperty") {
        if (args.size() < 2 || std::holds_alternative<std::monostate>(args[0]))
            return std::monostate{};
        const int64_t id = std::get<int64_t>(normalizeValue(args[0], columnInfoForType("bigint")));
        const std::string property = upper(text(1));
        SqliteStmt s(m_db.get(),
                     "SELECT type FROM main.sqlite_master WHERE rootpage = ? AND type IN ('table','view') "
                     "UNION ALL SELECT 'procedure' FROM main.lf_procedures WHERE 1000000000 + rowid = ?");
        s.bind(1, id).bind(2, id);
        if (!s.step())
            return std::monostate{};
        const std::string type = s.text(0);
        if (property == "ISUSERTABLE" || property == "ISTABLE")
            return int64_t(type == "table");
        if (property == "ISVIEW")
            return int64_t(type == "view");
        if (property == "ISPROCEDURE")
            return int64_t(type == "procedure");
        return std::monostate{};
    }
    if (name == "lf_has_perms_by_name")
        return hasPermsByName(args.size() > 0 ? args[0] : Value(), upper(text(1)), upper(text(2)));
    throw SqlError(195, 15, "'" + name + "' is not a recognized built-in function name.");
}

// HAS_PERMS_BY_NAME for what the stand-in models: server permissions that follow from the
// fixed server roles, database permissions from access and the fixed database roles, object
// permissions from those roles and from GRANT/DENY. Other permissions answer NULL.
Value EngineSession::hasPermsByName(const Value& securable, const std::string& securableClass,
                                    const std::string& permission)
{
    if (securableClass.empty() || securableClass == "SERVER") {
        if (permission == "CONNECT SQL")
            return int64_t(1);
        if (permission == "CREATE ANY DATABASE" || permission == "ALTER ANY DATABASE")
            return int64_t(hasServerRole("dbcreator"));
        if (permission == "ALTER ANY LOGIN")
            return int64_t(hasServerRole("securityadmin"));
        if (permission == "CONTROL SERVER" || permission == "VIEW SERVER STATE" ||
            permission == "ALTER SETTINGS" || permission == "SHUTDOWN")
            return int64_t(isSysadmin());
        return std::monostate{};
    }
    ColumnInfo t;
    t.type = SqlType::NVarChar;
    const Value v = normalizeValue(securable, t);
    const std::string target = std::holds_alternative<std::string>(v) ? std::get<std::string>(v) : "";
    auto inRole = [&](int roleId) {
        auto user = currentUserId();
        if (!user)
            return false;
        if (*user == 1)
            return true;
        SqliteStmt s(m_db.get(),
                     "SELECT 1 FROM main.lf_database_role_members WHERE member_principal_id = ? AND "
                     "role_principal_id IN (16384, ?)");
        s.bind(1, int64_t(*user)).bind(2, int64_t(roleId));
        return s.step();
    };
    if (securableClass == "DATABASE") {
        auto db = m_instance.catalog().database(target.empty() ? m_database.name : target);
        if (!db)
            return std::monostate{};
        const bool access = databaseUserFor(m_instance, m_login, m_groups, *db).has_value();
        if (permission == "CONNECT" || permission == "ANY")
            return int64_t(access);
        if (db->id != m_database.id)
            return std::monostate{};
        if (permission == "BACKUP DATABASE")
            return int64_t(access && inRole(16389));
        if (permission == "CREATE TABLE" || permission == "CREATE PROCEDURE" || permission == "CREATE VIEW")
            return int64_t(access && inRole(16387));
        return std::monostate{};
    }
    if (securableClass == "OBJECT") {
        std::string object = target;
        if (auto dot = object.rfind('.'); dot != std::string::npos)
            object = object.substr(dot + 1);
        auto user = currentUserId();
        if (!user)
            return int64_t(0);
        // A DENY ('D') outweighs a GRANT ('G'), for the user or any role it is in.
        SqliteStmt grant(
            m_db.get(),
            "SELECT state FROM main.lf_database_permissions WHERE object_name = ? COLLATE NOCASE AND "
            "permission_name = ? AND (grantee_principal_id = ? OR grantee_principal_id IN (SELECT "
            "role_principal_id FROM main.lf_database_role_members WHERE member_principal_id = ?)) "
            "ORDER BY state");
        grant.bind(1, object).bind(2, permission).bind(3, int64_t(*user)).bind(4, int64_t(*user));
        if (grant.step())
            return int64_t(grant.text(0) == "G" || *user == 1);
        if (permission == "SELECT")
            return int64_t(inRole(16390));
        if (permission == "INSERT" || permission == "UPDATE" || permission == "DELETE")
            return int64_t(inRole(16391));
        return int64_t(inRole(16384));
    }
    return std::monostate{};
}

} // namespace standin
