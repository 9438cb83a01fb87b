#include "MstCommand.h"

#include "MstFixtures.h"
#include "StructureIndex.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace fs = std::filesystem;
using namespace mststatus;

namespace {

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

Result run(const std::vector<std::string>& arguments)
{
    std::ostringstream out, err;
    Result r;
    r.status = RunMstCommand(arguments, out, err);
    r.out = out.str();
    r.err = err.str();
    return r;
}

std::string lines(const std::vector<uint32_t>& ids)
{
    std::string s;
    for (uint32_t id : ids)
        s += std::to_string(id) + "\n";
    return s;
}

class MstCommandTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path mstPath = dir.path() / "Labfolio.mst";
    std::string mst = mstPath.string();

    void SetUp() override
    {
        mstfixtures::buildIndex(mstPath, mstfixtures::records(mstfixtures::testStructures()));
    }

    void damageMolecule()
    {
        std::fstream f(fs::path(mst).replace_extension(".mss"),
                       std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(40);
        f.put('\x55');
    }
};

TEST_F(MstCommandTest, HelpNamesEveryCommandAndExitStatus)
{
    const Result r = run({"--help"});
    EXPECT_EQ(r.status, kDone);
    for (const char* s :
         {"info FILE.mst", "verify FILE.mst", "search FILE.mst QUERY", "0  done", "1  the index is damaged",
          "2  the command line is wrong", "3  the file cannot be used", "4  the query cannot be read",
          "5  no structure matches"})
        EXPECT_NE(r.out.find(s), std::string::npos) << s;
    const Result search = run({"search", "--help"});
    EXPECT_EQ(search.status, kDone);
    for (const char* s : {"--exact", "--limit N", "--threads N", "--stats", "SMARTS"})
        EXPECT_NE(search.out.find(s), std::string::npos) << s;
    EXPECT_EQ(run({"help", "search"}).out, search.out);
    EXPECT_EQ(run({"verify", "--help"}).status, kDone);
    EXPECT_EQ(run({"info", "-h"}).status, kDone);
    EXPECT_EQ(run({"--version"}).out, "labfolio-mst 10.0.109\n");
}

TEST_F(MstCommandTest, InfoShowsCountsSizesAndTheBuild)
{
    const Result r = run({"info", mst});
    EXPECT_EQ(r.status, kDone) << r.err;
    EXPECT_NE(r.out.find("Format version    2\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Structures        30\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Last identifier   30\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Last build        completed\n"), std::string::npos) << r.out;
    for (const char* ext : {".mst", ".msx", ".mss", ".msk", ".msf"}) {
        const fs::path p = fs::path(mst).replace_extension(ext);
        EXPECT_NE(r.out.find(p.filename().string()), std::string::npos) << ext;
        EXPECT_NE(r.out.find(" " + std::to_string(fs::file_size(p)) + " bytes\n"), std::string::npos) << ext;
    }
}

TEST_F(MstCommandTest, InfoTellsAStoppedBuild)
{
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        index.AddMolecule(nullptr, 0);
        index.Commit();
    }
    std::ofstream(fs::path(mst).replace_extension(".msx"), std::ios::binary | std::ios::app)
        << std::string(24, 'x');
    const Result r = run({"info", mst});
    EXPECT_EQ(r.status, kDone);
    EXPECT_NE(r.out.find("Structures        31\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Last build        not completed"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Not committed     24 bytes"), std::string::npos) << r.out;
}

TEST_F(MstCommandTest, VerifySaysWholeOrNamesTheDamage)
{
    Result r = run({"verify", mst});
    EXPECT_EQ(r.status, kDone) << r.err;
    EXPECT_EQ(r.out, mst + ": whole; 30 structures checked\n");
    damageMolecule();
    r = run({"verify", mst});
    EXPECT_EQ(r.status, kDamaged);
    EXPECT_EQ(r.err,
              "labfolio-mst: the structure index \"" + mst +
                  "\" is damaged: structure 1's molecule in \"Labfolio.mss\" does not match its checksum\n");
}

TEST_F(MstCommandTest, SearchPrintsIdentifiersInOrder)
{
    const auto expected = mstfixtures::BruteForce(mstfixtures::testStructures()).matches("c1ccccc1", false);
    Result r = run({"search", mst, "c1ccccc1"});
    EXPECT_EQ(r.status, kDone) << r.err;
    EXPECT_EQ(r.out, lines(expected));
    EXPECT_EQ(r.err, "");
    r = run({"search", "--limit", "2", mst, "c1ccccc1", "--threads=3"});
    EXPECT_EQ(r.out, lines({expected[0], expected[1]}));
    r = run({"search", mst, "CC1=CC(=O)C=CC1=O", "--exact", "--stats"});
    EXPECT_EQ(r.status, kDone);
    EXPECT_EQ(r.out, "1\n");
    EXPECT_NE(r.err.find("30 structures searched; "), std::string::npos) << r.err;
    EXPECT_NE(r.err.find(" 1 matching\n"), std::string::npos) << r.err;
}

TEST_F(MstCommandTest, AQueryWithoutMatchesHasItsOwnStatus)
{
    const Result r = run({"search", mst, "[Xe]"});
    EXPECT_EQ(r.status, kNoMatch);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "labfolio-mst: no structure holds \"[Xe]\"\n");
}

TEST_F(MstCommandTest, AnUnreadableQueryIsRefused)
{
    Result r = run({"search", mst, "C1CC(("});
    EXPECT_EQ(r.status, kBadQuery);
    EXPECT_EQ(r.err, "labfolio-mst: cannot read the query \"C1CC((\": it is neither SMILES nor SMARTS\n");
    r = run({"search", mst, "  "});
    EXPECT_EQ(r.status, kBadQuery);
    EXPECT_EQ(r.err, "labfolio-mst: cannot read the query \"  \": it is empty\n");
    r = run({"search", mst, "[CX3](=O)[OX2H1]", "--exact"});
    EXPECT_EQ(r.status, kBadQuery);
    EXPECT_NE(r.err.find("an exact search needs a structure in SMILES"), std::string::npos) << r.err;
}

TEST_F(MstCommandTest, ADamagedIndexFailsSearchWithTheMessage)
{
    damageMolecule();
    const Result r = run({"search", mst, "[#6]"});
    EXPECT_EQ(r.status, kDamaged);
    EXPECT_EQ(r.err,
              "labfolio-mst: the structure index \"" + mst +
                  "\" is damaged: structure 1's molecule in \"Labfolio.mss\" does not match its checksum\n");
}

TEST_F(MstCommandTest, AWrongCompanionFailsEveryCommand)
{
    TempDir other;
    mstfixtures::buildIndex(other.path() / "Labfolio.mst",
                            mstfixtures::records(mstfixtures::testStructures()));
    fs::copy_file(other.path() / "Labfolio.msf", fs::path(mst).replace_extension(".msf"),
                  fs::copy_options::overwrite_existing);
    const std::string message =
        "labfolio-mst: the structure index \"" + mst +
        "\" is damaged: its companion file \"Labfolio.msf\" belongs to another structure "
        "index\n";
    for (const auto& args :
         std::vector<std::vector<std::string>>{{"info", mst}, {"verify", mst}, {"search", mst, "c1ccccc1"}}) {
        const Result r = run(args);
        EXPECT_EQ(r.status, kDamaged) << args[0];
        EXPECT_EQ(r.err, message) << args[0];
    }
}

TEST_F(MstCommandTest, ATruncatedIndexFailsEveryCommand)
{
    fs::resize_file(fs::path(mst).replace_extension(".msk"), 32 + 256 * 29 + 100);
    for (const auto& args :
         std::vector<std::vector<std::string>>{{"info", mst}, {"verify", mst}, {"search", mst, "c1ccccc1"}}) {
        const Result r = run(args);
        EXPECT_EQ(r.status, kDamaged) << args[0];
        EXPECT_NE(r.err.find("\"Labfolio.msk\" ends before the 30 structures its last commit counts"),
                  std::string::npos)
            << r.err;
    }
}

TEST_F(MstCommandTest, AMissingOrForeignFileIsUnusable)
{
    const std::string missing = (dir.path() / "Other.mst").string();
    Result r = run({"info", missing});
    EXPECT_EQ(r.status, kUnusable);
    EXPECT_EQ(r.err, "labfolio-mst: the structure index \"" + missing + "\" does not exist\n");
    const std::string foreign = dir.write("notes.mst", "# a text file").string();
    r = run({"search", foreign, "C"});
    EXPECT_EQ(r.status, kUnusable);
    EXPECT_EQ(r.err, "labfolio-mst: \"" + foreign + "\" is not a structure index file\n");
}

TEST_F(MstCommandTest, AWrongCommandLineIsAUsageError)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "Usage: labfolio-mst COMMAND"},
        {{"find", mst}, "unknown command \"find\""},
        {{"search", mst}, "search needs FILE.mst and QUERY"},
        {{"info"}, "info needs FILE.mst"},
        {{"info", mst, "extra"}, "too many arguments for info"},
        {{"verify", mst, "--exact"}, "\"verify\" has no option --exact"},
        {{"search", mst, "C", "--limit"}, "--limit needs a value"},
        {{"search", mst, "C", "--limit", "ten"},
         "--limit needs a whole number from 1 to 4294967295, not \"ten\""},
        {{"search", mst, "C", "--threads", "0"}, "--threads needs a whole number from 1 to 256, not \"0\""},
        {{"search", mst, "C", "--exact=yes"}, "--exact takes no value"},
        {{"help", "fetch"}, "no help on \"fetch\""},
    };
    for (const auto& [args, message] : cases) {
        const Result r = run(args);
        EXPECT_EQ(r.status, kUsage) << message;
        EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
    }
}

} // namespace
