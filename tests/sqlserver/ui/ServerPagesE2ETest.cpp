// The server and database pages and the MSDE dialog through the real ODBC layer, against the
// SQL Server stand-in: its resolution protocol answers the network list, its instances answer
// the logins.
#include "ScopedEnv.h"
#include "SQLDatabaseCtl.h"
#include "SQLServerCtl.h"
#include "frmUserInfo.h"

#include "FakeSystemInfo.h"
#include "LfError.h"
#include "OdbcTestClient.h"
#include "RegistryFixture.h"
#include "ScriptedPrompter.h"
#include "ServerManager.h"
#include "StandinServer.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace {


QStringList itemsOf(const QComboBox* box)
{
    QStringList items;
    for (int i = 0; i < box->count(); ++i)
        items << box->itemText(i);
    return items;
}

const std::string kWizardPassword = "Wizard-1";
const std::string kChemistPassword = "Chemist-1";

// Three instances on this computer (PC1): the Windows login of the wizard ("wizard", mapped
// through LABFOLIO_ODBC_INTEGRATED) is a sysadmin on VELDRIN, unknown to NOLOGIN and an
// ordinary login on PLAIN. The registry lists no local instance, so that the list shows only
// what the network scan found.
class StandinMachine {
public:
    StandinMachine() : server(options()) {}
    explicit StandinMachine(StandinServer::Options o) : server(std::move(o)) {}

    static StandinServer::Options options()
    {
        StandinServer::Options o;
        o.instances = {
            {"VELDRIN", "PC1", {{"wizard", kWizardPassword, true}, {"chemist", kChemistPassword, false}}, {}},
            {"NOLOGIN", "PC1", {{"chemist", kChemistPassword, false}}, {}},
            {"PLAIN", "PC1", {{"wizard", kWizardPassword, false}}, {}},
        };
        return o;
    }

    // Runs T-SQL as sa on an instance.
    void execAsSa(const std::string& instance, const std::string& sql)
    {
        OdbcConnection c(server.odbcConnectionString("sa", StandinServer::saPassword(), {}, instance));
        OdbcStatement s(c);
        s.execute(sql);
    }

    std::shared_ptr<FakeSystemInfo> system = std::make_shared<FakeSystemInfo>();
    RegistryFixture registry{regtext::kHeader};
    sys::ScopedSystemOverride systemOverride{system};
    StandinServer server;
    ScopedEnv browserPort{"LABFOLIO_SQLBROWSER_PORT", std::to_string(server.resolutionPort())};
    ScopedEnv windowsLogin{"LABFOLIO_ODBC_INTEGRATED", "UID=wizard;PWD=" + kWizardPassword};
};

TEST(ServerPagesE2E, AProbingScanListsOnlyTheInstanceWhereTheWindowsLoginMayCreateDatabases)
{
    StandinMachine machine;
    SQLServerCtl page([] { return QStringLiteral("PC1\\VELDRIN"); });
    auto* combo = page.findChild<QComboBox*>("cmbServerList");
    QStringList probed;
    QObject::connect(&page, &SQLServerCtl::probeApplied, &page,
                     [&](int, const QString& name, bool) { probed << name; });

    page.setCreatorOnly(true);
    page.CheckList();
    ASSERT_TRUE(page.isScanPending());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !page.isScanPending(); }, 60000));

    probed.sort();
    EXPECT_EQ(probed, (QStringList{"PC1\\NOLOGIN", "PC1\\PLAIN", "PC1\\VELDRIN"}))
        << "every instance was probed";
    EXPECT_EQ(itemsOf(combo), QStringList{"PC1\\VELDRIN"});
    EXPECT_EQ(combo->currentText(), "PC1\\VELDRIN");
    EXPECT_EQ(page.ServerName(), "PC1\\VELDRIN");
}

TEST(ServerPagesE2E, ServerNameResolvesLocalToTheDefaultInstancesOwnName)
{
    StandinServer::Options o;
    o.instances = {{"MSSQLSERVER", "PC1", {{"wizard", kWizardPassword, false}}, {}}};
    StandinMachine machine(o);
    SQLServerCtl page;
    auto* combo = page.findChild<QComboBox*>("cmbServerList");
    combo->setEditText("(local)");
    EXPECT_EQ(page.ServerName(), "PC1");
}

TEST(ServerPagesE2E, ServerNameReportsAnUnreachableDefaultInstance)
{
    StandinServer::Options o;
    o.instances = {{"MSSQLSERVER", "PC1", {}, {}}}; // no login for the wizard's Windows identity
    StandinMachine machine(o);
    SQLServerCtl page;
    page.findChild<QComboBox*>("cmbServerList")->setEditText("(local)");
    try {
        page.ServerName();
        FAIL() << "no error raised";
    } catch (const LfError& e) {
        EXPECT_EQ(e.source(), "SQLServerCtl.errSource");
        EXPECT_EQ(e.description().rfind("while getting the name of the local server instance, ", 0), 0u)
            << e.description();
        EXPECT_NE(e.description().find("wizard"), std::string::npos) << e.description();
    }
}

TEST(ServerPagesE2E, APlainListingShowsEveryInstanceTheNetworkAnswers)
{
    StandinMachine machine;
    SQLServerCtl page([] { return QStringLiteral("PC1\\VELDRIN"); });
    auto* combo = page.findChild<QComboBox*>("cmbServerList");
    page.setCreatorOnly(false);
    page.CheckList();
    QStringList items = itemsOf(combo);
    items.sort();
    EXPECT_EQ(items, (QStringList{"PC1\\NOLOGIN", "PC1\\PLAIN", "PC1\\VELDRIN"}));
    EXPECT_FALSE(page.isScanPending());
}

TEST(ServerPagesE2E, TheDatabaseListHoldsTheDatabasesTheLoginMayUse)
{
    StandinMachine machine;
    machine.execAsSa("PLAIN", "CREATE DATABASE LabData");
    machine.execAsSa("PLAIN", "CREATE DATABASE Secret");
    machine.execAsSa("PLAIN", "USE LabData; EXEC sp_grantdbaccess 'wizard'");

    sqlserver::ConnectOptions options;
    options.server = "PC1\\PLAIN";
    auto connection = sqlserver::serverManager().Connect(options);
    SQLDatabaseCtl page;
    page.Initialize(*connection);

    const QStringList items = itemsOf(page.findChild<QComboBox*>("cmbDatabase"));
    EXPECT_EQ(items, QStringList{"LabData"}) << "neither Secret nor the server's own master";
    EXPECT_EQ(page.DatabaseName(), "LabData");
    EXPECT_FALSE(page.validateAdminLoginName(*connection));
}

TEST(ServerPagesE2E, AServerWithoutUserDatabasesProposesLabfolio9WithAnEmptyList)
{
    StandinMachine machine; // VELDRIN holds only its own master, where the wizard is a sysadmin
    sqlserver::ConnectOptions options;
    options.server = "PC1\\VELDRIN";
    auto connection = sqlserver::serverManager().Connect(options);
    bool sawMaster = false;
    for (const sqlserver::DatabaseInfo& d : connection->Databases())
        sawMaster = sawMaster || (d.name == "master" && d.canUse);
    ASSERT_TRUE(sawMaster) << "the login may use master, and the page still leaves it out";

    SQLDatabaseCtl page;
    page.Initialize(*connection);
    const auto* combo = page.findChild<QComboBox*>("cmbDatabase");
    EXPECT_EQ(combo->count(), 0) << itemsOf(combo).join(",").toStdString();
    EXPECT_EQ(combo->currentText(), "Labfolio_9");
    EXPECT_EQ(page.DatabaseName(), "Labfolio_9");
}

TEST(ServerPagesE2E, TheMsdeDialogAcceptsAGoodSqlLoginAndReportsABadOne)
{
    StandinMachine machine;
    ScriptedPrompter prompter;
    frmUserInfo dialog(prompter);
    dialog.show();
    auto* txtMSDE = dialog.findChild<QLineEdit*>("txtMSDE");
    auto* txtUser = dialog.findChild<QLineEdit*>("txtMSDEUser");
    auto* txtPWD = dialog.findChild<QLineEdit*>("txtPWD");
    auto* ok = dialog.findChild<QPushButton*>("OKButton");
    ASSERT_EQ(txtMSDE->text(), "PC1\\VELDRIN");

    txtUser->setText("chemist");
    txtPWD->setText("not-the-password");
    ok->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog.isConnecting(); }, 30000));
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_FALSE(dialog.OK());
    EXPECT_FALSE(dialog.IsConnect());
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].title, "MSDE Server connection failed");
    EXPECT_EQ(prompter.shown()[0].icon, MsgIcon::Information);
    EXPECT_NE(prompter.shown()[0].text.find("chemist"), std::string::npos) << prompter.shown()[0].text;

    txtPWD->setText(QString::fromStdString(" " + kChemistPassword + " "));
    ok->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog.isVisible(); }, 30000));
    EXPECT_TRUE(dialog.OK());
    EXPECT_TRUE(dialog.IsConnect());
    EXPECT_EQ(dialog.MSDEPWD().toStdString(), kChemistPassword);
    EXPECT_EQ(prompter.shown().size(), 1u);
}

} // namespace
