// The server-management model against the SQL Server stand-in, through unixODBC and FreeTDS.
#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "ServerManager.h"
#include "sqlserver_E2eSupport.h"

using namespace sqlserver;

namespace {

std::unique_ptr<ServerConnection> connectAs(const std::string& server, const std::string& user = {},
                                            const std::string& password = {})
{
    ConnectOptions o;
    o.server = server;
    o.loginTimeoutSeconds = 10;
    if (!user.empty()) {
        o.loginSecure = false;
        o.user = user;
        o.password = password;
    }
    return serverManager().Connect(o);
}

void makeDatabase(StandinMachine& m, const std::string& instance, const std::string& name, int rows)
{
    m.sa(instance)->Execute("CREATE DATABASE " + name);
    auto c = m.sa(instance, name);
    c->Execute("CREATE TABLE ELN_people (UserName nvarchar(100) NOT NULL, is_administrator int NOT NULL)");
    for (int i = 0; i < rows; ++i)
        c->Execute("INSERT INTO ELN_people (UserName, is_administrator) VALUES (N'user" + std::to_string(i) +
                   "', 0)");
    // The server ends a session some time after the client closes it; until then the session
    // would keep the new database in use, and a drop or restore right after would be refused.
    c->Execute("USE master");
}

// Backs the desktop database up into the scratch folder and describes its restore as
// "Labfolio_9" with both files moved into master's folder.
RestoreSpec backUpForRestoreAsLabfolio9(StandinMachine& m, ServerConnection& s)
{
    const std::string file = (m.server.scratchFolder() / "LFDesktop.BAK").string();
    OperationControl backup;
    s.Backup(BackupSpec{"LFDesktop10", "LFDesktop10_Full", "Full backup of LFDesktop10 database", file}, backup);
    const auto files = s.ReadBackupFileList(file);
    EXPECT_EQ(files.size(), 2u);
    if (files.size() < 2)
        throw std::runtime_error("the backup lists fewer than two files");
    const std::string folder = s.MasterDataFolder();
    RestoreSpec r;
    r.database = "Labfolio_9";
    r.file = file;
    r.relocations = {{files[0].logicalName, folder + "Labfolio_9_Data.mdf"},
                     {files[1].logicalName, folder + "Labfolio_9_LOG.ldf"}};
    return r;
}

} // namespace

TEST(ServerModelE2e, NamesOfServerWorkstationAndMachine)
{
    StandinMachine m({StandinMachine::instance("VELDRIN", "LABSRV2")});
    auto s = connectAs("PC1\\VELDRIN");
    EXPECT_EQ(s->Name(), "LABSRV2\\VELDRIN");
    EXPECT_EQ(s->NetName(), "LABSRV2");
    EXPECT_EQ(s->WorkstationName(), clientHostName());
}

TEST(ServerModelE2e, SysadminCanCreateDatabasesAndAPlainLoginCannot)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    EXPECT_TRUE(connectAs("PC1\\VELDRIN")->CanCreateDatabases());
    EXPECT_FALSE(connectAs("PC1\\VELDRIN", "chemist", "Chemist-pw1")->CanCreateDatabases());
}

TEST(ServerModelE2e, DatabasesInCatalogOrderWithTheUsableFlag)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    makeDatabase(m, "VELDRIN", "Labfolio_A", 0);
    makeDatabase(m, "VELDRIN", "Labfolio_B", 0);
    auto wizard = connectAs("PC1\\VELDRIN")->Databases();
    std::vector<std::string> names;
    for (const auto& d : wizard) {
        names.push_back(d.name);
        EXPECT_TRUE(d.canUse) << d.name;
        EXPECT_EQ(d.isSystem, d.name == "master") << d.name;
    }
    ASSERT_GE(names.size(), 3u);
    EXPECT_EQ(names.front(), "master");
    EXPECT_EQ(names[names.size() - 2], "Labfolio_A");
    EXPECT_EQ(names.back(), "Labfolio_B");

    bool sawA = false;
    for (const auto& d : connectAs("PC1\\VELDRIN", "chemist", "Chemist-pw1")->Databases()) {
        if (d.name == "Labfolio_A") {
            sawA = true;
            EXPECT_FALSE(d.canUse); // no user in that database
        }
        if (d.name == "master") {
            EXPECT_TRUE(d.canUse);
        }
    }
    EXPECT_TRUE(sawA);
}

TEST(ServerModelE2e, LoginsWithTheSystemFlag)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    bool sawSa = false, sawChemist = false;
    for (const auto& l : connectAs("PC1\\VELDRIN")->Logins()) {
        if (l.name == "sa") {
            sawSa = true;
            EXPECT_TRUE(l.isSystem);
        }
        if (l.name == "chemist") {
            sawChemist = true;
            EXPECT_FALSE(l.isSystem);
        }
    }
    EXPECT_TRUE(sawSa);
    EXPECT_TRUE(sawChemist);
}

TEST(ServerModelE2e, RemoveLoginAndDatabase)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    makeDatabase(m, "VELDRIN", "LFOffline9", 1);
    auto s = connectAs("PC1\\VELDRIN");
    s->RemoveDatabase("LFOffline9");
    s->RemoveLogin("chemist");
    for (const auto& d : s->Databases())
        EXPECT_NE(d.name, "LFOffline9");
    for (const auto& l : s->Logins())
        EXPECT_NE(l.name, "chemist");
    EXPECT_THROW(s->RemoveDatabase("LFOffline9"), LfError);
}

TEST(ServerModelE2e, MasterDataFolderEndsWithASeparator)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    const std::string folder = connectAs("PC1\\VELDRIN")->MasterDataFolder();
    ASSERT_FALSE(folder.empty());
    EXPECT_EQ(folder.back(), '/');
    EXPECT_TRUE(std::filesystem::exists(folder + "master.mdf") || std::filesystem::is_directory(folder))
        << folder;
}

TEST(ServerModelE2e, NetworkListNamesEveryInstance)
{
    StandinMachine m(
        {StandinMachine::instance("MSSQLSERVER", "LABSRV2"), StandinMachine::instance("VELDRIN", "LABSRV2")});
    const NameList list = serverManager().ListAvailableSQLServers();
    EXPECT_EQ(list.Count(), 2);
    EXPECT_EQ(list.Item(0), "");
    std::vector<std::string> names{list.Item(1), list.Item(2)};
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"LABSRV2", "LABSRV2\\VELDRIN"}));
}

TEST(ServerModelE2e, WrongPasswordIsTheServersLoginError)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    try {
        connectAs("PC1\\VELDRIN", "chemist", "wrong");
        FAIL() << "connected";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u + 18456u);
        EXPECT_NE(e.description().find("chemist"), std::string::npos) << e.description();
    }
}

TEST(ServerModelE2e, UnknownInstanceDoesNotExist)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    try {
        connectAs("PC1\\NOPE");
        FAIL() << "connected";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u);
    }
}

TEST(ServerModelE2e, BackupReportsRisingProgressToOneHundred)
{
    // Steps of 200 ms: the whole backup takes two seconds after its first report.
    StandinMachine m({StandinMachine::instance("VELDRIN")}, 200);
    makeDatabase(m, "VELDRIN", "LFDesktop10", 20);
    const std::string file = (m.server.scratchFolder() / "LFDesktop.BAK").string();
    std::vector<int> percents;
    std::vector<std::string> texts;
    std::vector<bool> fileThere;
    OperationControl control;
    control.onProgress = [&](int p, const std::string& t) {
        percents.push_back(p);
        texts.push_back(t);
        fileThere.push_back(std::filesystem::exists(file));
    };
    auto s = connectAs("PC1\\VELDRIN");
    s->Backup(BackupSpec{"LFDesktop10", "LFDesktop10_Full", "Full backup of LFDesktop10 database", file, true,
                         true},
              control);
    ASSERT_GE(percents.size(), 2u);
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_EQ(percents.back(), 100);
    EXPECT_EQ(texts.back(), "100 percent processed.");
    // The first report came while the backup still ran: its file is written only at the end.
    EXPECT_FALSE(fileThere.front());
    EXPECT_TRUE(std::filesystem::exists(file));
    const auto files = s->ReadBackupFileList(file);
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0].type, "D");
    EXPECT_EQ(files[1].type, "L");
}

TEST(ServerModelE2e, AbortFromAnotherThreadEndsTheBackupWithTheServersError)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")}, 200); // about two seconds a backup
    makeDatabase(m, "VELDRIN", "LFDesktop10", 5);
    const std::string file = (m.server.scratchFolder() / "LFDesktop.BAK").string();
    auto s = connectAs("PC1\\VELDRIN");
    OperationControl control;
    std::vector<int> percents;
    control.onProgress = [&](int p, const std::string&) { percents.push_back(p); };
    std::thread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        control.Abort();
    });
    try {
        s->Backup(BackupSpec{"LFDesktop10", "LFDesktop10_Full", "Full backup of LFDesktop10 database", file},
                  control);
        stopper.join();
        FAIL() << "the backup was not aborted";
    } catch (const LfError& e) {
        stopper.join();
        EXPECT_TRUE(control.AbortRequested());
        // 3204: "The backup or restore was aborted."
        EXPECT_EQ(e.number(), 0x80040000u + 3204u) << e.description();
        EXPECT_NE(e.description().find("aborted"), std::string::npos) << e.description();
    }
    if (!percents.empty()) {
        EXPECT_LT(percents.back(), 100);
    }
    // No file is left that claims to be a complete backup.
    if (std::filesystem::exists(file)) {
        EXPECT_THROW(s->ReadBackupFileList(file), LfError);
    }
    // The connection is usable after the abort.
    EXPECT_FALSE(s->Databases().empty());
}

TEST(ServerModelE2e, StopFromAnotherThreadBetweenTwoResultsEndsTheBackupWithTheServersError)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")}, 200);
    makeDatabase(m, "VELDRIN", "LFDesktop10", 5);
    const std::string file = (m.server.scratchFolder() / "LFDesktop.BAK").string();
    auto c = m.sa("VELDRIN");
    bool stopped = false;
    // The first report is being handled, so no driver call is under way when the Stop comes;
    // it comes twice, as the command line repeats it until the step ends.
    c->SetMessageHandler([&](const ServerMessage& msg) {
        if (msg.text.find("percent processed") == std::string::npos || stopped)
            return;
        stopped = true;
        std::thread stopper([&] {
            c->Cancel();
            c->Cancel();
        });
        stopper.join();
    });
    try {
        c->Execute("BACKUP DATABASE LFDesktop10 TO DISK = N'" + file + "' WITH INIT, STATS = 10");
        FAIL() << "the backup was not stopped";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u + 3204u) << e.description();
        EXPECT_NE(e.description().find("The backup or restore was aborted."), std::string::npos)
            << e.description();
    }
    EXPECT_TRUE(stopped);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(c->scalar("SELECT 5").toInt(), 5); // the connection goes on
}

TEST(ServerModelE2e, RestoreWithRelocationAndReplace)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    makeDatabase(m, "VELDRIN", "LFDesktop10", 7);
    auto s = connectAs("PC1\\VELDRIN");
    const std::string folder = s->MasterDataFolder();
    RestoreSpec r = backUpForRestoreAsLabfolio9(m, *s);
    r.replace = true;
    std::vector<int> percents;
    OperationControl control;
    control.onProgress = [&](int p, const std::string&) { percents.push_back(p); };
    s->Restore(r, control);
    ASSERT_FALSE(percents.empty());
    EXPECT_EQ(percents.back(), 100);
    EXPECT_TRUE(std::filesystem::exists(folder + "Labfolio_9_Data.mdf"));

    auto c = m.sa("VELDRIN", "Labfolio_9");
    EXPECT_EQ(c->scalar("SELECT COUNT(*) FROM ELN_people").toInt(), 7);

    // Restoring over the database again needs REPLACE.
    r.replace = false;
    r.relocations.clear();
    OperationControl again;
    EXPECT_THROW(s->Restore(r, again), LfError);
}

TEST(ServerModelE2e, AbortEndsARestoreAndTheTargetIsNotLeftAsARestoredDatabase)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")}, 150);
    makeDatabase(m, "VELDRIN", "LFDesktop10", 3);
    auto s = connectAs("PC1\\VELDRIN");
    const std::string folder = s->MasterDataFolder();
    RestoreSpec r = backUpForRestoreAsLabfolio9(m, *s);
    OperationControl control;
    std::thread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        control.Abort();
    });
    EXPECT_THROW(s->Restore(r, control), LfError);
    stopper.join();
    // A stopped restore leaves no usable database behind.
    bool usable = false;
    try {
        usable = m.sa("VELDRIN", "Labfolio_9")->scalar("SELECT COUNT(*) FROM ELN_people").toInt() == 3;
    } catch (const LfError&) {
    }
    EXPECT_FALSE(usable);
}

TEST(ServerModelE2e, AbortFromTheProgressNotificationEndsTheBackup)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")}, 100);
    makeDatabase(m, "VELDRIN", "LFDesktop10", 5);
    const std::string file = (m.server.scratchFolder() / "LFDesktop.BAK").string();
    auto s = connectAs("PC1\\VELDRIN");
    OperationControl control;
    std::vector<int> percents;
    // As the progress page does: a Stop seen in a notification aborts the running backup.
    control.onProgress = [&](int p, const std::string&) {
        percents.push_back(p);
        if (p >= 20)
            control.Abort();
    };
    try {
        s->Backup(BackupSpec{"LFDesktop10", "LFDesktop10_Full", "Full backup of LFDesktop10 database", file},
                  control);
        FAIL() << "the backup was not aborted";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u + 3204u) << e.description();
    }
    ASSERT_FALSE(percents.empty());
    EXPECT_LT(percents.back(), 100);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(s->Databases().empty());
}
