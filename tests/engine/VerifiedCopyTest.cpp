// The verified copy: exact bytes, no partial file, an old target kept on every failure.
#include "ChildProcess.h"
#include "LfError.h"
#include "StopFlag.h"
#include "TempDir.h"
#include "VerifiedCopy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <thread>

using ::testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

std::string randomBytes(size_t size)
{
    std::mt19937_64 rng(size);
    std::string s(size, '\0');
    for (auto& c : s)
        c = static_cast<char>(rng());
    return s;
}

std::string readFile(const fs::path& p)
{
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

size_t entries(const fs::path& folder)
{
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder), {}));
}

std::string copyError(const fs::path& from, const fs::path& to, const engine::StopFlag* stop = nullptr)
{
    try {
        engine::CopyFileVerified(from, to, stop, "DBMigrateProgressCtl.Migrate");
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), LfError::kObjectError513);
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.Migrate");
        return e.description();
    }
    ADD_FAILURE() << "the copy did not fail";
    return {};
}

class VerifiedCopyTest : public ::testing::Test {
protected:
    VerifiedCopyTest()
    {
        fs::create_directories(dir.path() / "from");
        fs::create_directories(dir.path() / "to");
    }
    fs::path from(const std::string& name) const { return dir.path() / "from" / name; }
    fs::path to(const std::string& name) const { return dir.path() / "to" / name; }
    TempDir dir;
};

TEST_F(VerifiedCopyTest, CopiesEveryByteOfAFileOfSeveralChunks)
{
    const std::string bytes = randomBytes((size_t(9) << 20) + 12345);
    dir.write("from/LFDesktop.BAK", bytes);
    engine::CopyFileVerified(from("LFDesktop.BAK"), to("LFDesktop.BAK"), nullptr, "x");
    EXPECT_EQ(readFile(to("LFDesktop.BAK")), bytes);
    EXPECT_EQ(entries(dir.path() / "to"), 1u);
}

TEST_F(VerifiedCopyTest, CopiesAnEmptyFileAndAFileOfExactlyOneChunk)
{
    dir.write("from/empty.msk", "");
    const std::string chunk = randomBytes(size_t(4) << 20);
    dir.write("from/chunk.msf", chunk);
    engine::CopyFileVerified(from("empty.msk"), to("empty.msk"), nullptr, "x");
    engine::CopyFileVerified(from("chunk.msf"), to("chunk.msf"), nullptr, "x");
    EXPECT_TRUE(fs::exists(to("empty.msk")));
    EXPECT_EQ(fs::file_size(to("empty.msk")), 0u);
    EXPECT_EQ(readFile(to("chunk.msf")), chunk);
}

TEST_F(VerifiedCopyTest, ReplacesAnExistingTarget)
{
    dir.write("from/Labfolio.mst", "new index");
    dir.write("to/Labfolio.mst", "old index, longer than the new one");
    engine::CopyFileVerified(from("Labfolio.mst"), to("Labfolio.mst"), nullptr, "x");
    EXPECT_EQ(readFile(to("Labfolio.mst")), "new index");
    EXPECT_EQ(entries(dir.path() / "to"), 1u);
}

TEST_F(VerifiedCopyTest, MissingSourceNamesItAndLeavesTheTargetAlone)
{
    dir.write("to/Labfolio.msx", "old");
    const std::string d = copyError(from("Labfolio.msx"), to("Labfolio.msx"));
    EXPECT_EQ(d, "while copying the file \"" + from("Labfolio.msx").string() + "\" to \"" +
                     to("Labfolio.msx").string() + "\": the file \"" + from("Labfolio.msx").string() +
                     "\" does not exist");
    EXPECT_EQ(readFile(to("Labfolio.msx")), "old");
    EXPECT_EQ(entries(dir.path() / "to"), 1u);
}

TEST_F(VerifiedCopyTest, MissingTargetFolderIsNamed)
{
    dir.write("from/a.BAK", "x");
    const fs::path target = dir.path() / "gone" / "a.BAK";
    EXPECT_THAT(copyError(from("a.BAK"), target),
                HasSubstr(": the folder \"" + (dir.path() / "gone").string() + "\" does not exist"));
}

TEST_F(VerifiedCopyTest, UnreadableSourceIsAClearError)
{
    fs::create_directories(from("folder.mst"));
    EXPECT_THAT(copyError(from("folder.mst"), to("folder.mst")), HasSubstr("is a directory"));
    EXPECT_EQ(entries(dir.path() / "to"), 0u);
}

TEST_F(VerifiedCopyTest, StoppedCopyLeavesNoPartialFileAndTheOldTarget)
{
    dir.write("from/LFDesktop.BAK", randomBytes(size_t(20) << 20));
    dir.write("to/LFDesktop.BAK", "last week");
    engine::StopFlag stop;
    stop.request();
    EXPECT_THAT(copyError(from("LFDesktop.BAK"), to("LFDesktop.BAK"), &stop),
                HasSubstr(": the copy was stopped"));
    EXPECT_EQ(readFile(to("LFDesktop.BAK")), "last week");
    EXPECT_EQ(entries(dir.path() / "to"), 1u);
}

TEST_F(VerifiedCopyTest, FileLargerThanTheDiskAllowsFailsCleanly)
{
    dir.write("from/LFDesktop.BAK", randomBytes(size_t(6) << 20));
    dir.write("to/LFDesktop.BAK", "last week");
    const ChildResult r = runInChild([&](std::string& text) {
        limitFileSize(size_t(1) << 20);
        try {
            engine::CopyFileVerified(from("LFDesktop.BAK"), to("LFDesktop.BAK"), nullptr, "x");
        } catch (const LfError& e) {
            text = e.description();
            return 1;
        }
        return 0;
    });
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.text, HasSubstr("\": the file is too large for the disk"));
    EXPECT_EQ(readFile(to("LFDesktop.BAK")), "last week");
    EXPECT_EQ(entries(dir.path() / "to"), 1u);
}

// Mounts a tmpfs of the given size at folder, in a user and mount namespace of the calling
// child's own, which leaves the machine's disks alone and goes away with the child. False where
// the machine allows no such namespace.
bool mountSmallFileSystem(const fs::path& folder, const std::string& size)
{
    const uid_t uid = ::getuid();
    const gid_t gid = ::getgid();
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << uid << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << gid << " 1";
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", folder.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
}

constexpr int kNoNamespace = 77;

// A real full disk: a 256 KiB file system.
TEST_F(VerifiedCopyTest, FullDiskFailsCleanlyAndKeepsTheOldTarget)
{
    dir.write("from/LFDesktop.BAK", randomBytes(size_t(2) << 20));
    const fs::path small = dir.path() / "small";
    fs::create_directories(small);
    const ChildResult r = runInChild([&](std::string& text) {
        if (!mountSmallFileSystem(small, "256k"))
            return kNoNamespace;
        std::ofstream(small / "LFDesktop.BAK") << "last week";
        try {
            engine::CopyFileVerified(from("LFDesktop.BAK"), small / "LFDesktop.BAK", nullptr, "x");
            text = "copied";
            return 0;
        } catch (const LfError& e) {
            text = e.description() + "|" + readFile(small / "LFDesktop.BAK") + "|" +
                   std::to_string(entries(small));
            return 1;
        }
    });
    if (r.status == kNoNamespace)
        GTEST_SKIP() << "this machine allows no mount namespace for a small file system";
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.text, HasSubstr("\": there is not enough space on the disk|last week|1"));
}

// The kernel copies only within one file system here; to another one the bytes pass through the
// program, and are checked the same way.
TEST_F(VerifiedCopyTest, CopiesEveryByteToAnotherFileSystem)
{
    const std::string bytes = randomBytes((size_t(3) << 20) + 777);
    dir.write("from/LFDesktop.BAK", bytes);
    const fs::path other = dir.path() / "other";
    fs::create_directories(other);
    const ChildResult r = runInChild([&](std::string& text) {
        if (!mountSmallFileSystem(other, "8m"))
            return kNoNamespace;
        engine::CopyFileVerified(from("LFDesktop.BAK"), other / "LFDesktop.BAK", nullptr, "x");
        text = std::to_string(entries(other)) + "|" + readFile(other / "LFDesktop.BAK");
        return 0;
    });
    if (r.status == kNoNamespace)
        GTEST_SKIP() << "this machine allows no mount namespace for a second file system";
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.text == "1|" + bytes) << r.text.substr(0, 200);
}

// A Stop pressed while the copy and its two hashes run: the page is told at once, and nothing is
// left behind. The request comes as soon as the temporary copy appears; a copy of 256 MiB with
// its two hashes lasts far longer than that takes.
TEST_F(VerifiedCopyTest, StopWhileCopyingEndsEveryThreadAndLeavesNoPartialFile)
{
    fs::resize_file(dir.write("from/LFDesktop.BAK", ""), size_t(256) << 20);
    dir.write("to/LFDesktop.BAK", "last week");
    engine::StopFlag stop;
    std::atomic<bool> seen{false};
    std::thread presser([&] {
        const auto copying = [&] {
            for (const auto& entry : fs::directory_iterator(dir.path() / "to"))
                if (entry.path().filename().string().rfind(".LFDesktop.BAK.", 0) == 0)
                    return true;
            return false;
        };
        while (!copying())
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        seen = true;
        stop.request();
    });
    const std::string reason = copyError(from("LFDesktop.BAK"), to("LFDesktop.BAK"), &stop);
    if (!seen)
        stop.request(); // the copy ended by itself; lets the presser's wait end before the join
    presser.join();
    EXPECT_TRUE(seen);
    EXPECT_THAT(reason, HasSubstr(": the copy was stopped"));
    EXPECT_EQ(readFile(to("LFDesktop.BAK")), "last week");
    EXPECT_EQ(entries(dir.path() / "to"), 1u);
}

// The process's own memory file stands for a disk that fails under the read: the system's reason
// names the source, and no temporary file stays.
TEST_F(VerifiedCopyTest, ReadErrorNamesTheSourceAndLeavesNoTemporaryFile)
{
    dir.write("to/LFDesktop.BAK", "last week");
    EXPECT_THAT(copyError("/proc/self/mem", to("LFDesktop.BAK")),
                HasSubstr(": input/output error (\"/proc/self/mem\")"));
    EXPECT_EQ(readFile(to("LFDesktop.BAK")), "last week");
    EXPECT_EQ(entries(dir.path() / "to"), 1u);
}

} // namespace
