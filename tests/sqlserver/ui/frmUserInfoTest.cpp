#include "frmUserInfo.h"

#include "ScriptedPrompter.h"
#include "UiTestSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

class MsdeDialogTest : public ::testing::Test {
protected:
    MsdeDialogTest()
    {
        FakeServerManager::Server msde;
        msde.sqlLogins = {{"lfadmin", "secret"}, {"nopwd", ""}};
        machine.manager->servers["PC1\\VELDRIN"] = msde;
        dialog.show();
    }

    void enter(const QString& server, const QString& user, const QString& password)
    {
        txtMSDE->setText(server);
        txtMSDEUser->setText(user);
        txtPWD->setText(password);
    }
    // Clicks OK and waits until the dialog has closed or has finished its test login.
    void clickOk()
    {
        attemptsBefore = machine.manager->connects().size();
        okButton->click();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog.isVisible() || !dialog.isConnecting(); }, 5000));
    }

    MachineWithServers machine{std::vector<std::string>{}};
    ScriptedPrompter prompter;
    frmUserInfo dialog{prompter};
    QLineEdit* txtMSDE = dialog.findChild<QLineEdit*>("txtMSDE");
    QLineEdit* txtMSDEUser = dialog.findChild<QLineEdit*>("txtMSDEUser");
    QLineEdit* txtPWD = dialog.findChild<QLineEdit*>("txtPWD");
    QPushButton* okButton = dialog.findChild<QPushButton*>("OKButton");
    QPushButton* cancelButton = dialog.findChild<QPushButton*>("CancelButton");
    size_t attemptsBefore = 0;
};

TEST_F(MsdeDialogTest, LooksAsTheProductsDialog)
{
    EXPECT_EQ(dialog.windowTitle(), "MSDE Connection User Information");
    EXPECT_EQ(dialog.font().family(), "MS Sans Serif");
    EXPECT_TRUE(dialog.isModal());
    const std::pair<const char*, const char*> labels[] = {
        {"Label3", "Please provide the user name and password to log in MSDE server."},
        {"Label4", "MSDE Name"},
        {"Label1", "User Name:"},
        {"Label2", "Password:"},
    };
    for (const auto& [name, text] : labels) {
        auto* label = dialog.findChild<QLabel*>(name);
        ASSERT_NE(label, nullptr) << name;
        EXPECT_EQ(label->text(), text);
    }
    ASSERT_NE(okButton, nullptr);
    ASSERT_NE(cancelButton, nullptr);
    EXPECT_EQ(okButton->text(), "&OK");
    EXPECT_EQ(cancelButton->text(), "&Cancel");
    ASSERT_NE(txtPWD, nullptr);
    EXPECT_EQ(txtPWD->echoMode(), QLineEdit::Password);
    EXPECT_EQ(txtMSDE->text(), "PC1\\VELDRIN");
    EXPECT_EQ(txtMSDEUser->text(), "");
    EXPECT_FALSE(dialog.OK());
    EXPECT_FALSE(dialog.IsConnect());
}

TEST_F(MsdeDialogTest, ThePasswordIsPaintedAsAsterisks)
{
    // A steady cursor, so that two pictures of the box differ only by what it shows.
    QApplication::setCursorFlashTime(0);
    txtPWD->setEchoMode(QLineEdit::Normal);
    txtPWD->setText("****");
    const QImage asterisks = txtPWD->grab().toImage();
    txtPWD->setEchoMode(QLineEdit::Password);
    txtPWD->setText("pw4!");
    const QImage masked = txtPWD->grab().toImage();

    EXPECT_EQ(txtPWD->displayText(), "****");
    EXPECT_EQ(masked, asterisks) << "the box paints one asterisk per character";
}

TEST_F(MsdeDialogTest, AGoodLoginClosesWithOkAndIsConnect)
{
    enter("PC1\\VELDRIN", "lfadmin", "secret");
    clickOk();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_TRUE(dialog.OK());
    EXPECT_TRUE(dialog.IsConnect());
    ASSERT_EQ(machine.manager->connects().size(), 1u);
    const auto c = machine.manager->connects()[0];
    EXPECT_FALSE(c.loginSecure);
    EXPECT_EQ(c.server, "PC1\\VELDRIN");
    EXPECT_EQ(c.user, "lfadmin");
    EXPECT_EQ(c.password, "secret");
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(machine.manager->liveConnections(), 0) << "the test connection is not kept";
    EXPECT_EQ(dialog.MSDEName(), "PC1\\VELDRIN");
    EXPECT_EQ(dialog.MSDEUser(), "lfadmin");
    EXPECT_EQ(dialog.MSDEPWD(), "secret");
}

TEST_F(MsdeDialogTest, ABadLoginIsReportedAndTheDialogStaysOpen)
{
    enter("PC1\\VELDRIN", "lfadmin", "wrong");
    clickOk();
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_FALSE(dialog.OK());
    EXPECT_FALSE(dialog.IsConnect());
    ASSERT_EQ(prompter.shown().size(), 1u);
    const auto& box = prompter.shown()[0];
    EXPECT_EQ(box.title, "MSDE Server connection failed");
    EXPECT_EQ(box.text, "[SQL Server]Login failed for user 'lfadmin'.");
    EXPECT_EQ(box.icon, MsgIcon::Information);
    EXPECT_EQ(box.buttons, MsgButtons::OK);
    EXPECT_EQ(txtPWD->text(), "wrong") << "the entries stay for a correction";
    EXPECT_TRUE(okButton->isEnabled());

    // Correcting the password then closes it.
    txtPWD->setText("secret");
    clickOk();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_TRUE(dialog.OK());
    EXPECT_TRUE(dialog.IsConnect());
    EXPECT_EQ(prompter.shown().size(), 1u);
}

TEST_F(MsdeDialogTest, AnUnknownServerIsReportedLikeABadLogin)
{
    enter("PC9\\NOWHERE", "lfadmin", "secret");
    clickOk();
    EXPECT_TRUE(dialog.isVisible());
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].text, "SQL Server \"PC9\\NOWHERE\" does not exist or access denied");
    EXPECT_FALSE(dialog.OK());
}

TEST_F(MsdeDialogTest, BlanksAroundTheEntriesAreRemovedForTheTestAndTheValues)
{
    enter("  PC1\\VELDRIN ", " lfadmin  ", "  secret ");
    clickOk();
    ASSERT_EQ(machine.manager->connects().size(), 1u);
    const auto c = machine.manager->connects()[0];
    EXPECT_EQ(c.server, "PC1\\VELDRIN");
    EXPECT_EQ(c.user, "lfadmin");
    EXPECT_EQ(c.password, "secret");
    EXPECT_TRUE(dialog.IsConnect());
    EXPECT_EQ(dialog.MSDEName(), "PC1\\VELDRIN");
    EXPECT_EQ(dialog.MSDEUser(), "lfadmin");
    EXPECT_EQ(dialog.MSDEPWD(), "secret");
    EXPECT_EQ(dialog.property("MSDEName").toString(), "PC1\\VELDRIN");
}

TEST_F(MsdeDialogTest, AServerNameOfBlanksOnlyIsNotEmpty)
{
    enter("   ", "lfadmin", "secret");
    clickOk();
    ASSERT_EQ(machine.manager->connects().size(), 1u) << "blanks still ask for a test login";
    EXPECT_EQ(machine.manager->connects()[0].server, "");
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_FALSE(dialog.OK());
    EXPECT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(dialog.MSDEName(), "");
}

TEST_F(MsdeDialogTest, AnEmptyServerNameClosesWithOkWithoutATest)
{
    enter("", "lfadmin", "secret");
    clickOk();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_TRUE(dialog.OK());
    EXPECT_FALSE(dialog.IsConnect());
    EXPECT_TRUE(machine.manager->connects().empty());
    EXPECT_TRUE(prompter.shown().empty());
}

TEST_F(MsdeDialogTest, AnEmptyPasswordIsPassedAsEmpty)
{
    enter("PC1\\VELDRIN", "nopwd", "");
    clickOk();
    ASSERT_EQ(machine.manager->connects().size(), 1u);
    EXPECT_EQ(machine.manager->connects()[0].password, "");
    EXPECT_TRUE(dialog.IsConnect());
    EXPECT_EQ(dialog.MSDEPWD(), "");
}

TEST_F(MsdeDialogTest, CancelClosesWithoutOk)
{
    enter("PC1\\VELDRIN", "lfadmin", "secret");
    cancelButton->click();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_FALSE(dialog.OK());
    EXPECT_TRUE(machine.manager->connects().empty());
}

TEST_F(MsdeDialogTest, TheDialogKeepsPaintingWhileTheTestLoginWaits)
{
    machine.manager->servers["PC1\\VELDRIN"].connectDelay = 5s;
    QElapsedTimer sincePosted;
    qint64 deliveredAfterMs = -1;
    bool loginRunningAtDelivery = false;
    machine.manager->onConnect = [&](const sqlserver::ConnectOptions&) {
        sincePosted.start();
        QTimer::singleShot(0, &dialog, [&] {
            deliveredAfterMs = sincePosted.elapsed();
            loginRunningAtDelivery = machine.manager->connectsRunning() == 1;
        });
    };
    enter("PC1\\VELDRIN", "lfadmin", "secret");
    okButton->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return deliveredAfterMs >= 0; }, 10000));
    EXPECT_TRUE(loginRunningAtDelivery);
    EXPECT_LT(deliveredAfterMs, 1000);
    EXPECT_TRUE(dialog.isConnecting());
    EXPECT_FALSE(okButton->isEnabled());
    EXPECT_TRUE(cancelButton->isEnabled());

    machine.manager->openGate();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog.isVisible(); }, 5000));
    EXPECT_TRUE(dialog.OK());
    EXPECT_TRUE(dialog.IsConnect());
}

TEST_F(MsdeDialogTest, CancelWhileTheTestLoginWaitsForgetsItsOutcome)
{
    machine.manager->servers["PC1\\VELDRIN"].connectDelay = 5s;
    enter("PC1\\VELDRIN", "lfadmin", "secret");
    okButton->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return machine.manager->connectsRunning() == 1; }, 5000));
    cancelButton->click();
    EXPECT_FALSE(dialog.isVisible());
    machine.manager->openGate();
    ASSERT_TRUE(QTest::qWaitFor([&] { return machine.manager->connectsRunning() == 0; }, 5000));
    QTest::qWait(50);
    EXPECT_FALSE(dialog.OK());
    EXPECT_FALSE(dialog.IsConnect());
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
}

} // namespace
