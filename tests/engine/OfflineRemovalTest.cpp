#include "OfflineRemoval.h"

#include <gtest/gtest.h>

#include "DataLinkFile.h"
#include "FakeLocalMachine.h"
#include "TempDir.h"

using engine::LocalServerLogin;
using engine::OfflineLocations;
using engine::OfflineRemoval;
using engine::OfflineRemovalResult;

namespace {

// PC1 with the instances VELDRIN and OTHER, neither holding the offline database (its removal
// with a real server is tested end to end), and a data folder for the data link file.
struct RemovalSetup {
    explicit RemovalSetup(std::vector<std::string> instances = {"VELDRIN", "OTHER"}) : machine(instances)
    {
        machine.manager->servers["PC1\\VELDRIN"].databases = {{"master", true}};
        machine.manager->servers["PC1\\OTHER"].databases = {{"master", true}};
        where.dataFolder = dir.path();
        dataLink = dir.path() / "LFOffline9.udl";
    }
    OfflineRemovalResult remove(const LocalServerLogin& login = {})
    {
        return OfflineRemoval(login, where).RemoveOfflineDatabase();
    }
    FakeLocalMachine machine;
    TempDir dir;
    OfflineLocations where;
    std::filesystem::path dataLink;
};

} // namespace

TEST(ServerFromDataLinkLines, TakesTheTextAfterDataSourceInAnyCase)
{
    EXPECT_EQ(OfflineRemoval::ServerFromDataLinkLines(
                  {"[oledb]", "; Everything after this line is an OLE DB initstring",
                   "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial "
                   "Catalog=LFOffline9;Data Source=PC1\\VELDRIN"}),
              "PC1\\VELDRIN");
    EXPECT_EQ(OfflineRemoval::ServerFromDataLinkLines({"DATA SOURCE=(local)"}), "(local)");
    EXPECT_EQ(OfflineRemoval::ServerFromDataLinkLines({"data source=srv;Initial Catalog=LFOffline9"}), "srv");
    EXPECT_EQ(OfflineRemoval::ServerFromDataLinkLines({"Data Source=first", "Data Source=second"}), "second");
    EXPECT_EQ(OfflineRemoval::ServerFromDataLinkLines({"Data Source="}), "");
    EXPECT_EQ(OfflineRemoval::ServerFromDataLinkLines({"[oledb]", "Provider=SQLOLEDB.1"}), "");
    EXPECT_EQ(OfflineRemoval::ServerFromDataLinkLines({}), "");
}

TEST(RemoveOfflineDatabase, TheDataLinkFilesServerIsAskedAndTheFileDeleted)
{
    RemovalSetup s;
    engine::WriteDataLinkFile(s.dataLink,
                              "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;"
                              "Initial Catalog=LFOffline9;DATA SOURCE=PC1\\OTHER",
                              "test");
    EXPECT_EQ(s.remove(), OfflineRemovalResult::NothingToRemove);
    EXPECT_EQ(s.machine.manager->connectedServers(), std::vector<std::string>{"PC1\\OTHER"});
    EXPECT_TRUE(s.machine.manager->connects()[0].loginSecure);
    EXPECT_FALSE(std::filesystem::exists(s.dataLink));
    EXPECT_EQ(s.machine.manager->liveConnections(), 0);
}

TEST(RemoveOfflineDatabase, WithoutADataLinkFileTheLocalInstancesAreAsked)
{
    RemovalSetup s;
    EXPECT_EQ(s.remove(), OfflineRemovalResult::NothingToRemove);
    // The lookup probes both instances; the last one that answered is then asked.
    EXPECT_EQ(s.machine.manager->connectedServers(),
              (std::vector<std::string>{"PC1\\VELDRIN", "PC1\\OTHER", "PC1\\OTHER"}));
}

TEST(RemoveOfflineDatabase, TheMsdeLoginIsUsedWhenTheDialogSuppliedOne)
{
    RemovalSetup s;
    s.machine.manager->servers["PC1\\VELDRIN"].sqlLogins = {{"labadmin", "pw1"}};
    engine::WriteDataLinkFileFor(s.dataLink, "PC1\\VELDRIN", "LFOffline9", "test");
    EXPECT_EQ(s.remove({"PC1\\VELDRIN", "labadmin", "pw1"}), OfflineRemovalResult::NothingToRemove);
    const auto c = s.machine.manager->connects().at(0);
    EXPECT_FALSE(c.loginSecure);
    EXPECT_EQ(c.user, "labadmin");
    EXPECT_EQ(c.password, "pw1");
}

TEST(RemoveOfflineDatabase, ADataLinkFileThatNamesNoServerFallsBackToTheLookupAndIsDeleted)
{
    const std::vector<std::pair<std::string, std::string>> files = {
        {"empty", ""},
        {"not UTF-16", std::string("\xff\xfe\x00\xd8", 4)},
        {"binary", std::string("\x00\x01\x02\x03\xff\xfe\x80\x81", 8)},
        {"no Data Source line", std::string("\xff\xfe[\0o\0l\0e\0d\0b\0]\0\r\0\n\0", 20)},
        {"UTF-8 without Data Source", "[oledb]\r\nProvider=SQLOLEDB.1\r\n"},
    };
    for (const auto& [what, bytes] : files) {
        RemovalSetup s;
        s.dir.write("LFOffline9.udl", bytes);
        EXPECT_EQ(s.remove(), OfflineRemovalResult::NothingToRemove) << what;
        EXPECT_EQ(s.machine.manager->connectedServers().size(), 3u) << what;
        EXPECT_FALSE(std::filesystem::exists(s.dataLink)) << what;
    }
}

TEST(RemoveOfflineDatabase, ADataLinkFileThatCannotBeReadRaisesAndNothingIsRemoved)
{
    RemovalSetup s;
    std::filesystem::create_directories(s.dataLink / "not a file");
    try {
        s.remove();
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), "frmInstall.RemoveOfflineDatabase");
        EXPECT_NE(e.description().find(s.dataLink.string()), std::string::npos) << e.description();
    }
    EXPECT_TRUE(s.machine.manager->connects().empty());
    EXPECT_TRUE(std::filesystem::exists(s.dataLink / "not a file"));
}

TEST(RemoveOfflineDatabase, NoFileAndNoInstalledInstanceIsNothingToRemove)
{
    RemovalSetup s(std::vector<std::string>{});
    EXPECT_EQ(s.remove(), OfflineRemovalResult::NothingToRemove);
    EXPECT_TRUE(s.machine.manager->connects().empty());
}

TEST(RemoveOfflineDatabase, InstalledInstancesThatDoNotAnswerRaiseTheLookupsError)
{
    RemovalSetup s;
    s.machine.manager->servers.clear();
    try {
        s.remove();
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), "frmInstall.RemoveOfflineDatabase");
        EXPECT_EQ(e.description(), "there are no local SQLServer or MSDE instances installed");
    }
}

TEST(RemoveOfflineDatabase, AServerThatDoesNotAnswerRaisesAndKeepsTheDataLinkFile)
{
    RemovalSetup s;
    engine::WriteDataLinkFileFor(s.dataLink, "LABSRV9\\GONE", "LFOffline9", "test");
    try {
        s.remove();
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u);
        EXPECT_EQ(e.source(), "frmInstall.RemoveOfflineDatabase");
        EXPECT_NE(e.description().find("LABSRV9\\GONE"), std::string::npos) << e.description();
    }
    EXPECT_TRUE(std::filesystem::exists(s.dataLink));
}

TEST(RemoveOfflineDatabase, TheWindowIsKeptAliveWhileTheServerIsAsked)
{
    RemovalSetup s;
    s.machine.manager->servers["PC1\\VELDRIN"].connectDelay = std::chrono::milliseconds(400);
    int calls = 0;
    OfflineRemoval({}, s.where, [&] { ++calls; }).RemoveOfflineDatabase();
    EXPECT_GE(calls, 3);
}
