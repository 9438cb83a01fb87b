// Every task through the real window, clicking Next as a person would, against the SQL Server
// stand-in: rebuilding the chemical structure index of the seeded desktop database with the
// chemistry module.
#include "WindowE2eFixture.h"

#include "ScopedEnv.h"
#include "structindex_E2eSupport.h"

#include <QApplication>
#include <QElapsedTimer>

namespace fs = std::filesystem;

namespace {

// The desktop instance with thirty stored structures from the project's sample.
StandinServer::Instance structureDesktop()
{
    auto instance = desktopInstance();
    instance.seedArguments.push_back("--structures");
    instance.seedArguments.push_back(std::string(LF_TEST_DATA) + "/structindex/nci30.txt");
    return instance;
}

class RebuildWindowE2e : public WindowE2e {
protected:
    explicit RebuildWindowE2e(std::vector<StandinServer::Instance> instances = {structureDesktop()})
        : WindowE2e(std::move(instances))
    {
    }

    // From the task picker to the rebuild's summary, page by page.
    void toRebuildSummary(const fs::path& indexFolder)
    {
        choose("mRebuildMolIDsOption");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::ServerPage);
        typeIn("cmbServerList", clientHostName() + "\\VELDRIN");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::DatabasePage);
        typeIn("cmbDatabase", "LFDesktop10");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::IndexLocationPage);
        type("mMSTFileLocationTextBox", indexFolder.string());
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
        EXPECT_EQ(text("lblTop"), "Ready to Build the MST File");
        EXPECT_EQ(button("cmdNext")->text(), "&Build");
    }

    // The rebuild runs in timer ticks after Build has returned: the window runs until a
    // result is on show, or a minute has passed.
    bool waitForResult()
    {
        QElapsedTimer clock;
        clock.start();
        while (!button("cmdDone")->isVisible() && clock.elapsed() < 60000)
            QApplication::processEvents(QEventLoop::AllEvents, 20);
        return button("cmdDone")->isVisible();
    }

    std::vector<int64_t> molIds() { return MolIdsInKeyOrder(*machine.sa("VELDRIN", "LFDesktop10")); }

    TempDir cache;
    ScopedEnv cacheHome{"XDG_CACHE_HOME", cache.path().string()};
};

// The demonstration machine's two instances.
class RebuildAndMigrateWindowE2e : public RebuildWindowE2e {
protected:
    RebuildAndMigrateWindowE2e() : RebuildWindowE2e({structureDesktop(), multiUserInstance()}) {}
};

} // namespace

TEST_F(RebuildWindowE2e, RebuildingTheIndexNumbersEveryStructureAndEndsOnItsResult)
{
    toRebuildSummary(index());
    next();
    EXPECT_EQ(text("lblTop"), "Building MST File");
    EXPECT_EQ(text("lblBottom"), "Build in Progress...");
    ASSERT_TRUE(waitForResult());

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Build Completed");
    EXPECT_EQ(text("lblHeader"),
              "The wizard has successfully built the MST File. Click Finish to exit the wizard.");
    EXPECT_EQ(text("lblBottom"), "");
    const std::vector<int64_t> ids = molIds();
    ASSERT_EQ(ids.size(), 30u);
    for (size_t i = 0; i < ids.size(); ++i)
        EXPECT_EQ(ids[i], static_cast<int64_t>(i + 1));
    EXPECT_TRUE(fs::exists(index() / "Labfolio.mst"));
    finishCloses();
}

TEST_F(RebuildWindowE2e, AServerThatStopsBeforeBuildEndsOnTheRebuildError)
{
    toRebuildSummary(index());
    machine.server.stop();
    next();
    ASSERT_TRUE(waitForResult());

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Build of Chemical Structure Index Aborted");
    EXPECT_EQ(text("lblHeader"), "");
    EXPECT_EQ(text("lblBottom"), "Sorry, SQL Server \"" + clientHostName() +
                                     "\\VELDRIN\" does not exist or access denied (the SQL Server Browser on "
                                     "\"127.0.0.1\" does not know the instance).");
    finishReturnsToTheTaskPicker(5);
}

// Where the desktop program has left no structure index, the wizard's own rebuild makes it in
// the shared application-data folder, and the migration then carries it to the index folder.
TEST_F(RebuildAndMigrateWindowE2e, TheRebuiltDesktopIndexIsWhatTheMigrationCopies)
{
    fs::create_directories(appData());
    toRebuildSummary(appData());
    next();
    ASSERT_TRUE(waitForResult());
    ASSERT_EQ(text("lblTop"), "Build Completed");
    finishCloses();

    restart();
    toMigrationSummary();
    next();
    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Migration Completed") << text("lblBottom");
    for (const char* ext : {"mst", "msx", "mss", "msk", "msf"}) {
        const std::string name = std::string("Labfolio.") + ext;
        ASSERT_TRUE(fs::exists(appData() / name)) << name;
        EXPECT_EQ(fs::file_size(index() / name), fs::file_size(appData() / name)) << name;
    }
    EXPECT_TRUE(fs::exists(backup() / "Labfolio.bak"));
}
