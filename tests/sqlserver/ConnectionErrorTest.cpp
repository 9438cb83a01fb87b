#include "ConnectionError.h"

#include <gtest/gtest.h>

using namespace sqlserver;

namespace {
ServerMessage msg(const char* state, long native, const char* text)
{
    ServerMessage m;
    m.sqlState = state;
    m.number = native;
    m.text = text;
    return m;
}
} // namespace

TEST(ConnectionError, UnreachableServerIsTheObjectErrorBase)
{
    EXPECT_EQ(errorNumberFor("08001", 0), 0x80040000u);
    EXPECT_EQ(errorNumberFor("08S01", 20009), 0x80040000u);
    EXPECT_EQ(errorNumberFor("HYT00", 0), 0x80040000u);
}

TEST(ConnectionError, RefusedLoginModeIs0x80044814)
{
    EXPECT_EQ(errorNumberFor("28000", 18452), 0x80044814u);
    EXPECT_EQ(errorNumberFor("08001", 18452), 0x80044814u);
}

TEST(ConnectionError, OtherServerErrorsAreTheBasePlusTheirNumber)
{
    EXPECT_EQ(errorNumberFor("28000", 18456), 0x80044818u);
    EXPECT_EQ(errorNumberFor("42S02", 208), 0x800400D0u);
    EXPECT_EQ(errorNumberFor("HY008", 0), 0x80004005u);
}

TEST(ConnectionError, ServerMessageDecidesOverTheDriversSummary)
{
    const auto e = errorFromDiagnostics({msg("01000", 5701, "Changed database context to 'master'."),
                                         msg("28000", 18456, "Login failed for user 'x'."),
                                         msg("08001", 0, "Unable to connect to data source")});
    EXPECT_EQ(e.number(), 0x80044818u);
    EXPECT_EQ(e.source(), "");
    EXPECT_EQ(e.description(), "Login failed for user 'x'. Unable to connect to data source");
}

TEST(ConnectionError, ABackupsClosingMessageComesLastWhateverTheDriversOrder)
{
    const LfError e = errorFromDiagnostics({msg("HY008", 0, "Operation was cancelled"),
                                            msg("42000", 3013, "BACKUP DATABASE is terminating abnormally."),
                                            msg("42000", 3204, "The backup or restore was aborted.")});
    EXPECT_EQ(e.number(), 0x80040C84u);
    EXPECT_EQ(e.description(),
              "The backup or restore was aborted. Operation was cancelled. BACKUP DATABASE is terminating "
              "abnormally.");
}

TEST(ConnectionError, ContextPrefixesTheDescription)
{
    const auto e = errorFromDiagnostics({msg("42000", 3013, "BACKUP DATABASE is terminating abnormally.")},
                                        "while backing up, ");
    EXPECT_EQ(e.description(), "while backing up, BACKUP DATABASE is terminating abnormally.");
}

TEST(ConnectionError, DriverPrefixesAreRemoved)
{
    EXPECT_EQ(stripDriverPrefixes("[FreeTDS][SQL Server]Invalid object name 'x'."),
              "Invalid object name 'x'.");
    EXPECT_EQ(stripDriverPrefixes("[unixODBC][Driver Manager]Data source name not found"),
              "Data source name not found");
    EXPECT_EQ(stripDriverPrefixes("plain [text]"), "plain [text]");
}
