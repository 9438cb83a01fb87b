#include "AtomicFile.h"

#include "LfError.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string readAll(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

size_t entriesIn(const std::filesystem::path& folder)
{
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(AtomicFileTest, WritesANewFileWithExactlyTheBytes)
{
    TempDir dir;
    const std::string bytes("a\0b\r\n", 5);
    engine::WriteFileAtomically(dir.path() / "x.xml", bytes, "Test.Write");
    EXPECT_EQ(readAll(dir.path() / "x.xml"), bytes);
    EXPECT_EQ(entriesIn(dir.path()), 1u) << "no temporary file is left beside it";
}

TEST(AtomicFileTest, ReplacesAnExistingFileWhole)
{
    TempDir dir;
    const auto target = dir.write("list.xml", std::string(10000, 'o'));
    engine::WriteFileAtomically(target, "new", "Test.Write");
    EXPECT_EQ(readAll(target), "new");
    EXPECT_EQ(entriesIn(dir.path()), 1u);
}

TEST(AtomicFileTest, MissingFolderRaisesTheProductsErrorAndWritesNothing)
{
    TempDir dir;
    const auto target = dir.path() / "gone" / "x.udl";
    try {
        engine::WriteFileAtomically(target, "x", "DBMigrateProgressCtl.Test");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.Test");
        EXPECT_EQ(e.description(),
                  "while writing the file \"" + target.string() + "\": No such file or directory");
    }
    EXPECT_FALSE(std::filesystem::exists(dir.path() / "gone"));
}

TEST(AtomicFileTest, ReadOnlyFolderLeavesTheOldFileAndNoTemporary)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "the superuser writes into read-only folders";
    TempDir dir;
    const auto target = dir.write("list.xml", "old");
    ::chmod(dir.path().c_str(), 0555);
    EXPECT_THROW(engine::WriteFileAtomically(target, "new", "Test.Write"), LfError);
    ::chmod(dir.path().c_str(), 0755);
    EXPECT_EQ(readAll(target), "old");
    EXPECT_EQ(entriesIn(dir.path()), 1u);
}

// A full disk, simulated by a file-size limit in a child process: the write fails part way
// through, and the old file and the folder are exactly as before.
TEST(AtomicFileTest, FullDiskLeavesTheOldFileAndNoTemporary)
{
    TempDir dir;
    const auto target = dir.write("LFClientConfig.xml", "old list");
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{4096, 4096};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        try {
            engine::WriteFileAtomically(target, std::string(100000, 'n'), "Test.Write");
        } catch (const LfError& e) {
            const bool clear =
                e.description().find("while writing the file \"" + target.string() + "\": ") == 0;
            ::_exit(clear ? 0 : 3);
        }
        ::_exit(2);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "2: no error raised, 3: unclear description";
    EXPECT_EQ(readAll(target), "old list");
    EXPECT_EQ(entriesIn(dir.path()), 1u);
}

} // namespace
