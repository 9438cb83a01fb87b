#include "EngineFixture.h"

#include <filesystem>
#include <fstream>

using namespace standin;
namespace fs = std::filesystem;

class BackupRestoreTest : public EngineTest {
protected:
    void SetUp() override
    {
        EngineTest::SetUp();
        auto s = sa();
        ok(*s, "CREATE DATABASE LFDesktop10");
        ok(*s, "USE LFDesktop10; CREATE TABLE ELN_people (Username nvarchar(100), is_administrator bit);"
               "INSERT INTO ELN_people VALUES (N'LAB\\alice', 0), (N'LAB\\bob', 1)");
        fs::create_directories(m_dir.path() / "backups");
    }

    std::string backupPath() const { return (m_dir.path() / "backups" / "LFDesktop.BAK").string(); }

    std::string backupStatement(const std::string& path) const
    {
        return "BACKUP DATABASE [LFDesktop10] TO DISK = N'" + path +
               "' WITH INIT, NAME = N'LFDesktop10_Full', DESCRIPTION = N'Full backup of LFDesktop10 "
               "database', "
               "STATS = 10, CHECKSUM";
    }

    static bool anyFileIn(const fs::path& folder)
    {
        return fs::exists(folder) && fs::directory_iterator(folder) != fs::directory_iterator();
    }
};

TEST_F(BackupRestoreTest, BackupReportsProgressInOrderThenCompletion)
{
    auto s = sa();
    auto sink = ok(*s, backupStatement(backupPath()));
    ASSERT_TRUE(fs::exists(backupPath()));
    auto msgs = sink.messages();
    ASSERT_EQ(msgs.size(), 13u);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(msgs[i].number, 3211);
        EXPECT_EQ(msgs[i].severity, 10);
        EXPECT_EQ(msgs[i].text, std::to_string((i + 1) * 10) + " percent processed.");
    }
    EXPECT_EQ(msgs[10].number, 4035);
    EXPECT_EQ(msgs[10].text.rfind("Processed ", 0), 0u);
    EXPECT_NE(msgs[10].text.find(" pages for database 'LFDesktop10', file 'LFDesktop10' on file 1."),
              std::string::npos);
    EXPECT_NE(msgs[11].text.find("file 'LFDesktop10_log' on file 1."), std::string::npos);
    EXPECT_EQ(msgs[12].number, 3014);
    EXPECT_EQ(msgs[12].text.rfind("BACKUP DATABASE successfully processed ", 0), 0u);
    EXPECT_NE(msgs[12].text.find(" MB/sec)."), std::string::npos);
    // The only file in the folder is the finished backup: no temporary left behind.
    EXPECT_EQ(std::distance(fs::directory_iterator(m_dir.path() / "backups"), fs::directory_iterator()), 1);
}

TEST_F(BackupRestoreTest, CancelMidBackupLeavesNoFile)
{
    auto s = sa();
    RecordingSink sink;
    sink.onMessage = [&](const ServerMessage& m) {
        if (m.text == "30 percent processed.")
            sink.cancel = true;
    };
    s->executeBatch(backupStatement(backupPath()), sink);
    EXPECT_FALSE(fs::exists(backupPath()));
    EXPECT_FALSE(anyFileIn(m_dir.path() / "backups"));
    auto errors = sink.errors();
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0].number, 3204);
    EXPECT_EQ(errors[0].text, "The backup or restore was aborted.");
    EXPECT_EQ(errors[1].number, 3013);
    EXPECT_EQ(errors[1].severity, 16);
    EXPECT_EQ(errors[1].text, "BACKUP DATABASE is terminating abnormally.");
    for (const auto& m : sink.messages())
        EXPECT_NE(m.text, "40 percent processed.");
}

TEST_F(BackupRestoreTest, BadPathGives3201Then3013)
{
    auto s = sa();
    const std::string bad = (m_dir.path() / "no-such-folder" / "x.bak").string();
    auto sink = run(*s, backupStatement(bad));
    auto errors = sink.errors();
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0].number, 3201);
    EXPECT_EQ(errors[0].text, "Cannot open backup device '" + bad +
                                  "'. Operating system error 3(The system cannot find the path specified.).");
    EXPECT_EQ(errors[1].number, 3013);
    EXPECT_FALSE(anyFileIn(m_dir.path() / "no-such-folder"));
}

TEST_F(BackupRestoreTest, FileListHeaderAndVerify)
{
    auto s = sa();
    ok(*s, backupStatement(backupPath()));
    auto list = ok(*s, "RESTORE FILELISTONLY FROM DISK = N'" + backupPath() + "'");
    auto cols = list.columnsOf(0);
    ASSERT_GE(cols.size(), 6u);
    EXPECT_EQ(cols[0].name, "LogicalName");
    EXPECT_EQ(cols[1].name, "PhysicalName");
    EXPECT_EQ(cols[2].name, "Type");
    EXPECT_EQ(cols[3].name, "FileGroupName");
    EXPECT_EQ(cols[4].name, "Size");
    EXPECT_EQ(cols[5].name, "MaxSize");
    auto rows = list.rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][0], V("LFDesktop10"));
    EXPECT_EQ(rows[0][1], V((fs::path(config().dataFolder) / "LFDesktop10.mdf").string().c_str()));
    EXPECT_EQ(rows[0][2], V("D"));
    EXPECT_EQ(rows[0][3], V("PRIMARY"));
    EXPECT_EQ(rows[1][0], V("LFDesktop10_log"));
    EXPECT_EQ(rows[1][2], V("L"));

    auto header = ok(*s, "RESTORE HEADERONLY FROM DISK = '" + backupPath() + "'");
    auto hcols = header.columnsOf(0);
    auto h = header.rows().at(0);
    auto field = [&](const std::string& name) {
        for (size_t i = 0; i < hcols.size(); ++i)
            if (hcols[i].name == name)
                return h[i];
        ADD_FAILURE() << "no column " << name;
        return Value();
    };
    EXPECT_EQ(hcols[0].name, "BackupName");
    EXPECT_EQ(field("BackupName"), V("LFDesktop10_Full"));
    EXPECT_EQ(field("BackupDescription"), V("Full backup of LFDesktop10 database"));
    EXPECT_EQ(field("BackupType"), V(1));
    EXPECT_EQ(field("DatabaseName"), V("LFDesktop10"));
    EXPECT_EQ(field("ServerName"), V("LABPC\\VELDRIN"));

    auto verify = ok(*s, "RESTORE VERIFYONLY FROM DISK = '" + backupPath() + "'");
    ASSERT_EQ(verify.messages().size(), 1u);
    EXPECT_EQ(verify.messages()[0].text, "The backup set on file 1 is valid.");

    // One flipped byte in the middle and the set is damaged.
    {
        std::fstream f(backupPath(), std::ios::in | std::ios::out | std::ios::binary);
        f.seekg(0, std::ios::end);
        const auto size = f.tellg();
        f.seekp(size / 2);
        char c = 0;
        f.seekg(size / 2);
        f.get(c);
        f.seekp(size / 2);
        f.put(static_cast<char>(c ^ 0x5A));
    }
    auto damaged = run(*s, "RESTORE VERIFYONLY FROM DISK = '" + backupPath() + "'");
    ASSERT_EQ(damaged.errors().size(), 2u);
    EXPECT_EQ(damaged.errors()[0].number, 3189);
    EXPECT_EQ(damaged.errors()[1].text, "VERIFY DATABASE is terminating abnormally.");
}

TEST_F(BackupRestoreTest, RestoreWithMoveThenQueryRestoredDatabase)
{
    auto s = sa();
    ok(*s, backupStatement(backupPath()));
    const fs::path target = m_dir.path() / "server2";
    fs::create_directories(target);
    const std::string dataFile = (target / "LFShared_Data.mdf").string();
    const std::string logFile = (target / "LFShared_LOG.ldf").string();
    auto sink = ok(*s, "RESTORE DATABASE [LFShared] FROM DISK = N'" + backupPath() +
                           "' WITH MOVE N'LFDesktop10' TO N'" + dataFile +
                           "', MOVE N'LFDesktop10_log' TO N'" + logFile + "', REPLACE, STATS = 25");
    std::vector<std::string> texts;
    for (const auto& m : sink.messages())
        texts.push_back(m.text);
    ASSERT_GE(texts.size(), 5u);
    EXPECT_EQ(texts[0], "25 percent processed.");
    EXPECT_EQ(texts[3], "100 percent processed.");
    EXPECT_EQ(texts.back().rfind("RESTORE DATABASE successfully processed ", 0), 0u);
    EXPECT_TRUE(fs::exists(dataFile));
    EXPECT_TRUE(fs::exists(logFile));
    auto files =
        ok(*s, "SELECT name, physical_name FROM sys.master_files WHERE database_id = DB_ID('LFShared') "
               "ORDER BY file_id");
    EXPECT_EQ(files.rows(), (std::vector<std::vector<Value>>{{V("LFDesktop10"), V(dataFile.c_str())},
                                                             {V("LFDesktop10_log"), V(logFile.c_str())}}));
    auto shared = sa("LFShared");
    ASSERT_TRUE(shared);
    EXPECT_EQ(scalar(*shared, "SELECT Username FROM ELN_people WHERE is_administrator = 1"), V("LAB\\bob"));
    // The wizard's renaming of the logical files after its restore.
    ok(*shared, "ALTER DATABASE LFShared MODIFY FILE (Name = [LFDesktop10], NEWName = [LFShared_data.mdf])");
    ok(*shared,
       "ALTER DATABASE LFShared MODIFY FILE (Name = [LFDesktop10_log], NEWName = [LFShared_log.mdf])");
    auto renamed = ok(*s, "RESTORE FILELISTONLY FROM DISK = N'" + backupPath() + "'");
    EXPECT_EQ(renamed.rows().at(0).at(0), V("LFDesktop10")); // the backup itself is unchanged
    auto names =
        ok(*s, "SELECT name FROM sys.master_files WHERE database_id = DB_ID('LFShared') ORDER BY file_id");
    EXPECT_EQ(names.rows(),
              (std::vector<std::vector<Value>>{{V("LFShared_data.mdf")}, {V("LFShared_log.mdf")}}));
}

TEST_F(BackupRestoreTest, RestoreOverExistingDatabaseNeedsReplace)
{
    auto s = sa();
    ok(*s, backupStatement(backupPath()));
    ok(*s, "USE LFDesktop10; DELETE FROM ELN_people; USE master");
    auto refused = run(*s, "RESTORE DATABASE LFDesktop10 FROM DISK = '" + backupPath() + "'");
    auto errors = refused.errors();
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0].number, 3159);
    EXPECT_NE(errors[0].text.find("Use the WITH REPLACE or WITH STOPAT clause"), std::string::npos);
    EXPECT_EQ(errors[1].number, 3013);
    EXPECT_EQ(errors[1].text, "RESTORE DATABASE is terminating abnormally.");
    {
        auto busy = sa("LFDesktop10");
        auto inUse = run(*s, "RESTORE DATABASE LFDesktop10 FROM DISK = '" + backupPath() + "' WITH REPLACE");
        ASSERT_EQ(inUse.errors().size(), 2u);
        EXPECT_EQ(inUse.errors()[0].number, 3101);
    }
    ok(*s, "RESTORE DATABASE LFDesktop10 FROM DISK = '" + backupPath() + "' WITH REPLACE");
    auto back = sa("LFDesktop10");
    EXPECT_EQ(scalar(*back, "SELECT COUNT(*) FROM ELN_people"), V(2));
}

TEST_F(BackupRestoreTest, CancelMidRestoreLeavesNoDatabase)
{
    auto s = sa();
    ok(*s, backupStatement(backupPath()));
    const std::string dataFile = (m_dir.path() / "backups" / "Half_Data.mdf").string();
    const std::string logFile = (m_dir.path() / "backups" / "Half_LOG.ldf").string();
    RecordingSink sink;
    sink.onMessage = [&](const ServerMessage& m) {
        if (m.text == "50 percent processed.")
            sink.cancel = true;
    };
    s->executeBatch("RESTORE DATABASE Half FROM DISK = '" + backupPath() + "' WITH MOVE 'LFDesktop10' TO '" +
                        dataFile + "', MOVE 'LFDesktop10_log' TO '" + logFile + "', STATS = 10",
                    sink);
    ASSERT_EQ(sink.errors().size(), 2u);
    EXPECT_EQ(sink.errors()[0].number, 3204);
    EXPECT_EQ(sink.errors()[1].text, "RESTORE DATABASE is terminating abnormally.");
    EXPECT_FALSE(fs::exists(dataFile));
    EXPECT_FALSE(fs::exists(logFile));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_dir.path() / "backups"), fs::directory_iterator()), 1);
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM sys.databases WHERE name = 'Half'"), V(0));
}

TEST_F(BackupRestoreTest, RestoreOfMissingOrForeignFile)
{
    auto s = sa();
    const std::string missing = (m_dir.path() / "backups" / "none.bak").string();
    auto a = run(*s, "RESTORE FILELISTONLY FROM DISK = '" + missing + "'");
    ASSERT_EQ(a.errors().size(), 2u);
    EXPECT_EQ(a.errors()[0].text,
              "Cannot open backup device '" + missing +
                  "'. Operating system error 2(The system cannot find the file specified.).");
    EXPECT_EQ(a.errors()[1].text, "RESTORE FILELIST is terminating abnormally.");
    const auto foreign = m_dir.write("backups/foreign.bak", "not a backup at all");
    auto b = run(*s, "RESTORE HEADERONLY FROM DISK = '" + foreign.string() + "'");
    ASSERT_EQ(b.errors().size(), 2u);
    EXPECT_EQ(b.errors()[0].number, 3241);
}

// The migration's path: a desktop database backed up on one instance and restored on another
// keeps its Windows users, whose logins exist on both.
TEST_F(BackupRestoreTest, WindowsUsersSurviveARestoreOnAnotherInstance)
{
    auto s = sa();
    ok(*s, "CREATE LOGIN [LAB\\alice] FROM WINDOWS; USE LFDesktop10; CREATE USER [LAB\\alice] FOR LOGIN "
           "[LAB\\alice]; "
           "EXEC sp_addrolemember 'db_owner', 'LAB\\alice'");
    ok(*s, backupStatement(backupPath()));

    TempDir otherFolder;
    InstanceConfig other = config();
    other.dataFolder = (otherFolder.path() / "server").string();
    other.instanceName = "MSSQLSERVER";
    auto server = openInstance(other);
    LoginRequest saRequest;
    saRequest.userName = "sa";
    saRequest.password = saPassword();
    ServerMessage error;
    auto admin = server->login(saRequest, error);
    ASSERT_TRUE(admin) << error.text;
    ok(*admin, "CREATE LOGIN [LAB\\Alice] FROM WINDOWS");
    ok(*admin, "RESTORE DATABASE LFShared FROM DISK = '" + backupPath() + "' WITH MOVE 'LFDesktop10' TO '" +
                   (otherFolder.path() / "server" / "LFShared_Data.mdf").string() +
                   "', MOVE 'LFDesktop10_log' TO '" +
                   (otherFolder.path() / "server" / "LFShared_LOG.ldf").string() + "'");
    LoginRequest alice;
    alice.userName = "LAB\\alice";
    alice.database = "LFShared";
    alice.windowsAuthenticated = true;
    auto session = server->login(alice, error);
    ASSERT_TRUE(session) << error.text;
    EXPECT_EQ(scalar(*session, "SELECT COUNT(*) FROM ELN_people"), V(2));
    EXPECT_EQ(scalar(*session, "SELECT IS_MEMBER('db_owner')"), V(1));
}
