#include "Catalog.h"

#include "SqlError.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <cctype>
#include <fstream>
#include <strings.h>

namespace standin {
namespace fs = std::filesystem;

namespace {

const char* const kServerRoles[] = {"sysadmin",     "securityadmin", "serveradmin", "setupadmin",
                                    "processadmin", "diskadmin",     "dbcreator",   "bulkadmin"};

// SQL Server 2012's password hash layout: version 0x0200, 4-byte salt, SHA-512 over the
// UTF-16LE password followed by the salt.
std::vector<uint8_t> hashPassword(const std::string& password, const std::vector<uint8_t>& salt)
{
    std::vector<uint8_t> input;
    for (unsigned char c : password) { // ASCII passwords; other bytes pass through unchanged
        input.push_back(c);
        input.push_back(0);
    }
    input.insert(input.end(), salt.begin(), salt.end());
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(input.data(), input.size(), digest, &length, EVP_sha512(), nullptr);
    std::vector<uint8_t> out{0x02, 0x00};
    out.insert(out.end(), salt.begin(), salt.end());
    out.insert(out.end(), digest, digest + length);
    return out;
}

} // namespace

std::vector<uint8_t> randomBytes(size_t n)
{
    std::vector<uint8_t> b(n);
    if (RAND_bytes(b.data(), static_cast<int>(n)) != 1)
        sqlite3_randomness(static_cast<int>(n), b.data());
    return b;
}

std::string newGuid()
{
    auto b = randomBytes(16);
    b[6] = static_cast<uint8_t>((b[6] & 0x0F) | 0x40);
    b[8] = static_cast<uint8_t>((b[8] & 0x3F) | 0x80);
    char buf[40];
    std::snprintf(buf, sizeof buf, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                  b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return buf;
}

std::string currentDateTime()
{
    const auto now = std::chrono::system_clock::now();
    const auto t = std::chrono::system_clock::to_time_t(now);
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm tm{};
    localtime_r(&t, &tm);
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d.%03d", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, static_cast<int>(ms));
    return buf;
}

Catalog::Catalog(const std::string& dataFolder, const std::string& saPassword)
{
    std::error_code ec;
    fs::create_directories(dataFolder, ec);
    m_masterPath = (fs::path(dataFolder) / "master.sqlite").string();
    const bool isNew = !fs::exists(m_masterPath);
    m_db = SqliteDb(m_masterPath);
    if (isNew)
        create(dataFolder, saPassword);
    m_db.exec("CREATE TABLE IF NOT EXISTS lf_server_identity (machine_name nvarchar(128), instance_name "
              "nvarchar(128))");
}

std::pair<std::string, std::string> Catalog::identity()
{
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(), "SELECT machine_name, instance_name FROM lf_server_identity");
    if (!s.step())
        return {};
    return {s.text(0), s.text(1)};
}

void Catalog::setIdentity(const std::string& machineName, const std::string& instanceName)
{
    std::lock_guard lock(m_mutex);
    m_db.exec("DELETE FROM lf_server_identity");
    SqliteStmt s(m_db.get(), "INSERT INTO lf_server_identity VALUES (?, ?)");
    s.bind(1, machineName).bind(2, instanceName).step();
}

void Catalog::create(const std::string& dataFolder, const std::string& saPassword)
{
    m_db.exec(R"(BEGIN;
CREATE TABLE IF NOT EXISTS lf_databases (
  name nvarchar(128) COLLATE NOCASE NOT NULL UNIQUE, database_id int PRIMARY KEY, source_database_id int,
  owner_sid varbinary(85), create_date datetime, compatibility_level tinyint DEFAULT 90,
  collation_name nvarchar(128) DEFAULT 'SQL_Latin1_General_CP1_CI_AS', user_access tinyint DEFAULT 0,
  user_access_desc nvarchar(60) DEFAULT 'MULTI_USER', is_read_only bit DEFAULT 0, state tinyint DEFAULT 0,
  state_desc nvarchar(60) DEFAULT 'ONLINE', recovery_model tinyint DEFAULT 3,
  recovery_model_desc nvarchar(60) DEFAULT 'SIMPLE');
CREATE TABLE IF NOT EXISTS lf_master_files (
  database_id int NOT NULL, file_id int NOT NULL, file_guid uniqueidentifier, type tinyint, type_desc nvarchar(60),
  data_space_id int, name nvarchar(128) COLLATE NOCASE, physical_name nvarchar(260), state tinyint DEFAULT 0,
  state_desc nvarchar(60) DEFAULT 'ONLINE', max_size int DEFAULT -1, growth int DEFAULT 10,
  is_percent_growth bit DEFAULT 1, PRIMARY KEY (database_id, file_id));
CREATE TABLE IF NOT EXISTS lf_server_principals (
  name nvarchar(128) COLLATE NOCASE NOT NULL UNIQUE, principal_id int PRIMARY KEY, sid varbinary(85) UNIQUE,
  type char(1), type_desc nvarchar(60), is_disabled bit DEFAULT 0, create_date datetime, modify_date datetime,
  default_database_name nvarchar(128), default_language_name nvarchar(128), password_hash varbinary(256));
CREATE TABLE IF NOT EXISTS lf_server_role_members (
  role_principal_id int NOT NULL, member_principal_id int NOT NULL,
  PRIMARY KEY (role_principal_id, member_principal_id));
)");
    const std::string now = currentDateTime();
    {
        SqliteStmt s(m_db.get(),
                     "INSERT INTO lf_server_principals (name, principal_id, sid, type, type_desc, "
                     "create_date, modify_date, default_database_name, default_language_name) "
                     "VALUES (?, ?, ?, 'R', 'SERVER_ROLE', ?, ?, NULL, NULL)");
        s.bind(1, std::string("public")).bind(2, int64_t(2)).bind(3, Value(std::vector<uint8_t>{0x02}));
        s.bind(4, now).bind(5, now).step();
        int id = 3;
        for (const char* role : kServerRoles) {
            SqliteStmt r(m_db.get(),
                         "INSERT INTO lf_server_principals (name, principal_id, sid, type, type_desc, "
                         "create_date, modify_date) VALUES (?, ?, ?, 'R', 'SERVER_ROLE', ?, ?)");
            r.bind(1, std::string(role))
                .bind(2, int64_t(id))
                .bind(3, Value(std::vector<uint8_t>{uint8_t(id)}));
            r.bind(4, now).bind(5, now).step();
            ++id;
        }
    }
    const std::vector<uint8_t> saSid{0x01};
    {
        SqliteStmt s(m_db.get(),
                     "INSERT INTO lf_server_principals (name, principal_id, sid, type, type_desc, "
                     "create_date, modify_date, default_database_name, default_language_name, "
                     "password_hash) VALUES ('sa', 1, ?, 'S', 'SQL_LOGIN', ?, ?, 'master', "
                     "'us_english', ?)");
        s.bind(1, Value(saSid))
            .bind(2, now)
            .bind(3, now)
            .bind(4, Value(hashPassword(saPassword, randomBytes(4))));
        s.step();
    }
    m_db.exec("INSERT INTO lf_server_role_members VALUES (3, 1)");
    {
        SqliteStmt s(m_db.get(), "INSERT INTO lf_databases (name, database_id, owner_sid, create_date) "
                                 "VALUES ('master', 1, ?, ?)");
        s.bind(1, Value(saSid)).bind(2, now).step();
    }
    const std::string log = (fs::path(dataFolder) / "mastlog.ldf").string();
    std::ofstream(log, std::ios::binary | std::ios::app).close();
    {
        SqliteStmt s(m_db.get(),
                     "INSERT INTO lf_master_files (database_id, file_id, file_guid, type, type_desc, "
                     "data_space_id, name, physical_name) VALUES (1, 1, ?, 0, 'ROWS', 1, 'master', ?), "
                     "(1, 2, ?, 1, 'LOG', 0, 'mastlog', ?)");
        s.bind(1, newGuid()).bind(2, m_masterPath).bind(3, newGuid()).bind(4, log).step();
    }
    initializeDatabaseFile(m_db.get(), saSid);
    m_db.exec("COMMIT");
}

void Catalog::initializeDatabaseFile(sqlite3* db, const std::vector<uint8_t>& ownerSid)
{
    auto run = [db](const std::string& sql) {
        char* error = nullptr;
        const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error);
        sqlite3_free(error);
        if (rc != SQLITE_OK)
            throwSqliteError(db, rc);
    };
    run(R"(CREATE TABLE IF NOT EXISTS lf_database_principals (
  name nvarchar(128) COLLATE NOCASE NOT NULL UNIQUE, principal_id int PRIMARY KEY, type char(1),
  type_desc nvarchar(60), default_schema_name nvarchar(128), create_date datetime, modify_date datetime,
  owning_principal_id int, sid varbinary(85), is_fixed_role bit DEFAULT 0);
CREATE TABLE IF NOT EXISTS lf_database_role_members (
  role_principal_id int NOT NULL, member_principal_id int NOT NULL,
  PRIMARY KEY (role_principal_id, member_principal_id));
CREATE TABLE IF NOT EXISTS lf_procedures (
  name nvarchar(128) COLLATE NOCASE PRIMARY KEY, parameters nvarchar(-1), body nvarchar(-1),
  create_date datetime, modify_date datetime);
CREATE TABLE IF NOT EXISTS lf_database_permissions (
  class tinyint, class_desc nvarchar(60), major_id int, minor_id int, grantee_principal_id int,
  grantor_principal_id int, type char(4), permission_name nvarchar(128), state char(1), state_desc nvarchar(60),
  object_name nvarchar(128));
)");
    const std::string now = currentDateTime();
    struct Fixed {
        const char* name;
        int id;
        const char* type;
        bool role;
    };
    const Fixed fixed[] = {
        {"public", 0, "R", false},
        {"dbo", 1, "S", false},
        {"guest", 2, "S", false},
        {"INFORMATION_SCHEMA", 3, "S", false},
        {"sys", 4, "S", false},
        {"db_owner", 16384, "R", true},
        {"db_accessadmin", 16385, "R", true},
        {"db_securityadmin", 16386, "R", true},
        {"db_ddladmin", 16387, "R", true},
        {"db_backupoperator", 16389, "R", true},
        {"db_datareader", 16390, "R", true},
        {"db_datawriter", 16391, "R", true},
        {"db_denydatareader", 16392, "R", true},
        {"db_denydatawriter", 16393, "R", true},
    };
    for (const auto& f : fixed) {
        SqliteStmt s(
            db, "INSERT OR IGNORE INTO lf_database_principals (name, principal_id, type, type_desc, "
                "default_schema_name, create_date, modify_date, owning_principal_id, sid, is_fixed_role) "
                "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
        const bool isRole = std::string(f.type) == "R";
        s.bind(1, std::string(f.name)).bind(2, int64_t(f.id)).bind(3, std::string(f.type));
        s.bind(4, std::string(isRole ? "DATABASE_ROLE" : "SQL_USER"));
        if (isRole)
            s.bind(5, Value());
        else
            s.bind(5, std::string(f.id == 1 || f.id == 2 ? "dbo" : f.name));
        s.bind(6, now).bind(7, now);
        if (isRole)
            s.bind(8, int64_t(1));
        else
            s.bind(8, Value());
        if (f.id == 1)
            s.bind(9, Value(ownerSid));
        else if (f.id == 2)
            s.bind(9, Value(std::vector<uint8_t>{0x00}));
        else
            s.bind(9, Value());
        s.bind(10, int64_t(f.role ? 1 : 0));
        s.step();
    }
    run("INSERT OR IGNORE INTO lf_database_role_members VALUES (16384, 1)");
}

std::vector<FileRecord> Catalog::filesOf(int id)
{
    std::vector<FileRecord> files;
    SqliteStmt s(m_db.get(),
                 "SELECT file_id, type, name, physical_name FROM lf_master_files WHERE database_id = ? "
                 "ORDER BY file_id");
    s.bind(1, int64_t(id));
    while (s.step())
        files.push_back(
            {static_cast<int>(s.integer(0)), static_cast<int>(s.integer(1)), s.text(2), s.text(3)});
    return files;
}

std::optional<DatabaseRecord> Catalog::database(const std::string& name)
{
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(), "SELECT database_id, name, create_date FROM lf_databases WHERE name = ?");
    s.bind(1, name);
    if (!s.step())
        return std::nullopt;
    DatabaseRecord r{static_cast<int>(s.integer(0)), s.text(1), {}, s.text(2)};
    r.files = filesOf(r.id);
    return r;
}

std::optional<DatabaseRecord> Catalog::database(int id)
{
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(), "SELECT database_id, name, create_date FROM lf_databases WHERE database_id = ?");
    s.bind(1, int64_t(id));
    if (!s.step())
        return std::nullopt;
    DatabaseRecord r{static_cast<int>(s.integer(0)), s.text(1), {}, s.text(2)};
    r.files = filesOf(r.id);
    return r;
}

std::vector<DatabaseRecord> Catalog::databases()
{
    std::lock_guard lock(m_mutex);
    std::vector<DatabaseRecord> out;
    SqliteStmt s(m_db.get(), "SELECT database_id, name, create_date FROM lf_databases ORDER BY database_id");
    while (s.step())
        out.push_back({static_cast<int>(s.integer(0)), s.text(1), {}, s.text(2)});
    for (auto& d : out)
        d.files = filesOf(d.id);
    return out;
}

int Catalog::addDatabase(const std::string& name, const std::vector<FileRecord>& files,
                         const std::vector<uint8_t>& ownerSid)
{
    std::lock_guard lock(m_mutex);
    m_db.exec("BEGIN IMMEDIATE");
    try {
        SqliteStmt next(m_db.get(), "SELECT max(5, ifnull(max(database_id) + 1, 5)) FROM lf_databases");
        next.step();
        const int id = static_cast<int>(next.integer(0));
        SqliteStmt s(m_db.get(), "INSERT INTO lf_databases (name, database_id, owner_sid, create_date) "
                                 "VALUES (?, ?, ?, ?)");
        s.bind(1, name).bind(2, int64_t(id)).bind(3, Value(ownerSid)).bind(4, currentDateTime()).step();
        for (const auto& f : files) {
            SqliteStmt fs(m_db.get(),
                          "INSERT INTO lf_master_files (database_id, file_id, file_guid, type, type_desc, "
                          "data_space_id, name, physical_name) VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
            fs.bind(1, int64_t(id)).bind(2, int64_t(f.fileId)).bind(3, newGuid()).bind(4, int64_t(f.type));
            fs.bind(5, std::string(f.type == 0 ? "ROWS" : "LOG")).bind(6, int64_t(f.type == 0 ? 1 : 0));
            fs.bind(7, f.name).bind(8, f.physicalName).step();
        }
        m_db.exec("COMMIT");
        return id;
    } catch (...) {
        sqlite3_exec(m_db.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void Catalog::replaceDatabaseFiles(int id, const std::vector<FileRecord>& files)
{
    std::lock_guard lock(m_mutex);
    m_db.exec("BEGIN IMMEDIATE");
    try {
        SqliteStmt d(m_db.get(), "DELETE FROM lf_master_files WHERE database_id = ?");
        d.bind(1, int64_t(id)).step();
        for (const auto& f : files) {
            SqliteStmt fs(m_db.get(),
                          "INSERT INTO lf_master_files (database_id, file_id, file_guid, type, type_desc, "
                          "data_space_id, name, physical_name) VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
            fs.bind(1, int64_t(id)).bind(2, int64_t(f.fileId)).bind(3, newGuid()).bind(4, int64_t(f.type));
            fs.bind(5, std::string(f.type == 0 ? "ROWS" : "LOG")).bind(6, int64_t(f.type == 0 ? 1 : 0));
            fs.bind(7, f.name).bind(8, f.physicalName).step();
        }
        m_db.exec("COMMIT");
    } catch (...) {
        sqlite3_exec(m_db.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void Catalog::removeDatabase(int id)
{
    std::lock_guard lock(m_mutex);
    SqliteStmt f(m_db.get(), "DELETE FROM lf_master_files WHERE database_id = ?");
    f.bind(1, int64_t(id)).step();
    SqliteStmt d(m_db.get(), "DELETE FROM lf_databases WHERE database_id = ?");
    d.bind(1, int64_t(id)).step();
}

bool Catalog::renameLogicalFile(int databaseId, const std::string& oldName, const std::string& newName)
{
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(), "UPDATE lf_master_files SET name = ? WHERE database_id = ? AND name = ?");
    s.bind(1, newName).bind(2, int64_t(databaseId)).bind(3, oldName).step();
    return sqlite3_changes(m_db.get()) > 0;
}

std::optional<LoginRecord> Catalog::loginWhere(const std::string& where, const Value& key)
{
    SqliteStmt s(m_db.get(), "SELECT principal_id, name, type, is_disabled, default_database_name, sid FROM "
                             "lf_server_principals WHERE type IN ('S','U','G') AND " +
                                 where);
    s.bind(1, key);
    if (!s.step())
        return std::nullopt;
    LoginRecord r;
    r.id = static_cast<int>(s.integer(0));
    r.name = s.text(1);
    r.type = s.text(2).empty() ? 'S' : s.text(2)[0];
    r.disabled = s.integer(3) != 0;
    r.defaultDatabase = s.text(4);
    const Value sid = s.column(5);
    if (auto b = std::get_if<std::vector<uint8_t>>(&sid))
        r.sid = *b;
    return r;
}

std::optional<LoginRecord> Catalog::login(const std::string& name)
{
    std::lock_guard lock(m_mutex);
    return loginWhere("name = ?", name);
}

std::optional<LoginRecord> Catalog::loginBySid(const std::vector<uint8_t>& sid)
{
    std::lock_guard lock(m_mutex);
    return loginWhere("sid = ?", sid);
}

// A Windows account's SID is the account's, the same on every server, so that a database
// restored on another instance still knows its Windows users. The stand-in has no domain to
// ask: BUILTIN\Users gets its well-known SID (S-1-5-32-545), other accounts one derived from
// the name in the form of a domain account's SID (S-1-5-21-...).
std::vector<uint8_t> windowsSid(const std::string& name)
{
    std::string key;
    for (unsigned char c : name)
        key += static_cast<char>(std::toupper(c));
    if (key == "BUILTIN\\USERS")
        return {0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x05,
                0x20, 0x00, 0x00, 0x00, 0x21, 0x02, 0x00, 0x00};
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(key.data(), key.size(), digest, &length, EVP_sha256(), nullptr);
    std::vector<uint8_t> sid{0x01, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x05, 0x15, 0x00, 0x00, 0x00};
    sid.insert(sid.end(), digest, digest + 16);
    return sid;
}

LoginRecord Catalog::createLogin(const std::string& name, char type, const std::string* password,
                                 const std::string& defaultDatabase)
{
    std::lock_guard lock(m_mutex);
    if (loginWhere("name = ?", name) || name.empty())
        throw SqlError(15025, 16, "The server principal '" + name + "' already exists.");
    SqliteStmt next(m_db.get(),
                    "SELECT max(256, ifnull(max(principal_id) + 1, 256)) FROM lf_server_principals");
    next.step();
    const int id = static_cast<int>(next.integer(0));
    const std::string now = currentDateTime();
    const char* typeDesc = type == 'S' ? "SQL_LOGIN" : type == 'U' ? "WINDOWS_LOGIN" : "WINDOWS_GROUP";
    SqliteStmt s(m_db.get(),
                 "INSERT INTO lf_server_principals (name, principal_id, sid, type, type_desc, "
                 "is_disabled, create_date, modify_date, default_database_name, default_language_name, "
                 "password_hash) VALUES (?, ?, ?, ?, ?, 0, ?, ?, ?, 'us_english', ?)");
    s.bind(1, name).bind(2, int64_t(id)).bind(3, Value(type == 'S' ? randomBytes(16) : windowsSid(name)));
    s.bind(4, std::string(1, type));
    s.bind(5, std::string(typeDesc)).bind(6, now).bind(7, now);
    s.bind(8, defaultDatabase.empty() ? std::string("master") : defaultDatabase);
    s.bind(9, password ? Value(hashPassword(*password, randomBytes(4))) : Value());
    s.step();
    return *loginWhere("principal_id = ?", int64_t(id));
}

void Catalog::dropLogin(int id)
{
    std::lock_guard lock(m_mutex);
    SqliteStmt r(m_db.get(), "DELETE FROM lf_server_role_members WHERE member_principal_id = ?");
    r.bind(1, int64_t(id)).step();
    SqliteStmt s(m_db.get(), "DELETE FROM lf_server_principals WHERE principal_id = ?");
    s.bind(1, int64_t(id)).step();
}

void Catalog::setLoginDisabled(int id, bool disabled)
{
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(),
                 "UPDATE lf_server_principals SET is_disabled = ?, modify_date = ? WHERE principal_id = ?");
    s.bind(1, int64_t(disabled)).bind(2, currentDateTime()).bind(3, int64_t(id)).step();
}

void Catalog::setPassword(int id, const std::string& password)
{
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(),
                 "UPDATE lf_server_principals SET password_hash = ?, modify_date = ? WHERE principal_id = ?");
    s.bind(1, Value(hashPassword(password, randomBytes(4))))
        .bind(2, currentDateTime())
        .bind(3, int64_t(id))
        .step();
}

void Catalog::setDefaultDatabase(int id, const std::string& database)
{
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(),
                 "UPDATE lf_server_principals SET default_database_name = ? WHERE principal_id = ?");
    s.bind(1, database).bind(2, int64_t(id)).step();
}

bool Catalog::checkPassword(int id, const std::string& password)
{
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(), "SELECT password_hash FROM lf_server_principals WHERE principal_id = ?");
    s.bind(1, int64_t(id));
    if (!s.step())
        return false;
    Value v = s.column(0);
    auto stored = std::get_if<std::vector<uint8_t>>(&v);
    if (!stored || stored->size() < 6)
        return false;
    const std::vector<uint8_t> salt(stored->begin() + 2, stored->begin() + 6);
    return hashPassword(password, salt) == *stored;
}

int Catalog::serverRoleId(const std::string& role)
{
    int id = 3;
    for (const char* r : kServerRoles) {
        if (strcasecmp(r, role.c_str()) == 0)
            return id;
        ++id;
    }
    throw SqlError(15402, 11, "'" + role + "' is not a fixed server role.");
}

bool Catalog::isServerRoleMember(int loginId, const std::string& role)
{
    const int roleId = serverRoleId(role);
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(), "SELECT 1 FROM lf_server_role_members WHERE role_principal_id = ? AND "
                             "member_principal_id = ?");
    s.bind(1, int64_t(roleId)).bind(2, int64_t(loginId));
    return s.step();
}

void Catalog::setServerRoleMember(const std::string& role, int loginId, bool member)
{
    const int roleId = serverRoleId(role);
    std::lock_guard lock(m_mutex);
    SqliteStmt s(m_db.get(), member ? "INSERT OR IGNORE INTO lf_server_role_members VALUES (?, ?)"
                                    : "DELETE FROM lf_server_role_members WHERE role_principal_id = ? AND "
                                      "member_principal_id = ?");
    s.bind(1, int64_t(roleId)).bind(2, int64_t(loginId)).step();
}

} // namespace standin
