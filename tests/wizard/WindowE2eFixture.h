#pragma once

// The wizard's window on a workstation played by the SQL Server stand-in through unixODBC and
// FreeTDS: this computer's desktop instance VELDRIN, seeded with the desktop database, and the
// project's osql tool on PATH.
#include "RegistryFixture.h"
#include "ScriptedPrompter.h"
#include "TaskPickerCtl.h"
#include "TempDir.h"
#include "WorkstationRegistry.h"
#include "WizardPage.h"
#include "frmInstall.h"
#include "sqlserver_E2eSupport.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

// The user of the desktop database, in the form the wizard's caller account takes.
inline std::string desktopUser()
{
    return clientHostName() + "\\alice";
}

// This computer's desktop instance, seeded with the desktop database and its user.
inline StandinServer::Instance desktopInstance()
{
    auto instance = StandinMachine::instance("VELDRIN", clientHostName());
    instance.seedArguments = {"--user", desktopUser() + ":admin"};
    return instance;
}

// The multi-user server on another machine (it names itself by the loopback address, which
// this computer reaches).
inline StandinServer::Instance multiUserInstance()
{
    return StandinMachine::instance("MULTIUSER", "127.0.0.1");
}

class WindowE2e : public ::testing::Test {
protected:
    explicit WindowE2e(std::vector<StandinServer::Instance> instances = {desktopInstance()},
                       int progressStepMillis = 50)
        : machine(std::move(instances), progressStepMillis), registry(machineRegistry(dir.path())),
          path("PATH", std::string(OSQL_DIR) + ":" + (std::getenv("PATH") ? std::getenv("PATH") : ""))
    {
        // The tool runs in a process of its own, where this computer has its real name.
        machine.system->computer = clientHostName();
        machine.system->user = desktopUser();
        std::filesystem::create_directories(index());
        std::filesystem::create_directories(backup());
        restart();
    }

    // A new window on its task picker, as when the wizard is started again.
    void restart()
    {
        window = std::make_unique<frmInstall>(prompter);
        window->show();
        next();
    }

    QPushButton* button(const char* name) { return window->findChild<QPushButton*>(name); }
    void type(const char* box, const std::string& text)
    {
        window->findChild<QLineEdit*>(box)->setText(QString::fromStdString(text));
    }
    void typeIn(const char* comboBox, const std::string& text)
    {
        window->findChild<QComboBox*>(comboBox)->setEditText(QString::fromStdString(text));
    }
    std::string text(const char* label) { return window->findChild<QLabel*>(label)->text().toStdString(); }
    void next() { QTest::mouseClick(button("cmdNext"), Qt::LeftButton); }
    void choose(const char* option)
    {
        QTest::mouseClick(window->taskPickerPage()->findChild<QRadioButton*>(option), Qt::LeftButton);
    }
    // From the task picker to the task's summary, for the tasks whose next page is the summary.
    void toSummary(const char* option)
    {
        choose(option);
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
    }

    // From the task picker to the migration summary, page by page.
    void toMigrationSummary()
    {
        choose("mServeDatabaseOption");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::ServerPage) << prompterText();
        typeIn("cmbServerList", "127.0.0.1\\MULTIUSER");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::DatabasePage) << prompterText();
        typeIn("cmbDatabase", "Labfolio");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::IndexLocationPage) << prompterText();
        type("mMSTFileLocationTextBox", index().string());
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::ServiceNamePage) << prompterText();
        EXPECT_EQ(window->findChild<QLineEdit*>("Text1")->text(), "Labfolio");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::BackupFolderPage) << prompterText();
        type("mBackupDirectoryTextBox", backup().string());
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage) << prompterText();
        EXPECT_EQ(text("lblTop"), "Ready to Migrate Database");
        EXPECT_EQ(button("cmdNext")->text(), "&Migrate");
    }

    std::string prompterText() const { return prompter.shown().empty() ? "" : prompter.shown().back().text; }
    std::filesystem::path index() const { return dir.path() / "share" / "index"; }
    std::filesystem::path backup() const { return dir.path() / "share" / "backup"; }

    std::filesystem::path appData() const { return dir.path() / "appdata" / "Labfolio 10.0"; }
    std::set<std::string> databases()
    {
        std::set<std::string> names;
        for (const auto& row : machine.sa("VELDRIN")->query("SELECT name FROM sys.databases"))
            names.insert(row.at(0).toText());
        return names;
    }

    // Only Finish is offered, the pages are gone.
    void expectResultPage()
    {
        EXPECT_EQ(window->CurrentPage(), frmInstall::ProgressPage);
        EXPECT_TRUE(button("cmdDone")->isVisible());
        EXPECT_TRUE(button("cmdDone")->isDefault());
        for (const char* hidden : {"cmdNext", "cmdBack", "cmdCancel"})
            EXPECT_FALSE(button(hidden)->isVisible()) << hidden;
        for (WizardPage* page : window->pages())
            EXPECT_FALSE(page->isVisible()) << page->objectName().toStdString();
    }

    // Finish after a success closes the window.
    void finishCloses()
    {
        QTest::mouseClick(button("cmdDone"), Qt::LeftButton);
        EXPECT_FALSE(window->isVisible());
    }

    // Finish after an error leads back to the task picker with the task still chosen.
    void finishReturnsToTheTaskPicker(int32_t task)
    {
        QTest::mouseClick(button("cmdDone"), Qt::LeftButton);
        EXPECT_TRUE(window->isVisible());
        EXPECT_EQ(window->CurrentPage(), frmInstall::TaskPage);
        EXPECT_TRUE(window->taskPickerPage()->isVisible());
        EXPECT_EQ(window->taskPickerPage()->Task(), task);
        EXPECT_EQ(button("cmdNext")->text(), "&Next >");
        EXPECT_TRUE(button("cmdBack")->isEnabled());
        EXPECT_TRUE(button("cmdCancel")->isVisible());
        EXPECT_FALSE(button("cmdDone")->isVisible());
    }

    TempDir dir;
    StandinMachine machine;
    RegistryFixture registry;
    ScopedEnv path;
    ScriptedPrompter prompter;
    std::unique_ptr<frmInstall> window;
};
