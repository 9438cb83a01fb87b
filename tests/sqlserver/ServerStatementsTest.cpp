#include "OdbcServerManager.h"
#include "OdbcConnection.h"

#include <gtest/gtest.h>

using namespace sqlserver;

TEST(ServerStatements, FullBackupWithSetNameDescriptionAndTenthNotifications)
{
    BackupSpec b{"LFDesktop10", "LFDesktop10_Full", "Full backup of LFDesktop10 database",
                 "C:\\Data\\LFDesktop.BAK"};
    EXPECT_EQ(backupStatement(b), "BACKUP DATABASE [LFDesktop10] TO DISK = N'C:\\Data\\LFDesktop.BAK' WITH "
                                  "INIT, NAME = N'LFDesktop10_Full', "
                                  "DESCRIPTION = N'Full backup of LFDesktop10 database', STATS = 10");
    b.checksum = true;
    EXPECT_NE(backupStatement(b).find(", CHECKSUM, STATS = 10"), std::string::npos);
}

TEST(ServerStatements, RestoreWithRelocationAndReplace)
{
    RestoreSpec r;
    r.database = "Lab]x";
    r.file = "/srv/it's.bak";
    r.relocations = {{"LFDesktop_Data", "/data/Lab_Data.mdf"}, {"LFDesktop_Log", "/data/Lab_LOG.ldf"}};
    r.replace = true;
    EXPECT_EQ(restoreStatement(r),
              "RESTORE DATABASE [Lab]]x] FROM DISK = N'/srv/it''s.bak' WITH MOVE N'LFDesktop_Data' TO "
              "N'/data/Lab_Data.mdf', MOVE N'LFDesktop_Log' TO N'/data/Lab_LOG.ldf', REPLACE, STATS = 10");
    r.relocations.clear();
    r.replace = false;
    EXPECT_EQ(restoreStatement(r), "RESTORE DATABASE [Lab]]x] FROM DISK = N'/srv/it''s.bak' WITH STATS = 10");
}

TEST(ServerStatements, PercentMessages)
{
    EXPECT_EQ(percentOf("10 percent processed."), 10);
    EXPECT_EQ(percentOf("100 percent processed."), 100);
    EXPECT_EQ(percentOf("Processed 168 pages for database 'x'"), -1);
    EXPECT_EQ(percentOf("percent"), -1);
    EXPECT_EQ(percentOf(""), -1);
}

TEST(ServerStatements, FolderOfMastersFile)
{
    EXPECT_EQ(folderOf("C:\\Program Files\\MSSQL\\DATA\\master.mdf"), "C:\\Program Files\\MSSQL\\DATA\\");
    EXPECT_EQ(folderOf("/var/opt/mssql/data/master.mdf"), "/var/opt/mssql/data/");
    EXPECT_EQ(folderOf("master.mdf"), "");
}

TEST(ServerStatements, SystemLogins)
{
    EXPECT_TRUE(isSystemLogin("sa", 1));
    EXPECT_TRUE(isSystemLogin("##MS_PolicyTsqlExecutionLogin##", 256));
    EXPECT_TRUE(isSystemLogin("NT SERVICE\\MSSQLSERVER", 260));
    EXPECT_TRUE(isSystemLogin("nt authority\\system", 261));
    EXPECT_FALSE(isSystemLogin("BUILTIN\\users", 270));
    EXPECT_FALSE(isSystemLogin("wizard", 271));
    EXPECT_FALSE(isSystemLogin("##", 272));
}

TEST(ServerStatements, QuotingOfNamesAndTexts)
{
    EXPECT_EQ(quoteIdentifier("ELN_people"), "[ELN_people]");
    EXPECT_EQ(quoteIdentifier("a]b"), "[a]]b]");
    EXPECT_EQ(quoteText("O'Brien"), "N'O''Brien'");
    EXPECT_EQ(sqlLiteral(Value()), "NULL");
    EXPECT_EQ(sqlLiteral(Value(42)), "42");
    EXPECT_EQ(sqlLiteral(Value("x")), "N'x'");
}

TEST(NameList, ItemZeroAndItemsPastTheCountAreEmpty)
{
    NameList list({"LABSRV", "LABSRV\\VELDRIN"});
    EXPECT_EQ(list.Count(), 2);
    EXPECT_EQ(list.Item(0), "");
    EXPECT_EQ(list.Item(1), "LABSRV");
    EXPECT_EQ(list.Item(2), "LABSRV\\VELDRIN");
    EXPECT_EQ(list.Item(3), "");
    EXPECT_EQ(list.Item(-1), "");
    EXPECT_EQ(NameList().Count(), 0);
}

TEST(OperationControl, AbortCallsTheCancellerAndSetsTheFlag)
{
    OperationControl c;
    int cancels = 0;
    EXPECT_FALSE(c.AbortRequested());
    c.setCanceller([&] { ++cancels; });
    c.Abort();
    EXPECT_TRUE(c.AbortRequested());
    EXPECT_EQ(cancels, 1);
    c.setCanceller({});
    c.Abort();
    EXPECT_EQ(cancels, 1);
}

TEST(Value, Conversions)
{
    EXPECT_EQ(Value("12").toInt(), 12);
    EXPECT_EQ(Value(int64_t{7}).toText(), "7");
    EXPECT_EQ(Value().toText(), "");
    EXPECT_TRUE(Value().isNull());
    EXPECT_EQ(Value("abc").actualSize(), 3u);
    EXPECT_EQ(Value().actualSize(), 0u);
    EXPECT_EQ(Value(1.5).toText(), "1.5");
}
