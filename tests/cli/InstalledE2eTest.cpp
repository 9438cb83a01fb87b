// The installed wizard, run from where `cmake --install` put it: it finds its SQL tool, its
// offline script and its chemistry module beside itself, with no variable pointing at them and
// the build's folders nowhere on its PATH.
#include "CliE2eFixture.h"
#include "structindex_E2eSupport.h"

#include "OdbcConnection.h"

#include <cstdlib>

namespace fs = std::filesystem;

namespace {

// One installation for every test here, into a staging folder outside the build.
class Installation {
public:
    static const Installation& get()
    {
        static Installation installation;
        return installation;
    }
    fs::path bin() const { return m_stage.path() / "usr" / "bin"; }
    bool ok() const { return m_ok; }

private:
    Installation()
    {
        const std::string command = "DESTDIR='" + m_stage.str() + "' '" CMAKE_COMMAND "' --install '" BUILD_FOLDER
                                    "' --prefix /usr > '" + m_stage.str() + "/install.log' 2>&1";
        m_ok = std::system(command.c_str()) == 0;
    }
    TempDir m_stage;
    bool m_ok = false;
};

struct StructureFile {
    TempDir structureFolder;
};

class InstalledE2e : private StructureFile, public CliE2e {
protected:
    InstalledE2e() : CliE2e({desktopWith(structureFolder)})
    {
        cli.program = (Installation::get().bin() / "labfolio-setup").string();
        // Only the system's folders: no osql of the build's, none of FreeTDS's scripts counted.
        cli.environment["PATH"] = "/usr/bin:/bin";
        cli.environment["LABFOLIO_CHEMISTRY_MODULE"] = std::nullopt;
    }

    static StandinServer::Instance desktopWith(const TempDir& files)
    {
        auto instance = cliDesktopInstance();
        instance.seedArguments.push_back("--structures");
        instance.seedArguments.push_back(files.write("structures.txt", structureLines(12)).string());
        return instance;
    }

    void SetUp() override { ASSERT_TRUE(Installation::get().ok()) << "cmake --install failed"; }
};

} // namespace

TEST_F(InstalledE2e, ConnectDesktopWorksFromTheInstalledProgramAndNamesNoMissingFile)
{
    const CliRun r = run({"connect-desktop", "--yes"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.err.find("is missing"), std::string::npos) << r.err;
    EXPECT_EQ(serviceNames(appData()), std::vector<std::string>{"Desktop"});
}

TEST_F(InstalledE2e, CreateOfflineRunsTheInstalledScriptWithTheInstalledSqlTool)
{
    const CliRun r = run({"create-offline", "--yes"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(databases("VELDRIN").count("LFOffline9"), 1u);
}

TEST_F(InstalledE2e, RebuildIndexLoadsTheInstalledChemistryModule)
{
    const CliRun r = run({"rebuild-index", "--server", clientHostName() + "\\VELDRIN", "--database", "LFDesktop10",
                          "--index-folder", index().string()});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.err.find("cannot be loaded"), std::string::npos) << r.err;
    const auto rows = machine.sa("VELDRIN", "LFDesktop10")
                          ->query("SELECT COUNT(*) FROM ELN_chemical_structures WHERE MOL_ID > 0");
    EXPECT_EQ(rows.at(0).at(0).toInt(), 12);
}

TEST_F(InstalledE2e, TheIndexToolAnswersFromThePath)
{
    CliProcess mst = cli;
    mst.program = (Installation::get().bin() / "labfolio-mst").string();
    const CliRun r = mst.run({"--help"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_NE(r.out.find("search FILE.mst QUERY"), std::string::npos) << r.out;
}
