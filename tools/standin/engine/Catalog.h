#pragma once

#include "Sqlite.h"
#include "StandinEngine.h"

#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace standin {

struct FileRecord {
    int fileId = 1;
    int type = 0; // 0 data (ROWS), 1 log
    std::string name;
    std::string physicalName;
};

struct DatabaseRecord {
    int id = 0;
    std::string name;
    std::vector<FileRecord> files;
    std::string createDate;
};

struct LoginRecord {
    int id = 0;
    std::string name;
    char type = 'S'; // 'S' SQL login, 'U' Windows user, 'G' Windows group
    bool disabled = false;
    std::string defaultDatabase;
    std::vector<uint8_t> sid;
};

// The instance-wide catalog in master: databases and their files, logins and server role
// membership. Thread-safe; every call is one short SQLite transaction.
class Catalog {
public:
    Catalog(const std::string& dataFolder, const std::string& saPassword);

    std::string masterPath() const { return m_masterPath; }

    // The machine and instance names recorded in the instance's folder (by the seeding
    // command), for a server that is started without names of its own. Empty when none.
    std::pair<std::string, std::string> identity();
    void setIdentity(const std::string& machineName, const std::string& instanceName);

    std::optional<DatabaseRecord> database(const std::string& name);
    std::optional<DatabaseRecord> database(int id);
    std::vector<DatabaseRecord> databases();
    int addDatabase(const std::string& name, const std::vector<FileRecord>& files,
                    const std::vector<uint8_t>& ownerSid);
    void replaceDatabaseFiles(int id, const std::vector<FileRecord>& files);
    void removeDatabase(int id);
    bool renameLogicalFile(int databaseId, const std::string& oldName, const std::string& newName);

    std::optional<LoginRecord> login(const std::string& name);
    std::optional<LoginRecord> loginBySid(const std::vector<uint8_t>& sid);
    LoginRecord createLogin(const std::string& name, char type, const std::string* password,
                            const std::string& defaultDatabase);
    void dropLogin(int id);
    void setLoginDisabled(int id, bool disabled);
    void setPassword(int id, const std::string& password);
    void setDefaultDatabase(int id, const std::string& database);
    bool checkPassword(int id, const std::string& password);

    // Fixed server roles: sysadmin, securityadmin, serveradmin, setupadmin, processadmin,
    // diskadmin, dbcreator, bulkadmin. Throws 15402 for another name.
    int serverRoleId(const std::string& role);
    bool isServerRoleMember(int loginId, const std::string& role);
    void setServerRoleMember(const std::string& role, int loginId, bool member);

    // Creates the per-database catalog tables of a new database file (users, roles, role
    // members, permissions) with dbo owned by ownerSid.
    static void initializeDatabaseFile(sqlite3* db, const std::vector<uint8_t>& ownerSid);

private:
    std::mutex m_mutex;
    std::string m_masterPath;
    SqliteDb m_db;

    void create(const std::string& dataFolder, const std::string& saPassword);
    std::vector<FileRecord> filesOf(int id);
    std::optional<LoginRecord> loginWhere(const std::string& where, const Value& key);
};

std::vector<uint8_t> randomBytes(size_t n);
std::vector<uint8_t> windowsSid(const std::string& accountName);
std::string newGuid();
std::string currentDateTime();

} // namespace standin
