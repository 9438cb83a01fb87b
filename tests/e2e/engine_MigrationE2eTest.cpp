// The migration end to end through unixODBC and FreeTDS: a desktop instance PC1\VELDRIN holding
// the seeded LFDesktop10, and a multi-user server PC1\MULTI on another "machine" (LABSRV2).
#include "sqlserver_E2eSupport.h"

#include "LfError.h"
#include "Migration.h"
#include "MigrationProgress.h"
#include "RegistryFixture.h"
#include "ScriptedPrompter.h"
#include "StopFlag.h"
#include "TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <mutex>

using ::testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

class Progress : public engine::MigrationProgress {
public:
    void setMessage(const std::string& text) override
    {
        std::lock_guard lock(m_mutex);
        last = text;
        if (onMessage)
            onMessage(text);
    }
    void setProgressMaximum(int) override {}
    void setProgressValue(int v) override { value = v; }
    void migrationFinished() override { ++finished; }

    std::function<void(const std::string&)> onMessage;
    std::string last;
    std::atomic<int> value{0};
    int finished = 0;

private:
    std::mutex m_mutex;
};

StandinServer::Instance desktop(std::vector<std::string> seed)
{
    auto i = StandinMachine::instance("VELDRIN", "LABHOST");
    i.seedArguments = std::move(seed);
    return i;
}

class MigrationE2eTest : public ::testing::Test {
protected:
    explicit MigrationE2eTest(std::vector<std::string> seed = {"--user", "PC1\\alice", "--user",
                                                               "PC1\\bob:admin"},
                              int progressStepMillis = 50)
        : machine({desktop(std::move(seed)), StandinMachine::instance("MULTI", "LABSRV2")},
                  progressStepMillis),
          registry(std::string(regtext::kHeader) +
                   "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
                   "Folders]\r\n"
                   "\"Common AppData\"=\"" +
                   (dir.path() / "appdata").string() + "\"\r\n\r\n"),
          migration(progress, stop, prompter)
    {
        machine.system->user = "PC1\\alice";
        fs::create_directories(dir.path() / "backups");
        fs::create_directories(dir.path() / "shared");
        for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
            dir.write(std::string("index/Labfolio.") + ext, std::string(100000, ext[2]));
    }

    fs::path bakPath() const { return dir.path() / "backups" / "LFDesktop.BAK"; }
    fs::path localBackup() const { return dir.path() / "appdata" / "Labfolio 10.0" / "LFDesktop.BAK"; }

    void migrate()
    {
        migration.Migrate("PC1\\VELDRIN", "LFDesktop10", "PC1\\MULTI", "Labfolio",
                          (dir.path() / "index" / "Labfolio.mst").string(), (dir.path() / "shared").string(),
                          "Chemistry", "", "", "", bakPath().string());
    }

    std::vector<std::string> people(const std::string& instance, const std::string& db)
    {
        std::vector<std::string> out;
        for (const auto& row :
             machine.sa(instance, db)
                 ->query("SELECT Username, is_administrator FROM ELN_people ORDER BY Username"))
            out.push_back(row.at(0).toText() + ":" + row.at(1).toText());
        return out;
    }

    TempDir dir;
    StandinMachine machine;
    RegistryFixture registry;
    Progress progress;
    engine::StopFlag stop;
    ScriptedPrompter prompter;
    engine::Migration migration;
};

TEST_F(MigrationE2eTest, MigratedBackupRestoresOnTheMultiUserServerWithTheSamePeople)
{
    migrate();

    EXPECT_EQ(progress.finished, 1);
    EXPECT_EQ(progress.value, 105);
    EXPECT_TRUE(fs::exists(bakPath()));
    EXPECT_FALSE(fs::exists(localBackup()));
    for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
        EXPECT_EQ(fs::file_size(dir.path() / "shared" / (std::string("Labfolio.") + ext)), 100000u) << ext;
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path() / "shared"), {}), 5);

    // The administrator's part, which no task flow does: restore, mark, renew the identity.
    migration.RestoreDatabase("PC1\\MULTI", "Labfolio", bakPath().string());
    EXPECT_EQ(progress.value, 200);
    EXPECT_EQ(people("MULTI", "Labfolio"), people("VELDRIN", "LFDesktop10"));
    EXPECT_EQ(people("MULTI", "Labfolio"), (std::vector<std::string>{"PC1\\alice:0", "PC1\\bob:1"}));

    const std::string folder = machine.server.dataFolder("MULTI").string();
    std::vector<std::string> files;
    for (const auto& row : machine.sa("MULTI")->query(
             "SELECT f.name, f.physical_name FROM sys.master_files f JOIN sys.databases d ON d.database_id = "
             "f.database_id WHERE d.name = 'Labfolio' ORDER BY f.file_id"))
        files.push_back(row.at(0).toText() + "|" + fs::path(row.at(1).toText()).filename().string());
    EXPECT_EQ(files, (std::vector<std::string>{"Labfolio_data.mdf|Labfolio_Data.mdf",
                                               "Labfolio_log.mdf|Labfolio_LOG.ldf"}));
    EXPECT_TRUE(fs::exists(machine.server.dataFolder("MULTI") / "Labfolio_Data.mdf"));

    const auto guid = [&](const std::string& instance, const std::string& db) {
        return machine.sa(instance, db)
            ->scalar("SELECT data FROM ELN_parameters WHERE name = N'database guid'")
            .toText();
    };
    const std::string before = guid("MULTI", "Labfolio");
    migration.SetAdministrator("PC1\\MULTI", "Labfolio");
    EXPECT_EQ(people("MULTI", "Labfolio"), (std::vector<std::string>{"PC1\\alice:1", "PC1\\bob:1"}));
    EXPECT_NE(guid("MULTI", "Labfolio"), before);
    EXPECT_EQ(guid("MULTI", "Labfolio").size(), 36u);
}

class SlowBackupE2eTest : public MigrationE2eTest {
protected:
    SlowBackupE2eTest() : MigrationE2eTest({"--user", "PC1\\alice"}, 300) {}
};

TEST_F(SlowBackupE2eTest, StopDuringTheBackupRaisesTheServerAbortAndLeavesNoBackup)
{
    dir.write("backups/LFDesktop.BAK", "last week's backup");
    progress.onMessage = [this](const std::string& text) {
        if (text == "20 percent processed.")
            stop.request();
    };
    try {
        migrate();
        FAIL() << "the stopped migration did not fail";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040C84u);
    }
    // The label keeps the last report that arrived: the one that asked to stop, or one the
    // server had already sent before it saw the cancel.
    EXPECT_TRUE(progress.last == "20 percent processed." || progress.last == "30 percent processed.")
        << progress.last;
    EXPECT_LE(progress.value, 30);
    EXPECT_EQ(progress.finished, 0);
    EXPECT_FALSE(fs::exists(localBackup()));
    EXPECT_EQ(std::distance(fs::directory_iterator(localBackup().parent_path()), {}), 0);
    std::ifstream in(bakPath());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "last week's backup");
}

class MissingUserE2eTest : public MigrationE2eTest {
protected:
    MissingUserE2eTest() : MigrationE2eTest({"--user", "PC1\\bob"}) {}
};

TEST_F(MissingUserE2eTest, UserAbsentFromPeopleIsNamedWithTheDatabase)
{
    try {
        migrate();
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.ConfirmUser");
        EXPECT_EQ(e.description(),
                  "the user \"PC1\\alice\" is not set up in the database \"LFDesktop10\". Please run "
                  "the Labfolio program at least once before migrating the database");
    }
    EXPECT_FALSE(fs::exists(bakPath()));
}

TEST_F(MigrationE2eTest, UnreachableServerDoesNotExist)
{
    try {
        migration.ConfirmUser("PC1\\NOWHERE", "LFDesktop10");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u);
        EXPECT_EQ(e.description(), "the server \"PC1\\NOWHERE\" does not exist");
        EXPECT_EQ(e.source().rfind("DBMigrateProgressCtl.ConfirmUser/", 0), 0u) << e.source();
    }
}

TEST_F(MigrationE2eTest, RefusedLoginModeIsNamed)
{
    // A domain account makes FreeTDS log in with NTLM, a Windows login, which this server refuses.
    ScopedEnv trusted("LABFOLIO_ODBC_INTEGRATED", "UID=PC1\\alice;PWD=Alice-pw1");
    try {
        migration.ConfirmUser("PC1\\VELDRIN", "LFDesktop10");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80044814u) << e.description();
        EXPECT_EQ(e.description(), "SQL Server login mode is not allowed for the server \"PC1\\VELDRIN\"");
    }
}

} // namespace
