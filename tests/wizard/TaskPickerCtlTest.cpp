#include "RegistryFixture.h"
#include "TaskPickerCtl.h"

#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QToolTip>
#include <QRadioButton>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QRadioButton* option(TaskPickerCtl& page, const char* name)
{
    auto* o = page.findChild<QRadioButton*>(name);
    EXPECT_NE(o, nullptr) << name;
    return o;
}

std::string regFile(bool engine, bool product, bool chemistry)
{
    std::string text = regtext::kHeader;
    if (engine)
        text += regtext::kInstancesMssqlVeldrin;
    if (product)
        text += regtext::kProductKey;
    if (chemistry)
        text += regtext::kChemistryKey;
    return text;
}

// The tool tip on show: Qt draws it in a label window of its own.
const QWidget* shownToolTip()
{
    for (const QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == "qtooltip_label" && w->isVisible())
            return w;
    return nullptr;
}

const char* kAllOptions[] = {"mServeDatabaseOption", "mConnectOption", "mConnectDesktopOption",
                             "mCreateOfflineOption", "mRebuildMolIDsOption", "mRemoveOfflineOption"};

}  // namespace

TEST(TaskPickerCtl, WithoutTheEngineOnlyConnectAndRebuildAreOfferedAndConnectIsSelected)
{
    RegistryFixture registry(regFile(false, true, true));
    TaskPickerCtl page;
    EXPECT_FALSE(option(page, "mServeDatabaseOption")->isEnabled());
    EXPECT_FALSE(option(page, "mConnectDesktopOption")->isEnabled());
    EXPECT_FALSE(option(page, "mCreateOfflineOption")->isEnabled());
    EXPECT_TRUE(option(page, "mConnectOption")->isEnabled());
    EXPECT_TRUE(option(page, "mRebuildMolIDsOption")->isEnabled());
    EXPECT_TRUE(option(page, "mConnectOption")->isChecked());
    EXPECT_EQ(page.Task(), 2);
    EXPECT_EQ(page.explanationText(), TaskPickerCtl::ExplanationFor(2));
}

TEST(TaskPickerCtl, EngineWithoutProductDisablesMigrationAndSelectsConnect)
{
    RegistryFixture registry(regFile(true, false, true));
    TaskPickerCtl page;
    EXPECT_FALSE(option(page, "mServeDatabaseOption")->isEnabled());
    EXPECT_FALSE(option(page, "mConnectDesktopOption")->isEnabled());
    EXPECT_TRUE(option(page, "mCreateOfflineOption")->isEnabled());
    EXPECT_TRUE(option(page, "mConnectOption")->isChecked());
    EXPECT_EQ(page.Task(), 2);
}

TEST(TaskPickerCtl, EngineAndProductSelectMigrationWithItsTwoParagraphs)
{
    RegistryFixture registry(regFile(true, true, true));
    TaskPickerCtl page;
    for (const char* name : kAllOptions)
        EXPECT_TRUE(option(page, name)->isEnabled()) << name;
    EXPECT_TRUE(option(page, "mServeDatabaseOption")->isChecked());
    EXPECT_EQ(page.Task(), 1);
    EXPECT_EQ(page.explanationText(),
              "Migrate an existing local Labfolio database that can be shared by several users.\r\n\r\n"
              "NOTE: This multi-user setup wizard will migrate your single-user database to a multi-user database "
              "using SQL Server or MSDE. To create an Oracle database, contact Veldrin Services via "
              "support@labfolio.veldrin.com.");
    auto* box = page.findChild<QPlainTextEdit*>("mExplanationTextBox");
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(box->isReadOnly());
    EXPECT_EQ(box->toPlainText().split('\n').size(), 3);
}

TEST(TaskPickerCtl, NoChemistryRegistrationDisablesTheRebuildInEveryCase)
{
    for (auto [engine, product] : {std::pair{false, false}, std::pair{true, false}, std::pair{true, true}}) {
        RegistryFixture registry(regFile(engine, product, false));
        TaskPickerCtl page;
        EXPECT_FALSE(option(page, "mRebuildMolIDsOption")->isEnabled()) << engine << product;
    }
}

TEST(TaskPickerCtl, ThreeOptionsAreAlwaysHidden)
{
    RegistryFixture registry(regFile(true, true, true));
    TaskPickerCtl page;
    page.show();
    EXPECT_FALSE(option(page, "mRemoveOfflineOption")->isVisible());
    EXPECT_FALSE(option(page, "mCreateOfflineOption")->isVisible());
    EXPECT_FALSE(option(page, "mConnectDesktopOption")->isVisible());
    EXPECT_TRUE(option(page, "mServeDatabaseOption")->isVisible());
    EXPECT_TRUE(option(page, "mConnectOption")->isVisible());
    EXPECT_TRUE(option(page, "mRebuildMolIDsOption")->isVisible());
}

TEST(TaskPickerCtl, ClickingAnOptionSelectsItAloneAndExplainsIt)
{
    RegistryFixture registry(regFile(true, true, true));
    TaskPickerCtl page;
    page.resize(500, 250);
    page.show();
    QRadioButton* rebuild = option(page, "mRebuildMolIDsOption");
    QTest::mouseClick(rebuild, Qt::LeftButton);
    EXPECT_EQ(page.Task(), 5);
    EXPECT_TRUE(rebuild->isChecked());
    for (const char* name : kAllOptions)
        if (std::string(name) != "mRebuildMolIDsOption")
            EXPECT_FALSE(option(page, name)->isChecked()) << name;
    EXPECT_EQ(page.explanationText(),
              "Enable chemical structure searching in SQL Server or MSDE databases if the chemical structure index "
              "associated with the database has been lost or corrupted.");
}

TEST(TaskPickerCtl, ClickingTheSelectedOptionRewritesTheSameTextAndKeepsTheTask)
{
    RegistryFixture registry(regFile(true, true, true));
    TaskPickerCtl page;
    page.resize(500, 250);
    page.show();
    auto* box = page.findChild<QPlainTextEdit*>("mExplanationTextBox");
    box->setPlainText("changed by hand");
    QTest::mouseClick(option(page, "mServeDatabaseOption"), Qt::LeftButton);
    EXPECT_EQ(page.Task(), 1);
    EXPECT_TRUE(option(page, "mServeDatabaseOption")->isChecked());
    EXPECT_EQ(page.explanationText(), TaskPickerCtl::ExplanationFor(1));
    EXPECT_TRUE(box->toPlainText().startsWith("Migrate an existing local Labfolio database"));
}

TEST(TaskPickerCtl, CaptionsAndToolTips)
{
    RegistryFixture registry(regFile(true, true, true));
    TaskPickerCtl page;
    EXPECT_EQ(option(page, "mServeDatabaseOption")->text(), "Migrate your database to a Multi-User Server");
    EXPECT_EQ(option(page, "mConnectOption")->toolTip(),
              "Click here if a multi-user server has been created and you want to use it to store information.");
    EXPECT_EQ(option(page, "mRebuildMolIDsOption")->text(), "Rebuild SQLServer Chemical Structure Index");
    EXPECT_TRUE(option(page, "mRemoveOfflineOption")->toolTip().isEmpty());
    EXPECT_TRUE(option(page, "mServeDatabaseOption")->font().bold());
}

TEST(TaskPickerCtl, ToolTipsAreDrawnInTheCaptionsFace)
{
    RegistryFixture registry(regFile(true, true, true));
    TaskPickerCtl page;
    page.resize(600, 300);
    page.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&page));
    const QFont applicationTipFont = QToolTip::font();

    // The tip of an option, asked for as the mouse asks for it.
    QRadioButton* connect = option(page, "mConnectOption");
    QHelpEvent ask(QEvent::ToolTip, QPoint(5, 5), connect->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(connect, &ask);
    ASSERT_TRUE(QToolTip::isVisible());
    const QWidget* tip = shownToolTip();
    ASSERT_NE(tip, nullptr);
    EXPECT_EQ(QToolTip::text(), connect->toolTip());
    EXPECT_EQ(tip->font().family(), connect->font().family());
    EXPECT_EQ(connect->font().family(), "Verdana");
    QToolTip::hideText();

    // Other windows keep the application's tool-tip font.
    EXPECT_EQ(QToolTip::font(), applicationTipFont);
    QLabel other("other");
    other.setToolTip("plain tip");
    other.show();
    QHelpEvent askOther(QEvent::ToolTip, QPoint(2, 2), other.mapToGlobal(QPoint(2, 2)));
    QApplication::sendEvent(&other, &askOther);
    ASSERT_TRUE(QToolTip::isVisible());
    const QWidget* otherTip = shownToolTip();
    ASSERT_NE(otherTip, nullptr);
    EXPECT_NE(otherTip->font().family(), "Verdana");
    QToolTip::hideText();
}

TEST(TaskPickerCtl, ExplanationsOfTheHiddenTasksAreKeptAsWritten)
{
    EXPECT_EQ(TaskPickerCtl::ExplanationFor(4),
              "Work with Labfolio data from a remote Labfolio service without being connected to the service.\r\n\r\n"
              "Assign offline database permission to the built-in user group");
    EXPECT_EQ(TaskPickerCtl::ExplanationFor(6), "Remove Labfolio Offline Database.");
    EXPECT_EQ(TaskPickerCtl::ExplanationFor(3),
              "Provide an option to connect to your desktop database in addition to other Labfolio services.");
}
