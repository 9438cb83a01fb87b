// SQLServerUtils against the SQL Server stand-in, through unixODBC and FreeTDS.
#include <gtest/gtest.h>

#include "RegistryFixture.h"
#include "SQLServerUtils.h"
#include "ServerManager.h"
#include "sqlserver_E2eSupport.h"

using namespace SQLServerUtils;

TEST(FindLocalServerWithDatabaseE2e, DatabaseOnTheSecondOfTwoAnsweringInstances)
{
    StandinMachine m({StandinMachine::instance("VELDRIN"), StandinMachine::instance("LABS")});
    m.sa("LABS")->Execute("CREATE DATABASE LFOffline9");
    RegistryFixture registry(regtext::installedInstances({"VELDRIN", "LABS"}));
    EXPECT_EQ(FindLocalServerWithDatabase("lfoffline9"), "PC1\\LABS");
}

TEST(FindLocalServerWithDatabaseE2e, DatabaseOnTheFirstStopsThere)
{
    StandinMachine m({StandinMachine::instance("VELDRIN"), StandinMachine::instance("LABS")});
    m.sa("VELDRIN")->Execute("CREATE DATABASE LFDesktop10");
    RegistryFixture registry(regtext::installedInstances({"VELDRIN", "LABS"}));
    EXPECT_EQ(FindLocalServerWithDatabase("LFDesktop10"), "PC1\\VELDRIN");
}

TEST(FindLocalServerWithDatabaseE2e, OnNeitherGivesTheLastAnsweringInstance)
{
    StandinMachine m({StandinMachine::instance("VELDRIN"), StandinMachine::instance("LABS")});
    // GONE is installed but not running: it does not answer and is skipped.
    RegistryFixture registry(regtext::installedInstances({"VELDRIN", "LABS", "GONE"}));
    EXPECT_EQ(FindLocalServerWithDatabase("LFOffline9"), "PC1\\LABS");
}

TEST(FindLocalServerWithDatabaseE2e, DefaultInstanceIsReachedByAnEmptyNameAndShownAsLocal)
{
    StandinMachine m({StandinMachine::instance("MSSQLSERVER"), StandinMachine::instance("VELDRIN")});
    m.sa("MSSQLSERVER")->Execute("CREATE DATABASE LFDesktop10");
    RegistryFixture registry(regtext::installedInstances({"VELDRIN", "MSSQLSERVER"}));
    EXPECT_EQ(FindLocalServerWithDatabase("LFDesktop10"), "(local)");
}

TEST(FindLocalServerWithDatabaseE2e, NoAnsweringInstanceRaisesTheNoInstancesError)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    RegistryFixture registry(regtext::installedInstances({"GONE", "ALSOGONE"}));
    try {
        FindLocalServerWithDatabase("LFDesktop10");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), "");
        EXPECT_EQ(e.description(), "there are no local SQLServer or MSDE instances installed");
    }
}

TEST(IsLocalServerE2e, TrueWhenTheServerRunsOnThisComputer)
{
    StandinMachine m({StandinMachine::instance("VELDRIN", clientHostName())});
    EXPECT_TRUE(IsLocalServer("PC1\\VELDRIN"));
    EXPECT_TRUE(IsLocalServer("127.0.0.1," + std::to_string(m.server.port("VELDRIN"))));
}

TEST(IsLocalServerE2e, FalseWhenTheServerReportsAnotherMachine)
{
    StandinMachine m({StandinMachine::instance("VELDRIN", "LABSRV2")});
    EXPECT_FALSE(IsLocalServer("PC1\\VELDRIN"));
}

TEST(IsLocalServerE2e, UnknownInstanceIsRaisedWithTheProgressPagesSource)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    try {
        IsLocalServer("PC1\\NOPE");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u);
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.IsLocalServer");
        EXPECT_EQ(
            e.description().rfind("while testing whether the server \"PC1\\NOPE\" is a local server, ", 0),
            0u)
            << e.description();
    }
}

TEST(DatabaseExistsE2e, NamesCompareWithoutRegardToCase)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    m.sa("VELDRIN")->Execute("CREATE DATABASE LFDesktop10");
    sqlserver::ConnectOptions o;
    o.server = "PC1\\VELDRIN";
    auto server = sqlserver::serverManager().Connect(o);
    EXPECT_TRUE(DatabaseExists(*server, "LFDesktop10"));
    EXPECT_TRUE(DatabaseExists(*server, "lfdesktop10"));
    EXPECT_TRUE(DatabaseExists(*server, "MASTER"));
    EXPECT_FALSE(DatabaseExists(*server, "LFOffline9"));
}
