#include "SQLServerUtils.h"

#include <gtest/gtest.h>

#include "FakeLocalMachine.h"
#include "TempDir.h"

using namespace SQLServerUtils;

namespace {

std::string nul(std::initializer_list<const char*> names)
{
    std::string s;
    for (const char* n : names) {
        if (!s.empty())
            s += '\0';
        s += n;
    }
    return s;
}

std::vector<std::string> allTokens(std::string source)
{
    std::vector<std::string> out;
    std::string delim(1, '\0');
    std::string empty;
    for (std::string t = NextToken(source, delim); !t.empty(); t = NextToken(empty, delim))
        out.push_back(t);
    return out;
}

using Machine = FakeLocalMachine;

} // namespace

TEST(NextToken, SkipsLeadingAndRepeatedDelimitersAndNeverReturnsEmptyTokens)
{
    std::string src = ",,a,,b,";
    std::string delim = ",";
    std::string empty;
    EXPECT_EQ(NextToken(src, delim), "a");
    EXPECT_EQ(NextToken(empty, delim), "b");
    EXPECT_EQ(NextToken(empty, delim), "");
    EXPECT_EQ(NextToken(empty, delim), "");
}

TEST(NextToken, RemainderIsSharedByAllCallers)
{
    std::string first = "x;y;z";
    std::string delim = ";";
    std::string empty;
    EXPECT_EQ(NextToken(first, delim), "x");
    std::string other = "p;q";
    EXPECT_EQ(NextToken(other, delim), "p"); // a new source replaces the shared remainder
    EXPECT_EQ(NextToken(empty, delim), "q");
    EXPECT_EQ(NextToken(empty, delim), "");
}

TEST(NextToken, AnyCharacterOfTheDelimiterTextEndsAToken)
{
    std::string src = "a b;c";
    std::string delim = " ;";
    std::string empty;
    EXPECT_EQ(NextToken(src, delim), "a");
    EXPECT_EQ(NextToken(empty, delim), "b");
    EXPECT_EQ(NextToken(empty, delim), "c");
}

TEST(InstanceList, NamesEndingInATerminatorGiveExactlyTheNames)
{
    EXPECT_EQ(allTokens(nul({"MSSQLSERVER", "VELDRIN"}) + std::string(1, '\0')),
              (std::vector<std::string>{"MSSQLSERVER", "VELDRIN"}));
}

TEST(InstanceList, RegistryValueGivesTheNamesWithoutATrailingEmptyOne)
{
    Machine m({"MSSQLSERVER", "VELDRIN"});
    EXPECT_EQ(allTokens(GetInstalledInstances()), (std::vector<std::string>{"MSSQLSERVER", "VELDRIN"}));
}

TEST(InstanceNames, DefaultInstanceIsLocalAndOthersAreComputerBackslashInstance)
{
    EXPECT_EQ(ServerNameForInstance("MSSQLSERVER", "PC1"), "(local)");
    EXPECT_EQ(ServerNameForInstance("VELDRIN", "PC1"), "PC1\\VELDRIN");
}

TEST(InstanceNames, DefaultInstanceNameIsCaseSensitive)
{
    EXPECT_EQ(ServerNameForInstance("mssqlserver", "PC1"), "PC1\\mssqlserver");
}

TEST(ConnectionStrings, TrustedForm)
{
    EXPECT_EQ(BuildTrustedConnectionString("PC1\\VELDRIN", "LFDesktop10"),
              "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial "
              "Catalog=LFDesktop10;"
              "Data Source=PC1\\VELDRIN");
}

TEST(ConnectionStrings, LoginFormKeepsIntegratedSecurity)
{
    EXPECT_EQ(
        BuildLoginConnectionString("PC1\\VELDRIN", "LFOffline9", "sa", "pw;1"),
        "Provider=SQLOLEDB.1;Password=pw;1;User ID=sa;Integrated Security=SSPI;Persist Security Info=False;"
        "Initial Catalog=LFOffline9;Data Source=PC1\\VELDRIN");
}

TEST(ConnectionStrings, LoginFormWithEmptyPasswordStillCarriesThePasswordKey)
{
    const std::string s = BuildLoginConnectionString("(local)", "LFOffline9", "sa", "");
    EXPECT_EQ(s,
              "Provider=SQLOLEDB.1;Password=;User ID=sa;Integrated Security=SSPI;Persist Security Info=False;"
              "Initial Catalog=LFOffline9;Data Source=(local)");
    EXPECT_NE(s.find("Password=;User ID="), std::string::npos);
}

TEST(Osql, LogNameIsThePathUpToItsLastDotPlusLog)
{
    EXPECT_EQ(OsqlLogPath("/opt/labfolio/LFOffline.sql"), "/opt/labfolio/LFOffline.log");
    EXPECT_EQ(OsqlLogPath("C:\\a.b\\LFOffline.v2.sql"), "C:\\a.b\\LFOffline.v2.log");
    EXPECT_EQ(OsqlLogPath("C:\\a.b\\script"), "C:\\a.log"); // the last "." wherever it is
    EXPECT_EQ(OsqlLogPath("script"), "");
}

TEST(Osql, CommandLineWithLogin)
{
    EXPECT_EQ(OsqlCommandLine("C:\\Program Files\\Labfolio\\LFOffline.sql", "PC1\\VELDRIN", "sa", "secret"),
              "osql -n -Usa -Psecret -SPC1\\VELDRIN -i \"C:\\Program Files\\Labfolio\\LFOffline.sql\" "
              "-o\"C:\\Program Files\\Labfolio\\LFOffline.log\"");
}

TEST(Osql, CommandLineWithEmptyPassword)
{
    EXPECT_EQ(OsqlCommandLine("/x/LFOffline.sql", "(local)", "sa", ""),
              "osql -n -Usa -P -S(local) -i \"/x/LFOffline.sql\" -o\"/x/LFOffline.log\"");
}

TEST(Osql, TrustedCommandLine)
{
    EXPECT_EQ(OsqlCommandLine("/x/LFOffline.sql", "PC1\\VELDRIN", "", "ignored"),
              "osql -n -E -SPC1\\VELDRIN -i \"/x/LFOffline.sql\" -o\"/x/LFOffline.log\"");
}

TEST(Osql, MissingScriptRaisesTheFileDoesNotExist)
{
    TempDir dir;
    const std::string path = (dir.path() / "LFOffline.sql").string();
    try {
        RunOsqlScript(path, "(local)", "", "");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), "");
        EXPECT_EQ(e.description(), "the file \"" + path + "\" does not exist");
    }
}

TEST(Osql, PathWithoutDotEndsQuietlyWithoutRunningTheTool)
{
    TempDir dir;
    const auto script = dir.write("LFOffline", "SELECT 1\nGO\n");
    int waits = 0;
    EXPECT_NO_THROW(RunOsqlScript(script.string(), "(local)", "", "", [&] { ++waits; }));
    EXPECT_EQ(waits, 0);
    // Nothing was written beside the script.
    EXPECT_EQ(
        std::distance(std::filesystem::directory_iterator(dir.path()), std::filesystem::directory_iterator()),
        1);
}

TEST(DatabaseExists, ComparesNamesWithoutRegardToCase)
{
    Machine m({});
    m.manager->servers[""].databases = {{"master", true}, {"LFDesktop10", true}};
    auto server = m.manager->Connect(sqlserver::ConnectOptions{});
    EXPECT_TRUE(DatabaseExists(*server, "lfdesktop10"));
    EXPECT_TRUE(DatabaseExists(*server, "MASTER"));
    EXPECT_FALSE(DatabaseExists(*server, "LFDesktop1"));
    EXPECT_FALSE(DatabaseExists(*server, ""));
}

TEST(FindLocalServerWithDatabase, ProbesEmptyNameForDefaultAndComputerBackslashInstanceForNamed)
{
    Machine m({"MSSQLSERVER", "VELDRIN"});
    m.manager->servers[""] = {};
    m.manager->servers["PC1\\VELDRIN"] = {};
    EXPECT_EQ(FindLocalServerWithDatabase("nothing"), "PC1\\VELDRIN");
    ASSERT_EQ(m.manager->connects().size(), 2u);
    EXPECT_EQ(m.manager->connects()[0].server, "");
    EXPECT_EQ(m.manager->connects()[1].server, "PC1\\VELDRIN");
    for (const auto& c : m.manager->connects()) {
        EXPECT_TRUE(c.loginSecure);
        EXPECT_EQ(c.loginTimeoutSeconds, 10);
        EXPECT_EQ(c.user, "");
    }
    EXPECT_EQ(m.manager->liveConnections(), 0); // every probe disconnected
}

TEST(FindLocalServerWithDatabase, DefaultInstanceIsDisplayedAsLocal)
{
    Machine m({"MSSQLSERVER", "VELDRIN"});
    m.manager->servers[""].databases = {{"LFDesktop10", true}};
    m.manager->servers["PC1\\VELDRIN"] = {};
    EXPECT_EQ(FindLocalServerWithDatabase("LFDesktop10"), "(local)");
    EXPECT_EQ(m.manager->connects().size(), 1u); // stops at the first instance that holds it
}

TEST(FindLocalServerWithDatabase, DatabaseOnTheSecondOfTwoAnsweringInstances)
{
    Machine m({"VELDRIN", "OTHER"});
    m.manager->servers["PC1\\VELDRIN"].databases = {{"master", true}};
    m.manager->servers["PC1\\OTHER"].databases = {{"LFOffline9", true}};
    EXPECT_EQ(FindLocalServerWithDatabase("lfoffline9"), "PC1\\OTHER");
}

TEST(FindLocalServerWithDatabase, AbsentFromAllGivesTheLastAnsweringInstance)
{
    Machine m({"VELDRIN", "OTHER", "DOWN"});
    m.manager->servers["PC1\\VELDRIN"] = {};
    m.manager->servers["PC1\\OTHER"] = {};
    EXPECT_EQ(FindLocalServerWithDatabase("LFOffline9"), "PC1\\OTHER");
    EXPECT_EQ(m.manager->connects().size(), 3u);
}

TEST(FindLocalServerWithDatabase, EmptyNameGivesTheLastAnsweringInstance)
{
    Machine m({"MSSQLSERVER", "VELDRIN"});
    m.manager->servers[""].databases = {{"master", true}};
    EXPECT_EQ(FindLocalServerWithDatabase(""), "(local)");
}

TEST(FindLocalServerWithDatabase, LowerCaseMssqlserverIsANamedInstance)
{
    Machine m({"mssqlserver"});
    m.manager->servers["PC1\\mssqlserver"] = {};
    EXPECT_EQ(FindLocalServerWithDatabase("x"), "PC1\\mssqlserver");
    EXPECT_EQ(m.manager->connects().at(0).server, "PC1\\mssqlserver");
}

TEST(FindLocalServerWithDatabase, AnInstanceWhoseCatalogFailsStillCountsAsAnswering)
{
    Machine m({"VELDRIN"});
    m.manager->servers["PC1\\VELDRIN"].databasesError = LfError(0x80040000u + 229, "", "the SELECT permission was denied");
    EXPECT_EQ(FindLocalServerWithDatabase("x"), "PC1\\VELDRIN");
    EXPECT_EQ(m.manager->liveConnections(), 0);
}

TEST(FindLocalServerWithDatabase, NoAnsweringInstanceRaisesTheNoInstancesError)
{
    Machine m({"MSSQLSERVER", "VELDRIN"});
    try {
        FindLocalServerWithDatabase("LFDesktop10");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), "");
        EXPECT_EQ(e.description(), "there are no local SQLServer or MSDE instances installed");
    }
}

TEST(FindLocalServerWithDatabase, NoInstanceListRaisesTheNoInstancesError)
{
    Machine m({});
    EXPECT_THROW(FindLocalServerWithDatabase("x"), LfError);
    EXPECT_TRUE(m.manager->connects().empty());
}

TEST(IsLocalServer, TrueWhenWorkstationEqualsTheServersMachineName)
{
    Machine m({});
    m.manager->servers["SRV"].workstationName = "PC1";
    m.manager->servers["SRV"].netName = "PC1";
    EXPECT_TRUE(IsLocalServer("SRV"));
    EXPECT_TRUE(m.manager->connects().at(0).loginSecure);
    EXPECT_EQ(m.manager->connects().at(0).loginTimeoutSeconds, 0);
    EXPECT_EQ(m.manager->liveConnections(), 0);
}

TEST(IsLocalServer, ComparisonIsCaseSensitive)
{
    Machine m({});
    m.manager->servers["SRV"].workstationName = "pc1";
    m.manager->servers["SRV"].netName = "PC1";
    EXPECT_FALSE(IsLocalServer("SRV"));
    m.manager->servers["SRV"].workstationName = "PC2";
    EXPECT_FALSE(IsLocalServer("SRV"));
}

TEST(IsLocalServer, FailureIsRaisedAgainWithItsOwnSourceAndPrefix)
{
    Machine m({});
    try {
        IsLocalServer("NOWHERE");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u);
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.IsLocalServer");
        EXPECT_EQ(e.description(),
                  "while testing whether the server \"NOWHERE\" is a local server, SQL Server "
                  "\"NOWHERE\" does not exist or access denied");
    }
}
