#include "OleDbConnectionString.h"

#include <gtest/gtest.h>

#include "SQLServerUtils.h"

using sqlserver::parseOleDbConnectionString;

TEST(OleDbConnectionString, TrustedFormGivesServerDatabaseAndIntegratedLogin)
{
    const auto info = parseOleDbConnectionString(
        SQLServerUtils::BuildTrustedConnectionString("PC1\\VELDRIN", "LFDesktop10"));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->server, "PC1\\VELDRIN");
    EXPECT_EQ(info->database, "LFDesktop10");
    EXPECT_TRUE(info->integrated);
    EXPECT_EQ(info->user, "");
}

TEST(OleDbConnectionString, LoginFormKeepsUserAndPasswordButStaysIntegrated)
{
    const auto info = parseOleDbConnectionString(
        SQLServerUtils::BuildLoginConnectionString("(local)", "LFOffline9", "sa", "pw"));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->server, "(local)");
    EXPECT_EQ(info->database, "LFOffline9");
    EXPECT_EQ(info->user, "sa");
    EXPECT_EQ(info->password, "pw");
    EXPECT_TRUE(info->integrated);
}

TEST(OleDbConnectionString, EmptyPasswordAndEmptyDatabase)
{
    const auto info =
        parseOleDbConnectionString(SQLServerUtils::BuildLoginConnectionString("S", "", "sa", ""));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->password, "");
    EXPECT_EQ(info->user, "sa");
    EXPECT_EQ(info->database, "");
    EXPECT_EQ(info->server, "S");
}

TEST(OleDbConnectionString, ServerNamesAreTakenAsTheyStand)
{
    const auto info =
        parseOleDbConnectionString(SQLServerUtils::BuildTrustedConnectionString("host,1533", "db x"));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->server, "host,1533");
    EXPECT_EQ(info->database, "db x");
}

TEST(OleDbConnectionString, OtherFormsAreRefused)
{
    EXPECT_FALSE(parseOleDbConnectionString(""));
    EXPECT_FALSE(
        parseOleDbConnectionString("Provider=SQLNCLI11;Integrated Security=SSPI;Persist Security Info=False;"
                                   "Initial Catalog=a;Data Source=b"));
    EXPECT_FALSE(
        parseOleDbConnectionString("Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;"
                                   "Data Source=b"));
    EXPECT_FALSE(parseOleDbConnectionString("Provider=SQLOLEDB.1;Password=x;Integrated Security=SSPI;"
                                            "Persist Security Info=False;Initial Catalog=a;Data Source=b"));
    EXPECT_FALSE(parseOleDbConnectionString("Driver={FreeTDS};Server=x"));
}
