// The migration over fake servers and databases: steps, texts, progress points and errors.
#include "MigrationFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

const char* const kIndexExtensions[] = {"mst", "msx", "mss", "msk", "msf"};

class MigrationTest : public ::testing::Test, public MigrationFixture {
protected:
    LfError migrateFails(const std::string& target = "LABSRV2")
    {
        try {
            migrateTo(target);
        } catch (const LfError& e) {
            return e;
        }
        ADD_FAILURE() << "the migration did not fail";
        return LfError(0, "", "");
    }
    int finishedCount() const
    {
        const auto e = progress.events();
        return static_cast<int>(std::count(e.begin(), e.end(), "finished"));
    }
};

TEST_F(MigrationTest, RemoteTargetConfirmsBacksUpAndCopiesInOrder)
{
    migrateTo("LABSRV2");

    EXPECT_THAT(progress.messages(),
                ElementsAre("Confirming User Access to server \"PC1\\VELDRIN\"...", "Backing Up Database...",
                            "10 percent processed.", "20 percent processed.", "30 percent processed.",
                            "40 percent processed.", "50 percent processed.", "60 percent processed.",
                            "70 percent processed.", "80 percent processed.", "90 percent processed.",
                            "100 percent processed.", "Copying Database Backup File...",
                            "Copying Chemical Structure Index..."));
    const auto events = progress.events();
    EXPECT_EQ(events.at(0), "max:205");
    EXPECT_EQ(events.at(1), "value:0");
    EXPECT_EQ(events.back(), "finished");
    EXPECT_EQ(finishedCount(), 1);
    EXPECT_EQ(progress.lastValue(), 105);

    ASSERT_EQ(server->backups().size(), 1u);
    const auto backup = server->backups().front();
    EXPECT_EQ(backup.database, "LFDesktop10");
    EXPECT_EQ(backup.setName, "LFDesktop10_Full");
    EXPECT_EQ(backup.setDescription, "Full backup of LFDesktop10 database");
    EXPECT_EQ(backup.file, localBackup().string());
    EXPECT_TRUE(backup.checksum);
    EXPECT_TRUE(backup.verify);

    EXPECT_EQ(readFile(bakPath()), server->backupBytes);
    EXPECT_FALSE(std::filesystem::exists(localBackup()));
    for (const char* ext : kIndexExtensions)
        EXPECT_EQ(readFile(dir.path() / "shared" / (std::string("Labfolio.") + ext)),
                  std::string("index file ") + ext);
    // Nothing but the five index files in the target folder: no temporary copies left.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path() / "shared"), {}), 5);
}

TEST_F(MigrationTest, UserIsConfirmedWithTheTrustedStringAndTheProcessName)
{
    migrateTo("LABSRV2");
    const auto strings = database.connectionStrings();
    EXPECT_EQ(strings.front(), "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;"
                               "Initial Catalog=LFDesktop10;Data Source=PC1\\VELDRIN");
    EXPECT_EQ(database.statements().front(), "SELECT COUNT(*) from ELN_people WHERE Username = 'PC1\\alice'");
    EXPECT_EQ(database.opened(), database.closed());
}

TEST_F(MigrationTest, ServersBefore2005BackUpWithoutChecksumsButStillVerify)
{
    database.productVersion = "8.00.2039";
    migrateTo("LABSRV2");
    EXPECT_FALSE(server->backups().at(0).checksum);
    EXPECT_TRUE(server->backups().at(0).verify);
}

TEST_F(MigrationTest, ServerThatCannotTellItsVersionBacksUpWithoutChecksums)
{
    database.productVersion.clear();
    migrateTo("LABSRV2");
    EXPECT_FALSE(server->backups().at(0).checksum);
}

TEST_F(MigrationTest, LocalTargetFinishesBeforeAndAfterTheIndexCopyWithoutBackup)
{
    migrateTo("PC1\\VELDRIN");

    EXPECT_THAT(progress.messages(), ElementsAre("Copying Chemical Structure Index..."));
    const auto events = progress.events();
    const auto first = std::find(events.begin(), events.end(), "finished");
    const auto copying =
        std::find(events.begin(), events.end(), "message:Copying Chemical Structure Index...");
    EXPECT_LT(first, copying);
    EXPECT_EQ(finishedCount(), 2);
    EXPECT_TRUE(server->backups().empty());
    EXPECT_EQ(database.opened(), 0);
    EXPECT_FALSE(std::filesystem::exists(bakPath()));
    EXPECT_EQ(progress.lastValue(), 5);
}

TEST_F(MigrationTest, ExistingIndexAnsweredNoLeavesEverythingAndStillFinishes)
{
    dir.write("shared/Labfolio.mst", "older index");
    prompter.queueAnswer(MsgAnswer::No);
    migrateTo("LABSRV2");

    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].title, "Multi-user migration");
    EXPECT_EQ(
        prompter.shown()[0].text,
        "Chemical Structure Index file(.mst) already exists in this location.  Do you wish to overwrite it?");
    EXPECT_EQ(prompter.shown()[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(readFile(dir.path() / "shared" / "Labfolio.mst"), "older index");
    EXPECT_FALSE(std::filesystem::exists(dir.path() / "shared" / "Labfolio.msx"));
    EXPECT_EQ(progress.lastValue(), 100);
    EXPECT_EQ(progress.events().back(), "finished");
}

TEST_F(MigrationTest, ExistingIndexAnsweredYesIsReplaced)
{
    dir.write("shared/Labfolio.mst", "older index");
    prompter.queueAnswer(MsgAnswer::Yes);
    migrateTo("LABSRV2");
    EXPECT_EQ(readFile(dir.path() / "shared" / "Labfolio.mst"), "index file mst");
    EXPECT_EQ(readFile(dir.path() / "shared" / "Labfolio.msf"), "index file msf");
    EXPECT_EQ(progress.lastValue(), 105);
}

TEST_F(MigrationTest, MissingCompanionEndsTheMigrationAndRemovesTheWorkingCopy)
{
    std::filesystem::remove(dir.path() / "index" / "Labfolio.msk");
    const LfError e = migrateFails();
    EXPECT_EQ(e.number(), LfError::kObjectError513);
    EXPECT_EQ(e.source(), "DBMigrateProgressCtl.Migrate");
    EXPECT_THAT(e.description(), HasSubstr("Labfolio.msk\" does not exist"));
    EXPECT_THAT(e.description(), HasSubstr("while copying the file \""));
    EXPECT_EQ(finishedCount(), 0);
    EXPECT_FALSE(std::filesystem::exists(localBackup()));
    EXPECT_FALSE(std::filesystem::exists(dir.path() / "shared" / "Labfolio.msk"));
}

TEST_F(MigrationTest, VanishedBackupFolderIsAClearError)
{
    std::filesystem::remove_all(dir.path() / "backups");
    const LfError e = migrateFails();
    EXPECT_THAT(e.description(),
                HasSubstr("the folder \"" + (dir.path() / "backups").string() + "\" does not exist"));
    EXPECT_FALSE(std::filesystem::exists(localBackup()));
}

TEST_F(MigrationTest, BackupThatFailsVerificationIsNotCopied)
{
    server->verifyError = LfError(0x80040BC5u, "", "VERIFY DATABASE is terminating abnormally.");
    dir.write("backups/LFDesktop.BAK", "last week's backup");
    const LfError e = migrateFails();
    EXPECT_EQ(e.number(), 0x80040BC5u);
    EXPECT_EQ(e.description(), "VERIFY DATABASE is terminating abnormally.");
    EXPECT_EQ(readFile(bakPath()), "last week's backup");
    EXPECT_FALSE(std::filesystem::exists(localBackup()));
}

TEST_F(MigrationTest, StopDuringBackupAbortsItAndTheServerErrorReachesTheCaller)
{
    server->afterNotification = [this](int percent) {
        if (percent == 30)
            stop.request();
    };
    const LfError e = migrateFails();
    EXPECT_EQ(e.number(), FakeBackupServer::kAborted);
    EXPECT_EQ(e.description(), "BACKUP DATABASE is terminating abnormally.");
    EXPECT_EQ(progress.lastMessage(), "30 percent processed.");
    EXPECT_FALSE(std::filesystem::exists(localBackup()));
    EXPECT_FALSE(std::filesystem::exists(bakPath()));
    EXPECT_EQ(finishedCount(), 0);
}

TEST_F(MigrationTest, StopBeforeTheBackupIsClearedWhenTheBackupStarts)
{
    stop.request();
    migrateTo("LABSRV2");
    EXPECT_EQ(finishedCount(), 1);
    EXPECT_TRUE(std::filesystem::exists(bakPath()));
}

TEST_F(MigrationTest, NotificationOfHundredPercentEndsTheSubscription)
{
    server->percents = {50, 100, 100};
    migrateTo("LABSRV2");
    const auto m = progress.messages();
    EXPECT_EQ(std::count(m.begin(), m.end(), "100 percent processed."), 1);
}

TEST_F(MigrationTest, UserMissingFromPeopleNamesUserAndDatabaseAndClosesTheConnection)
{
    database.peopleCount = 0;
    const LfError e = migrateFails();
    EXPECT_EQ(e.number(), 0x80040201u);
    EXPECT_EQ(e.source(), "DBMigrateProgressCtl.ConfirmUser");
    EXPECT_EQ(e.description(),
              "the user \"PC1\\alice\" is not set up in the database \"LFDesktop10\". Please run the "
              "Labfolio program at least once before migrating the database");
    EXPECT_EQ(database.opened(), 1);
    EXPECT_EQ(database.closed(), 1);
    EXPECT_TRUE(server->backups().empty());
}

struct ConfirmCase {
    uint32_t number;
    std::string description;
};

class ConfirmUserErrors : public MigrationTest, public ::testing::WithParamInterface<ConfirmCase> {};

TEST_P(ConfirmUserErrors, AreRaisedWithTheirNumberAndTheTableText)
{
    database.openError =
        LfError(GetParam().number, "Microsoft OLE DB Provider for SQL Server", "the driver's text");
    try {
        migration.ConfirmUser("PC9", "LFDesktop10");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), GetParam().number);
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.ConfirmUser/Microsoft OLE DB Provider for SQL Server");
        EXPECT_EQ(e.description(), GetParam().description);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, ConfirmUserErrors,
    ::testing::Values(ConfirmCase{0x80040000u, "the server \"PC9\" does not exist"},
                      ConfirmCase{0x80044814u, "SQL Server login mode is not allowed for the server \"PC9\""},
                      ConfirmCase{0x80044818u,
                                  "while connecting to database \"LFDesktop10\" on server \"PC9\", "
                                  "the driver's text"}));

TEST_F(MigrationTest, ConfirmUserQueryFailureClosesTheConnection)
{
    database.queryError = LfError(0x80040000u + 208, "", "Invalid object name 'ELN_people'.");
    EXPECT_THROW(migration.ConfirmUser("PC1\\VELDRIN", "LFDesktop10"), LfError);
    EXPECT_EQ(database.opened(), 1);
    EXPECT_EQ(database.closed(), 1);
}

TEST_F(MigrationTest, UnreachableTargetServerIsRaisedFromTheLocalServerTest)
{
    const LfError e = migrateFails("NOWHERE");
    EXPECT_EQ(e.source(), "DBMigrateProgressCtl.IsLocalServer");
    EXPECT_THAT(e.description(),
                HasSubstr("while testing whether the server \"NOWHERE\" is a local server, "));
}

TEST_F(MigrationTest, RestoreRelocatesIntoTheDataFolderAndRenamesTheLogicalFiles)
{
    migration.RestoreDatabase("LABSRV2", "Labfolio", "/srv/backups/LFDesktop.BAK");
    ASSERT_EQ(server->restores().size(), 1u);
    const auto r = server->restores().front();
    EXPECT_EQ(r.database, "Labfolio");
    EXPECT_EQ(r.file, "/srv/backups/LFDesktop.BAK");
    EXPECT_TRUE(r.replace);
    ASSERT_EQ(r.relocations.size(), 2u);
    EXPECT_EQ(r.relocations[0].logicalName, "LFDesktop10_Data");
    EXPECT_EQ(r.relocations[0].physicalPath, "/srv/data/Labfolio_Data.mdf");
    EXPECT_EQ(r.relocations[1].logicalName, "LFDesktop10_Log");
    EXPECT_EQ(r.relocations[1].physicalPath, "/srv/data/Labfolio_LOG.ldf");
    EXPECT_THAT(database.statements(),
                ElementsAre("ALTER DATABASE Labfolio MODIFY FILE (Name = [LFDesktop10_Data], NEWName = "
                            "[Labfolio_data.mdf])",
                            "ALTER DATABASE Labfolio MODIFY FILE (Name = [LFDesktop10_Log], NEWName = "
                            "[Labfolio_log.mdf])"));
    EXPECT_EQ(database.opened(), database.closed());
}

TEST_F(MigrationTest, RestoreNotificationOfFortyPercentShowsOneHundredForty)
{
    server->percents = {40};
    migration.RestoreDatabase("LABSRV2", "Labfolio", "/srv/backups/LFDesktop.BAK");
    EXPECT_EQ(progress.lastValue(), 140);
}

TEST_F(MigrationTest, StopDuringRestoreStaysInForce)
{
    stop.request();
    EXPECT_THROW(migration.RestoreDatabase("LABSRV2", "Labfolio", "/x.BAK"), LfError);
    EXPECT_TRUE(database.statements().empty());
}

TEST_F(MigrationTest, RestoreOfABackupWithOneFileMovesNothing)
{
    server->fileList.resize(1);
    migration.RestoreDatabase("LABSRV2", "Labfolio", "/x.BAK");
    EXPECT_TRUE(server->restores().at(0).relocations.empty());
}

TEST_F(MigrationTest, SetAdministratorMarksTheUserAndRenewsTheIdentityInASession)
{
    system->tzResult = sys::kTimeZoneIdStandard;
    system->tz.bias = -60;
    migration.SetAdministrator("LABSRV2", "Labfolio");
    EXPECT_THAT(
        database.statements(),
        ElementsAre(
            "UPDATE ELN_people SET is_administrator = 1 WHERE UserName = 'PC1\\alice'",
            "UPDATE ELN_parameters SET data = CONVERT(nvarchar(255), newid()) WHERE name = N'database "
            "guid'"));
    const auto calls = database.calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].name, "start_session");
    ASSERT_EQ(calls[0].params.size(), 3u);
    EXPECT_EQ(calls[0].params[0].name, ":sessionKey");
    EXPECT_TRUE(calls[0].params[0].output);
    EXPECT_EQ(calls[0].params[1].name, ":ownerKey");
    EXPECT_EQ(calls[0].params[1].value, 1);
    EXPECT_EQ(calls[0].params[2].name, ":clientBias");
    EXPECT_EQ(calls[1].name, "end_session");
    ASSERT_EQ(calls[1].params.size(), 1u);
    EXPECT_EQ(calls[1].params[0].value, database.sessionKey);
    EXPECT_EQ(database.closed(), 1);
}

TEST(ChangeExtensionTest, CutsAtTheLastDotOfTheWholePath)
{
    EXPECT_EQ(engine::Migration::ChangeExtension("C:\\Index\\Labfolio.mst", "msx"),
              "C:\\Index\\Labfolio.msx");
    EXPECT_EQ(engine::Migration::ChangeExtension("/srv/v1.2/Labfolio", "msx"), "/srv/v1.msx");
    EXPECT_EQ(engine::Migration::ChangeExtension("Labfolio", "msx"), "msx");
}

} // namespace
