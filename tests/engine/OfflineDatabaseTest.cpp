#include "OfflineDatabase.h"

#include <fstream>

#include <gtest/gtest.h>

#include "DataLinkFile.h"
#include "FakeLocalMachine.h"
#include "Process.h"
#include "ScopedEnv.h"
#include "TempDir.h"

using engine::LocalServerLogin;
using engine::OfflineDatabase;
using engine::OfflineLocations;

namespace {

std::vector<std::string> lines(const std::filesystem::path& p)
{
    std::ifstream in(p);
    std::vector<std::string> out;
    for (std::string line; std::getline(in, line);)
        out.push_back(line);
    return out;
}

// PC1 with the instance VELDRIN; the program's folder holds the script, and the tool on PATH is
// a stand-in that writes the arguments it got into its log, one a line.
struct OfflineSetup {
    OfflineSetup() : machine({"VELDRIN"}), path("PATH", FAKE_OSQL_DIR)
    {
        machine.manager->servers["PC1\\VELDRIN"].databases = {{"master", true}};
        where.programFolder = dir.path() / "Program Files" / "Lab.folio 10";
        where.dataFolder = dir.path() / "All Users" / "Labfolio 10.0";
        script = dir.write("Program Files/Lab.folio 10/LFOffline.sql", "CREATE DATABASE LFOffline9\nGO\n");
        log = where.programFolder / "LFOffline.log";
        dataLink = where.dataFolder / "LFOffline9.udl";
    }
    FakeLocalMachine machine;
    ScopedEnv path;
    TempDir dir;
    OfflineLocations where;
    std::filesystem::path script, log, dataLink;
};

const char* kTrustedVeldrin =
    "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=LFOffline9;"
    "Data Source=PC1\\VELDRIN";

} // namespace

TEST(CreateOfflineDatabase, WithoutALoginTheToolRunsTrustedOnTheServerTheLookupFound)
{
    OfflineSetup s;
    OfflineDatabase({}, s.where).CreateOfflineDatabase();
    const std::vector<std::string> expected = {
        "-n", "-E", "-SPC1\\VELDRIN", "-i", s.script.string(), "-o" + s.log.string()};
    EXPECT_EQ(lines(s.log), expected);
    for (const auto& a : lines(s.log)) {
        EXPECT_NE(a.rfind("-U", 0), 0u) << a;
        EXPECT_NE(a.rfind("-P", 0), 0u) << a;
    }
    EXPECT_EQ(engine::ReadDataLinkFileLines(s.dataLink, "test").back(), kTrustedVeldrin);
}

TEST(CreateOfflineDatabase, WithALoginTheToolRunsOnTheFramesServerButTheDataLinkStaysTrusted)
{
    OfflineSetup s;
    const LocalServerLogin login{"PC1\\DESKTOP", "labadmin", "pw 1"};
    OfflineDatabase(login, s.where).CreateOfflineDatabase();
    const std::vector<std::string> expected = {
        "-n", "-Ulabadmin", "-Ppw", "1", "-SPC1\\DESKTOP", "-i", s.script.string(), "-o" + s.log.string()};
    // The password goes unquoted, as the classic tool's command line has it: a blank splits it.
    EXPECT_EQ(lines(s.log), expected);
    EXPECT_EQ(engine::ReadDataLinkFileLines(s.dataLink, "test").back(), kTrustedVeldrin);
}

TEST(CreateOfflineDatabase, ADotInTheFolderStillGivesLFOfflineLogBesideTheScript)
{
    OfflineSetup s;
    OfflineDatabase({}, s.where).CreateOfflineDatabase();
    EXPECT_TRUE(std::filesystem::exists(s.where.programFolder / "LFOffline.log"));
    EXPECT_FALSE(std::filesystem::exists(s.dir.path() / "Program Files" / "Lab.log"));
}

TEST(CreateOfflineDatabase, TheDataLinkFileIsWrittenEvenWhenTheToolCannotRun)
{
    OfflineSetup s;
    TempDir empty;
    ScopedEnv noTool("PATH", empty.str());
    OfflineDatabase({}, s.where).CreateOfflineDatabase();
    EXPECT_FALSE(std::filesystem::exists(s.log));
    EXPECT_EQ(engine::ReadDataLinkFileLines(s.dataLink, "test").back(), kTrustedVeldrin);
}

TEST(CreateOfflineDatabase, AMissingScriptRaisesTheDoesNotExistErrorAndWritesNothing)
{
    OfflineSetup s;
    std::filesystem::remove(s.script);
    try {
        OfflineDatabase({}, s.where).CreateOfflineDatabase();
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.description(), "the file \"" + s.script.string() + "\" does not exist");
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.CreateOfflineDatabase/DBMigrateProgressCtl.RunScript");
    }
    EXPECT_FALSE(std::filesystem::exists(s.log));
    EXPECT_FALSE(std::filesystem::exists(s.dataLink));
}

TEST(CreateOfflineDatabase, NoAnsweringLocalInstanceRaisesTheLookupsErrorAndRunsNothing)
{
    OfflineSetup s;
    s.machine.manager->servers.clear();
    try {
        OfflineDatabase({}, s.where).CreateOfflineDatabase();
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.description(), "there are no local SQLServer or MSDE instances installed");
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.CreateOfflineDatabase");
    }
    EXPECT_FALSE(std::filesystem::exists(s.log));
    EXPECT_FALSE(std::filesystem::exists(s.dataLink));
}

TEST(CreateOfflineDatabase, TheWindowCallbackKeepsBeingCalledWhileTheToolRuns)
{
    OfflineSetup s;
    int calls = 0;
    OfflineDatabase({}, s.where, [&] { ++calls; }).CreateOfflineDatabase();
    // The stand-in tool pauses 300 ms before it writes its log; the wizard waits for it and
    // calls back meanwhile.
    EXPECT_GE(calls, 3);
    EXPECT_TRUE(std::filesystem::exists(s.log));
}

TEST(OfflineLocations, DefaultsAreTheProgramsFolderAndTheSharedApplicationDataFolder)
{
    RegistryFixture registry(
        std::string(regtext::kHeader) +
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
        "Folders]\r\n\"Common AppData\"=\"/srv/appdata\"\r\n\r\n");
    const OfflineLocations where;
    EXPECT_EQ(where.scriptPath(), std::filesystem::path(proc::ownExecutableFolder()) / "LFOffline.sql");
    EXPECT_EQ(where.dataLinkPath(), std::filesystem::path("/srv/appdata/Labfolio 10.0/LFOffline9.udl"));
}

TEST(OfflineLocations, WithoutTheShellFoldersKeyTheDataLinkPathRaises)
{
    RegistryFixture registry(regtext::kHeader);
    try {
        OfflineLocations().dataLinkPath();
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u);
    }
}
