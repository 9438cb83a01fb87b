// labfolio-mst as an administrator runs it: the program itself, in a process of its own.
#include "MstFixtures.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <fstream>

namespace fs = std::filesystem;

extern char** environ;

namespace {

struct ProgramRun {
    int status = -1;
    long peakKb = 0;
    size_t lines = 0;
};

ProgramRun runProgram(const std::vector<std::string>& arguments, const fs::path& output)
{
    std::vector<std::string> all{LF_MST_PROGRAM};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (auto& a : all)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = 0;
    ProgramRun r;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0)
        return r;
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    r.peakKb = usage.ru_maxrss;
    std::ifstream in(output);
    for (std::string line; std::getline(in, line);)
        ++r.lines;
    return r;
}

uint64_t indexBytes(const fs::path& mst)
{
    uint64_t n = 0;
    for (const char* ext : {".mst", ".msx", ".mss", ".msk", ".msf"})
        n += fs::file_size(fs::path(mst).replace_extension(ext));
    return n;
}

TEST(MstProgramTest, ASearchOf100000StructuresStaysInBoundedMemory)
{
    TempDir dir;
    const auto structures = mstfixtures::testStructures();
    const auto records = mstfixtures::records(structures);
    const mstfixtures::BruteForce reference(structures);
    const fs::path small = dir.path() / "small" / "Labfolio.mst";
    const fs::path large = dir.path() / "large" / "Labfolio.mst";
    fs::create_directories(small.parent_path());
    fs::create_directories(large.parent_path());
    mstfixtures::buildIndex(small, records, 10'000);
    mstfixtures::buildIndex(large, records, 100'000);

    const ProgramRun a =
        runProgram({"search", small.string(), "c1ccccc1", "--threads", "2"}, dir.path() / "a.txt");
    const ProgramRun b =
        runProgram({"search", large.string(), "c1ccccc1", "--threads", "2"}, dir.path() / "b.txt");
    ASSERT_EQ(a.status, 0);
    ASSERT_EQ(b.status, 0);
    EXPECT_EQ(a.lines, reference.matches("c1ccccc1", false, 10'000).size());
    EXPECT_EQ(b.lines, reference.matches("c1ccccc1", false, 100'000).size());
    // Ten times the structures, and the 90,000 more are read through: the peak grows by far less
    // than they take on the disk.
    const long growthKb = b.peakKb - a.peakKb;
    const auto extraKb = static_cast<long>((indexBytes(large) - indexBytes(small)) / 1024);
    EXPECT_GT(extraKb, 30'000);
    EXPECT_LT(growthKb, 4'096) << "peak " << a.peakKb << " KB for 10,000 structures, " << b.peakKb
                               << " KB for 100,000";
}

TEST(MstProgramTest, ReportsAndExitsWithoutArguments)
{
    TempDir dir;
    const ProgramRun r = runProgram({}, dir.path() / "out.txt");
    EXPECT_EQ(r.status, 2);
}

} // namespace
