// The local SQL Server instances as the registry lists them, and the computer name.
#include "FakeSystemInfo.h"
#include "RegistryFixture.h"
#include "SQLServerUtils.h"

#include <gtest/gtest.h>

using namespace SQLServerUtils;

namespace {

std::vector<std::string> enumerate(const std::string& list)
{
    std::vector<std::string> names;
    std::string source = list;
    std::string delimiters(1, '\0');
    for (std::string t = NextToken(source, delimiters); !t.empty(); t = NextToken(source = "", delimiters))
        names.push_back(t);
    return names;
}

}  // namespace

TEST(InstalledInstances, ReadsTheMultiStringWithoutItsFinalTerminator)
{
    RegistryFixture fixture(std::string(regtext::kHeader) + regtext::kInstancesMssqlVeldrin);
    EXPECT_TRUE(InstalledInstancesExist());
    EXPECT_EQ(GetInstalledInstances(), std::string("MSSQLSERVER\0VELDRIN\0", 20));
    EXPECT_EQ(enumerate(GetInstalledInstances()), (std::vector<std::string>{"MSSQLSERVER", "VELDRIN"}));
}

TEST(InstalledInstances, MissingValueOrKeyGivesEmptyListAndFalse)
{
    RegistryFixture valueMissing(std::string(regtext::kHeader) +
                                 "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Microsoft SQL Server]\r\n\"Other\"=\"x\"\r\n");
    EXPECT_FALSE(InstalledInstancesExist());
    EXPECT_EQ(GetInstalledInstances(), "");
    EXPECT_TRUE(RegistryKeyExists(reg::Hive::LocalMachine, kSqlServerKey));
}

TEST(InstalledInstances, EmptyRegistry)
{
    RegistryFixture empty("");
    EXPECT_FALSE(InstalledInstancesExist());
    EXPECT_EQ(GetInstalledInstances(), "");
    EXPECT_FALSE(RegistryKeyExists(reg::Hive::LocalMachine, kSqlServerKey));
    EXPECT_FALSE(RegistryKeyExists(reg::Hive::ClassesRoot, "Strucora10.Document\\CLSID"));
}

TEST(InstalledInstances, ChemistryKeyIsLookedUpUnderClassesRoot)
{
    RegistryFixture fixture(std::string(regtext::kHeader) + regtext::kChemistryKey);
    EXPECT_TRUE(RegistryKeyExists(reg::Hive::ClassesRoot, "Strucora10.Document\\CLSID"));
    EXPECT_FALSE(RegistryKeyExists(reg::Hive::LocalMachine, "Strucora10.Document\\CLSID"));
}

TEST(InstanceNames, DefaultInstanceIsLocalAndNamedInstancesCarryTheComputerName)
{
    EXPECT_EQ(ServerNameForInstance("MSSQLSERVER", "PC1"), "(local)");
    EXPECT_EQ(ServerNameForInstance("VELDRIN", "PC1"), "PC1\\VELDRIN");
    // The default instance's name is compared with its exact case.
    EXPECT_EQ(ServerNameForInstance("mssqlserver", "PC1"), "PC1\\mssqlserver");
}

TEST(NextTokenTest, SkipsLeadingDelimitersAndNeverReturnsEmptyTokens)
{
    std::string source = std::string("\0\0A\0\0B\0", 7);
    std::string delimiters(1, '\0');
    EXPECT_EQ(NextToken(source, delimiters), "A");
    std::string none;
    EXPECT_EQ(NextToken(none, delimiters), "B");
    EXPECT_EQ(NextToken(none, delimiters), "");
    EXPECT_EQ(NextToken(none, delimiters), "");
}

TEST(NextTokenTest, RemainderIsSharedAndANewSourceReplacesIt)
{
    std::string first = "a,b,c";
    std::string comma = ",";
    EXPECT_EQ(NextToken(first, comma), "a");
    std::string second = "x;y";
    std::string semicolon = ";";
    EXPECT_EQ(NextToken(second, semicolon), "x");
    std::string none;
    EXPECT_EQ(NextToken(none, semicolon), "y");
    EXPECT_EQ(NextToken(none, comma), "");
}

TEST(ComputerName, TheSystemsNameOrASingleSpace)
{
    auto fake = std::make_shared<FakeSystemInfo>();
    sys::ScopedSystemOverride override(fake);
    fake->computer = "PC1";
    EXPECT_EQ(GetLocalComputerName(), "PC1");
    fake->computerNameOk = false;
    EXPECT_EQ(GetLocalComputerName(), " ");
}
