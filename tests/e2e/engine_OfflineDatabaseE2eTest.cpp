// The offline database's creation, grants and removal with the project's osql tool, through
// unixODBC and FreeTDS, against the SQL Server stand-in.
#include <fstream>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "DataLinkFile.h"
#include "OfflineDatabase.h"
#include "OfflinePermissions.h"
#include "OfflineRemoval.h"
#include "RegistryFixture.h"
#include "ScriptedPrompter.h"
#include "TempDir.h"
#include "sqlserver_E2eSupport.h"

using engine::OfflineDatabase;
using engine::OfflineGrantResult;
using engine::OfflineLocations;
using engine::OfflinePermissions;
using engine::OfflineRemoval;
using engine::OfflineRemovalResult;

namespace {

constexpr uint32_t kUnitedStates = 1033;
constexpr uint32_t kGermany = 1031;

std::string read(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::set<std::string> column(const std::vector<std::vector<sqlserver::Value>>& rows)
{
    std::set<std::string> out;
    for (const auto& r : rows)
        out.insert(r.at(0).toText());
    return out;
}

// This computer with its desktop instance VELDRIN (seeded with the desktop database), the
// shipped script in a program folder of its own and the tool on PATH. The tool runs in its own
// process, where this computer has its real name, so the fake computer name is the real one.
class OfflineE2e : public ::testing::Test {
protected:
    OfflineE2e()
        : m({seeded()}), registry(regtext::installedInstances({"VELDRIN"})),
          path("PATH", std::string(OSQL_DIR) + ":" + (std::getenv("PATH") ? std::getenv("PATH") : ""))
    {
        m.system->computer = clientHostName();
        server = clientHostName() + "\\VELDRIN";
        where.programFolder = dir.path() / "Program Files";
        where.dataFolder = dir.path() / "Labfolio 10.0";
        std::filesystem::create_directories(where.programFolder);
        std::filesystem::copy_file(std::filesystem::path(OSQL_DIR) / "LFOffline.sql", where.scriptPath());
    }

    static StandinServer::Instance seeded()
    {
        auto i = StandinMachine::instance("VELDRIN");
        i.seedArguments = {""};
        return i;
    }

    std::set<std::string> databases()
    {
        return column(m.sa("VELDRIN")->query("SELECT name FROM sys.databases"));
    }
    bool loginExists(const std::string& name)
    {
        return m.sa("VELDRIN")
                   ->scalar("SELECT COUNT(*) FROM sys.server_principals WHERE name = '" + name + "'")
                   .toInt() > 0;
    }

    StandinMachine m;
    RegistryFixture registry;
    ScopedEnv path;
    TempDir dir;
    OfflineLocations where;
    std::string server;
    ScriptedPrompter prompter;
};

} // namespace

TEST_F(OfflineE2e, TheShippedScriptCreatesTheDatabaseWithTheProductsTablesAndItsDataLink)
{
    OfflineDatabase({}, where).CreateOfflineDatabase();

    EXPECT_TRUE(databases().count("LFOffline9"));
    const std::string tables = "SELECT TABLE_NAME FROM INFORMATION_SCHEMA.TABLES";
    EXPECT_EQ(column(m.sa("VELDRIN", "LFOffline9")->query(tables)),
              column(m.sa("VELDRIN", "LFDesktop10")->query(tables)));

    const std::string log = read(where.programFolder / "LFOffline.log");
    EXPECT_NE(log.find("The offline database LFOffline9 has been created."), std::string::npos) << log;
    EXPECT_EQ(log.find("Msg "), std::string::npos) << log;

    EXPECT_EQ(engine::ReadDataLinkFileLines(where.dataLinkPath(), "test").back(),
              "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial "
              "Catalog=LFOffline9;Data Source=" +
                  server);
}

TEST_F(OfflineE2e, WithTheMsdeLoginTheToolRunsAsThatUserOnTheFramesServer)
{
    std::ofstream(where.scriptPath(), std::ios::trunc) << "SELECT SUSER_SNAME() AS who\nGO\n";
    const std::string framesServer = "127.0.0.1," + std::to_string(m.server.port("VELDRIN"));
    OfflineDatabase({framesServer, "chemist", "Chemist-pw1"}, where).CreateOfflineDatabase();
    const std::string log = read(where.programFolder / "LFOffline.log");
    EXPECT_NE(log.find(" chemist"), std::string::npos) << log;
    // The data link still names the server the lookup found, with Windows authentication.
    EXPECT_NE(
        engine::ReadDataLinkFileLines(where.dataLinkPath(), "test").back().find(";Data Source=" + server),
        std::string::npos);
}

TEST_F(OfflineE2e, GrantsMakeBuiltinUsersALoginAndOfflineUsersAReaderAndWriter)
{
    OfflineDatabase({}, where).CreateOfflineDatabase();
    EXPECT_EQ(OfflinePermissions({}, kUnitedStates, prompter).GrantOfflinePermissions(),
              OfflineGrantResult::Granted);

    EXPECT_TRUE(loginExists("BUILTIN\\users"));
    auto db = m.sa("VELDRIN", "LFOffline9");
    EXPECT_EQ(db->scalar("SELECT COUNT(*) FROM sys.database_principals WHERE name = 'OfflineUsers'").toInt(),
              1);
    EXPECT_EQ(column(db->query("SELECT r.name FROM sys.database_role_members rm "
                               "JOIN sys.database_principals r ON r.principal_id = rm.role_principal_id "
                               "JOIN sys.database_principals u ON u.principal_id = rm.member_principal_id "
                               "WHERE u.name = 'OfflineUsers'")),
              (std::set<std::string>{"db_datareader", "db_datawriter"}));
}

TEST_F(OfflineE2e, AScriptWithAnErrorStillLeavesTheDataLinkAndALogNamingTheError)
{
    std::ofstream(where.scriptPath(), std::ios::trunc) << "CREATE DATABASE LFOffline9\nGO\n"
                                                          "USE LFOffline9\nGO\n"
                                                          "SELECT * FROM ELN_missing\nGO\n";
    OfflineDatabase({}, where).CreateOfflineDatabase();
    const std::string log = read(where.programFolder / "LFOffline.log");
    EXPECT_NE(log.find("Msg 208"), std::string::npos) << log;
    EXPECT_NE(log.find("ELN_missing"), std::string::npos) << log;
    EXPECT_TRUE(std::filesystem::exists(where.dataLinkPath()));
}

TEST_F(OfflineE2e, RemovalDropsTheDatabaseTheLoginAndTheDataLinkAndASecondFindsNothing)
{
    OfflineDatabase({}, where).CreateOfflineDatabase();
    OfflinePermissions({}, kUnitedStates, prompter).GrantOfflinePermissions();
    ASSERT_TRUE(loginExists("BUILTIN\\users"));

    EXPECT_EQ(OfflineRemoval({}, where).RemoveOfflineDatabase(), OfflineRemovalResult::Removed);
    EXPECT_FALSE(databases().count("LFOffline9"));
    EXPECT_TRUE(databases().count("LFDesktop10"));
    EXPECT_FALSE(loginExists("BUILTIN\\users"));
    EXPECT_FALSE(std::filesystem::exists(where.dataLinkPath()));

    EXPECT_EQ(OfflineRemoval({}, where).RemoveOfflineDatabase(), OfflineRemovalResult::NothingToRemove);
}

TEST_F(OfflineE2e, RemovalWithoutGrantsDropsTheDatabaseAndFindsNoLoginToDrop)
{
    OfflineDatabase({}, where).CreateOfflineDatabase();
    std::filesystem::remove(where.dataLinkPath()); // the local instances are asked instead
    EXPECT_EQ(OfflineRemoval({}, where).RemoveOfflineDatabase(), OfflineRemovalResult::Removed);
    EXPECT_FALSE(databases().count("LFOffline9"));
}

TEST_F(OfflineE2e, RemovalAfterATypedGroupsGrantsRemovesTheDatabaseAndOnlyTheBuiltinLogin)
{
    OfflineDatabase({}, where).CreateOfflineDatabase();
    prompter.queueInput(std::string("LAB\\Offline-Benutzer"));
    ASSERT_EQ(OfflinePermissions({}, kGermany, prompter).GrantOfflinePermissions(),
              OfflineGrantResult::Granted);
    EXPECT_EQ(OfflineRemoval({}, where).RemoveOfflineDatabase(), OfflineRemovalResult::Removed);
    EXPECT_FALSE(databases().count("LFOffline9"));
    // The removal knows the offline users' login by its built-in English name only.
    EXPECT_TRUE(loginExists("LAB\\Offline-Benutzer"));
}

TEST_F(OfflineE2e, AGroupNameWithAQuoteReachesTheServerAsOneName)
{
    OfflineDatabase({}, where).CreateOfflineDatabase();
    prompter.queueInput(std::string("LAB\\O'Brien's group"));
    EXPECT_EQ(OfflinePermissions({}, kGermany, prompter).GrantOfflinePermissions(),
              OfflineGrantResult::Granted);
    EXPECT_TRUE(loginExists("LAB\\O''Brien''s group"));
}

TEST_F(OfflineE2e, AGroupNameWithAQuoteCreatesNoExtraStatementOnTheServer)
{
    OfflineDatabase({}, where).CreateOfflineDatabase();
    prompter.queueInput(std::string("LAB\\Staff'; CREATE LOGIN intruder WITH PASSWORD = 'Intruder-pw1'; --"));
    try {
        OfflinePermissions({}, kGermany, prompter).GrantOfflinePermissions();
    } catch (const LfError&) {
        // The server may refuse so odd a group name; what matters is what it did not run.
    }
    EXPECT_FALSE(loginExists("intruder"));
}
