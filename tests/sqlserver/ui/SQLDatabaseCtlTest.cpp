#include "SQLDatabaseCtl.h"

#include "UiTestSupport.h"

#include <QComboBox>
#include <QLabel>
#include <gtest/gtest.h>

namespace {

QStringList itemsOf(const QComboBox* box)
{
    QStringList items;
    for (int i = 0; i < box->count(); ++i)
        items << box->itemText(i);
    return items;
}

class DatabasePageTest : public ::testing::Test {
protected:
    // A connection to a server whose databases and logins the test sets first.
    std::unique_ptr<sqlserver::ServerConnection> connect(FakeServerManager::Server server)
    {
        machine.manager->servers["SRV1"] = std::move(server);
        sqlserver::ConnectOptions options;
        options.server = "SRV1";
        return machine.manager->Connect(options);
    }

    MachineWithServers machine{std::vector<std::string>{}};
    SQLDatabaseCtl page;
    QComboBox* combo = page.findChild<QComboBox*>("cmbDatabase");
};

TEST_F(DatabasePageTest, HasTheControlsInVerdana)
{
    ASSERT_NE(combo, nullptr);
    auto* label = page.findChild<QLabel*>("lblDatabase");
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), "Database Name:");
    EXPECT_TRUE(combo->isEditable());
    EXPECT_EQ(combo->font().family(), "Verdana");
    EXPECT_EQ(label->font().family(), "Verdana");
    EXPECT_FALSE(combo->font().bold());
    EXPECT_EQ(page.focusField(), combo);
}

TEST_F(DatabasePageTest, ListsTheUsableDatabasesInCatalogOrderAndSelectsTheFirst)
{
    FakeServerManager::Server server;
    server.databases = {{"Secret", false}, {"Labfolio", true}, {"alpha", true}};
    auto connection = connect(server);
    page.Initialize(*connection);
    EXPECT_EQ(itemsOf(combo), (QStringList{"Labfolio", "alpha"}));
    EXPECT_EQ(combo->currentIndex(), 0);
    EXPECT_EQ(page.DatabaseName(), "Labfolio");
}

TEST_F(DatabasePageTest, TheServersOwnDatabasesAreLeftOutByTheirFlagNotTheirName)
{
    FakeServerManager::Server server;
    server.databases = {{"master", true, true},
                        {"tempdb", true, true},
                        {"Labfolio", true, false},
                        {"msdb", true, false},
                        {"model", true, true}};
    auto connection = connect(server);
    page.Initialize(*connection);
    // A user database that happens to be called "msdb" is listed; only the flag counts.
    EXPECT_EQ(itemsOf(combo), (QStringList{"Labfolio", "msdb"}));
    EXPECT_EQ(page.DatabaseName(), "Labfolio");
}

TEST_F(DatabasePageTest, AServerWithOnlyItsOwnDatabasesProposesLabfolio9)
{
    FakeServerManager::Server server;
    server.databases = {
        {"master", true, true}, {"tempdb", true, true}, {"model", true, true}, {"msdb", true, true}};
    auto connection = connect(server);
    page.Initialize(*connection);
    EXPECT_EQ(combo->count(), 0);
    EXPECT_EQ(combo->currentText(), "Labfolio_9");
    EXPECT_EQ(page.DatabaseName(), "Labfolio_9");
}

TEST_F(DatabasePageTest, AServerWithoutUsableDatabasesProposesLabfolio9)
{
    FakeServerManager::Server server;
    server.databases = {{"Secret", false}};
    auto connection = connect(server);
    page.Initialize(*connection);
    EXPECT_EQ(combo->count(), 0);
    EXPECT_EQ(combo->currentText(), "Labfolio_9");
    EXPECT_EQ(page.DatabaseName(), "Labfolio_9");
}

TEST_F(DatabasePageTest, EveryInitializeStartsAfresh)
{
    FakeServerManager::Server first;
    first.databases = {{"One", true}, {"Two", true}};
    auto a = connect(first);
    page.Initialize(*a);
    FakeServerManager::Server second;
    second.databases = {{"Three", true}};
    auto b = connect(second);
    page.Initialize(*b);
    EXPECT_EQ(itemsOf(combo), QStringList{"Three"});
    EXPECT_EQ(page.DatabaseName(), "Three");
    auto c = connect({});
    page.Initialize(*c);
    EXPECT_EQ(combo->count(), 0);
    EXPECT_EQ(page.DatabaseName(), "Labfolio_9");
}

TEST_F(DatabasePageTest, ATypedNameIsReturnedAsItStands)
{
    FakeServerManager::Server server;
    server.databases = {{"master", true}};
    auto connection = connect(server);
    page.Initialize(*connection);
    combo->setEditText("  New Lab DB ");
    EXPECT_EQ(page.DatabaseName(), "  New Lab DB ");
    EXPECT_EQ(combo->count(), 1);
}

TEST_F(DatabasePageTest, ListingErrorsReachTheCaller)
{
    FakeServerManager::Server server;
    server.databasesError = LfError(0x80045510u, "SQL-DMO", "[SQL Server]Communication link failure");
    auto connection = connect(server);
    try {
        page.Initialize(*connection);
        FAIL() << "no error raised";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80045510u);
        EXPECT_EQ(e.description(), "[SQL Server]Communication link failure");
    }
}

TEST_F(DatabasePageTest, AdminLoginNameIsAlwaysEmpty)
{
    EXPECT_EQ(page.AdminLoginName(), "");
    EXPECT_EQ(page.property("AdminLoginName").toString(), "");
}

TEST_F(DatabasePageTest, ValidateAdminLoginNameIsFalseOnAnOrdinaryServer)
{
    FakeServerManager::Server server;
    server.logins = {{"sa", true}, {"NT AUTHORITY\\SYSTEM", true}, {"PC1\\alice", false}, {"lfadmin", false}};
    auto connection = connect(server);
    EXPECT_FALSE(page.validateAdminLoginName(*connection));
}

TEST_F(DatabasePageTest, ValidateAdminLoginNameMatchesOnlyANonSystemLoginWithAnEmptyName)
{
    FakeServerManager::Server withSystemEmpty;
    withSystemEmpty.logins = {{"", true}, {"bob", false}};
    auto a = connect(withSystemEmpty);
    EXPECT_FALSE(page.validateAdminLoginName(*a)) << "system logins are skipped";

    FakeServerManager::Server withEmpty;
    withEmpty.logins = {{"sa", true}, {"bob", false}, {"", false}};
    auto b = connect(withEmpty);
    EXPECT_TRUE(page.validateAdminLoginName(*b));

    FakeServerManager::Server withBlank;
    withBlank.logins = {{" ", false}};
    auto c = connect(withBlank);
    EXPECT_FALSE(page.validateAdminLoginName(*c)) << "equality is exact";
}

TEST_F(DatabasePageTest, ResizeStretchesTheListToTheRightBorder)
{
    page.show();
    page.resize(640, 200);
    EXPECT_EQ(combo->x() + combo->width(), 640);
    const int width = combo->width();
    page.resize(combo->x(), 200);
    EXPECT_EQ(combo->width(), width);
}

} // namespace
