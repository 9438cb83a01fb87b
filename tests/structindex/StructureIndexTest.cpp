#include "StructureIndex.h"

#include "FakeChemistry.h"
#include "LfError.h"
#include "StructureIndexLayout.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class StructureIndexTest : public ::testing::Test {
protected:
    TempDir dir;
    std::string mst = (dir.path() / "Labfolio.mst").string();

    static void add(StructureIndex& index, const std::string& text)
    {
        FakeMolecule m(text);
        index.AddMolecule(&m, 0);
    }

    void appendBytes(const std::string& ext, const std::string& bytes)
    {
        std::ofstream(fs::path(mst).replace_extension(ext), std::ios::binary | std::ios::app) << bytes;
    }

    void writeBytes(const std::string& ext, uint64_t offset, const void* bytes, size_t size)
    {
        std::fstream f(fs::path(mst).replace_extension(ext), std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(static_cast<std::streamoff>(offset));
        f.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
        ASSERT_TRUE(f.good());
    }

    void writeCommit(const indexlayout::CommitRecord& record)
    {
        auto raw = indexlayout::encodeCommit(record);
        writeBytes(".mst", indexlayout::commitOffset(record.sequence % 2), raw.data(), raw.size());
    }
};

TEST_F(StructureIndexTest, CreatesAllFiveFilesAndNumbersFromOne)
{
    StructureIndex index;
    index.OpenOrCreate(mst, 0);
    for (const char* ext : {".mst", ".msx", ".mss", ".msk", ".msf"})
        EXPECT_TRUE(fs::exists(fs::path(mst).replace_extension(ext))) << ext;
    EXPECT_EQ(index.LastIdentifier(), 0);
    add(index, "a");
    EXPECT_EQ(index.LastIdentifier(), 1);
    index.AddMolecule(nullptr, 0);
    EXPECT_EQ(index.LastIdentifier(), 2);
    add(index, "ccc");
    EXPECT_EQ(index.LastIdentifier(), 3);
}

TEST_F(StructureIndexTest, ReopensWithWhatWasAddedAndContinuesTheIdentifiers)
{
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        add(index, "first");
        index.AddMolecule(nullptr, 0);
        index.Commit();
        add(index, "third"); // committed when the document goes
    }
    StructureIndex index;
    index.OpenOrCreate(mst, 0);
    ASSERT_EQ(index.Count(), 3);
    EXPECT_EQ(index.LastIdentifier(), 3);
    EXPECT_EQ(index.Record(0).binary, "mol:first");
    EXPECT_EQ(index.Record(0).fingerprint, FakeMolecule::recordOf("first").fingerprint);
    EXPECT_EQ(index.Record(0).heavyAtoms, 5u);
    EXPECT_TRUE(index.Record(1).empty());
    EXPECT_EQ(index.Record(2).binary, "mol:third");
    add(index, "fourth");
    EXPECT_EQ(index.LastIdentifier(), 4);
}

TEST_F(StructureIndexTest, ANewIndexKeepsBothScreeningKeys)
{
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        EXPECT_EQ(index.FormatVersion(), indexlayout::kNewestVersion);
        add(index, "first");
        add(index, "second");
    }
    EXPECT_EQ(fs::file_size(fs::path(mst).replace_extension(".msk")), 32u + 2 * 256);
    EXPECT_EQ(fs::file_size(fs::path(mst).replace_extension(".msf")), 32u + 2 * (16 + 256));
    StructureIndex index;
    index.OpenOrCreate(mst, 0);
    EXPECT_EQ(index.Record(1).fingerprint, FakeMolecule::recordOf("second").fingerprint);
    EXPECT_EQ(index.Record(1).atomTypes, FakeMolecule::recordOf("second").atomTypes);
    EXPECT_NE(index.Record(1).atomTypes, MoleculeRecord::Fingerprint{});
}

TEST_F(StructureIndexTest, AnIndexOfFormatVersionOneIsAppendedToInItsOwnVersion)
{
    {
        StructureIndex index;
        index.SetCreationVersion(1);
        index.OpenOrCreate(mst, 0);
        add(index, "first");
    }
    // A later rebuild into the same folder: readers that know only version 1 still read it.
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        EXPECT_EQ(index.FormatVersion(), 1u);
        add(index, "second");
    }
    EXPECT_EQ(fs::file_size(fs::path(mst).replace_extension(".msf")), 32u + 2 * 16);
    StructureIndex index;
    index.OpenOrCreate(mst, 0);
    ASSERT_EQ(index.Count(), 2);
    EXPECT_EQ(index.Record(1).binary, "mol:second");
    EXPECT_EQ(index.Record(1).fingerprint, FakeMolecule::recordOf("second").fingerprint);
    EXPECT_EQ(index.Record(1).atomTypes, MoleculeRecord::Fingerprint{}) << "version 1 keeps no atom types";
    try {
        index.SetCreationVersion(3);
        ADD_FAILURE() << "accepted";
    } catch (const LfError& e) {
        EXPECT_EQ(e.description(), "the structure index has no format version 3 (only 1 to 2)");
    }
}

TEST_F(StructureIndexTest, DropsWhatWasWrittenAfterTheLastCommit)
{
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        add(index, "kept");
        index.Commit();
    }
    // A build killed half-way through a slice: companions hold more than the commit covers.
    appendBytes(".mss", "mol:half-written");
    appendBytes(".msx", std::string(24, '\x7f'));
    appendBytes(".msk", std::string(100, '\x01'));
    StructureIndex index;
    index.OpenOrCreate(mst, 0);
    EXPECT_EQ(index.Count(), 1);
    add(index, "next");
    index.Commit();
    StructureIndex again;
    again.OpenOrCreate(mst, 0);
    ASSERT_EQ(again.Count(), 2);
    EXPECT_EQ(again.Record(1).binary, "mol:next");
}

TEST_F(StructureIndexTest, ATornCommitRecordLeavesThePreviousOneInForce)
{
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        add(index, "one");
        index.Commit(); // record 1, slot 1
        add(index, "two");
        index.Commit(); // record 2, slot 0
    }
    {
        std::fstream f(mst, std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(64 + 10); // inside slot 0
        f.put('\xff');
    }
    StructureIndex index;
    index.OpenOrCreate(mst, 0);
    EXPECT_EQ(index.Count(), 1);
    EXPECT_EQ(index.Record(0).binary, "mol:one");
}

TEST_F(StructureIndexTest, RefusesForeignDamagedAndLaterFiles)
{
    auto expectRefused = [&](const std::string& fragment) {
        StructureIndex index;
        try {
            index.OpenOrCreate(mst, 0);
            ADD_FAILURE() << "opened";
        } catch (const LfError& e) {
            EXPECT_EQ(e.number(), LfError::kObjectError513);
            EXPECT_NE(e.description().find(fragment), std::string::npos) << e.description();
            EXPECT_NE(e.description().find(mst), std::string::npos);
        }
    };
    dir.write("Labfolio.mst", "this is a text file, not an index");
    expectRefused("is not a structure index file");

    fs::remove(mst);
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
    }
    {
        std::fstream f(mst, std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(8);
        f.put('\x09'); // format version 9
    }
    expectRefused("later version");

    fs::remove(mst);
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
    }
    fs::remove(fs::path(mst).replace_extension(".msk"));
    expectRefused("\"Labfolio.msk\" is missing");

    // A companion of another index.
    TempDir other;
    {
        StructureIndex index;
        index.OpenOrCreate((other.path() / "Labfolio.mst").string(), 0);
    }
    fs::copy_file(other.path() / "Labfolio.msk", fs::path(mst).replace_extension(".msk"));
    expectRefused("belongs to another structure index");

    // A companion of the same index in another format version (the identity copied across).
    fs::remove(mst);
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
    }
    {
        const auto msf = fs::path(mst).replace_extension(".msf");
        std::ifstream in(msf, std::ios::binary);
        std::string header(32, '\0');
        in.read(header.data(), 32);
        const auto older = indexlayout::encodeHeader(indexlayout::FileKind::Msf, 0, 1);
        std::copy(older.begin(), older.begin() + 16, header.begin()); // magic, version, record size
        in.close();
        fs::resize_file(msf, 0);
        std::ofstream(msf, std::ios::binary) << header;
    }
    expectRefused("\"Labfolio.msf\" is of another format version than its index");

    fs::remove(mst);
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
    }
    fs::resize_file(mst, 70); // both commit slots cut away
    expectRefused("damaged");
}

TEST_F(StructureIndexTest, OnlyModeZeroOpens)
{
    StructureIndex index;
    EXPECT_THROW(index.OpenOrCreate(mst, 1), LfError);
    EXPECT_FALSE(fs::exists(mst));
}

// A disk that fills up while structures are added: the failing commit raises the product's
// error, and the files open again with exactly what the last successful commit held.
TEST_F(StructureIndexTest, AFullDiskKeepsTheLastCommit)
{
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
    }
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{64 * 1024, 64 * 1024}; // files may not grow beyond 64 KB
        setrlimit(RLIMIT_FSIZE, &limit);
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        int committed = 0;
        try {
            for (;;) {
                add(index, std::string(300, 'x'));
                index.Commit();
                ++committed;
            }
        } catch (const LfError& e) {
            std::ofstream((dir.path() / "committed").string()) << committed;
            _exit(e.description().find("while writing the structure index") == std::string::npos ? 3 : 0);
        }
        _exit(4);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    ASSERT_EQ(WEXITSTATUS(status), 0);
    int committed = -1;
    std::ifstream((dir.path() / "committed").string()) >> committed;
    ASSERT_GT(committed, 10);
    StructureIndex index;
    index.OpenOrCreate(mst, 0);
    EXPECT_EQ(index.Count(), committed);
    EXPECT_EQ(index.Record(committed - 1).binary, "mol:" + std::string(300, 'x'));
}

TEST_F(StructureIndexTest, AnEntryClaimingMoreThanTheDataIsDamagedAndAllocatesNothing)
{
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        add(index, "one");
        add(index, "two");
        index.Commit();
    }
    {
        // Structure 1's length, in the offset table after its header and the 8-byte offset.
        std::fstream f(fs::path(mst).replace_extension(".msx"),
                       std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(32 + 8);
        f.write("\xf0\xff\xff\xff", 4);
    }
    // In a process limited to 1 GB of address space: the read reports the structure as damaged
    // without trying to hold the 4 GB its entry claims, and the next structure still reads.
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        rlimit limit{1024L * 1024 * 1024, 1024L * 1024 * 1024};
        setrlimit(RLIMIT_AS, &limit);
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        try {
            index.Record(0);
            _exit(3);
        } catch (const LfError& e) {
            if (e.description().find("structure 1 is damaged") == std::string::npos)
                _exit(4);
        }
        _exit(index.Record(1).binary == "mol:two" ? 0 : 5);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(StructureIndexTest, ACommitRecordWhoseCountWrapsTheOffsetsIsDamaged)
{
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        add(index, "one");
        index.Commit(); // commit 1 of slot 1; slot 0 holds the empty commit 0
    }
    // 2^62 + 1 structures: times each record size, the offsets wrap to those of one structure,
    // so the files seem to hold them all and entry 2^62 seems to be the real first one.
    writeCommit({2, (uint64_t{1} << 62) + 1, 7});
    StructureIndex index;
    index.OpenOrCreate(mst, 0);
    EXPECT_EQ(index.Count(), 1); // commit 1 stays in force
    add(index, "two");
    index.Commit();
    EXPECT_EQ(index.LastIdentifier(), 2);
    EXPECT_EQ(index.Record(0).binary, "mol:one");
    EXPECT_EQ(index.Record(1).binary, "mol:two");
}

TEST_F(StructureIndexTest, MoleculeDataBeyondFourGigabytesIsReadAndAppendedTo)
{
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        add(index, "one");
        index.Commit();
    }
    // Structure 1's bytes moved 5 GB into .mss (a sparse file: the gap takes no disk).
    const uint64_t offset = uint64_t{5} << 30;
    const std::string bytes = "mol:one";
    const fs::path mss = fs::path(mst).replace_extension(".mss");
    std::error_code ec;
    fs::resize_file(mss, indexlayout::kHeaderSize + offset, ec);
    if (ec)
        GTEST_SKIP() << "no 5 GB file here: " << ec.message();
    appendBytes(".mss", bytes);
    uint8_t rawOffset[8];
    for (int i = 0; i < 8; ++i)
        rawOffset[i] = static_cast<uint8_t>(offset >> (8 * i));
    writeBytes(".msx", indexlayout::kHeaderSize, rawOffset, sizeof rawOffset);
    writeCommit({2, 1, offset + bytes.size()});
    {
        StructureIndex index;
        index.OpenOrCreate(mst, 0);
        ASSERT_EQ(index.Count(), 1);
        EXPECT_EQ(index.Record(0).binary, bytes);
        add(index, "two");
        index.Commit();
    }
    StructureIndex index;
    index.OpenOrCreate(mst, 0);
    ASSERT_EQ(index.Count(), 2);
    EXPECT_EQ(index.Record(0).binary, bytes);
    EXPECT_EQ(index.Record(1).binary, "mol:two");
    EXPECT_EQ(fs::file_size(mss), indexlayout::kHeaderSize + offset + bytes.size() + 7);
}

} // namespace
