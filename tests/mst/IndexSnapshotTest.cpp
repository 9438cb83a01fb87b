#include "IndexSnapshot.h"

#include "FakeChemistry.h"
#include "IndexError.h"
#include "StructureIndex.h"
#include "StructureIndexLayout.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

namespace {

class IndexSnapshotTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path mst = dir.path() / "Labfolio.mst";

    fs::path file(const char* ext) const { return fs::path(mst).replace_extension(ext); }

    void build(const std::vector<std::string>& texts, bool flush = true)
    {
        StructureIndex index;
        index.OpenOrCreate(mst.string(), 0);
        for (const auto& t : texts) {
            if (t.empty()) {
                index.AddMolecule(nullptr, 0);
            } else {
                FakeMolecule m(t);
                index.AddMolecule(&m, 0);
            }
        }
        if (flush)
            index.Flush();
        else
            index.Commit();
    }

    void flipByte(const char* ext, uint64_t offset) const
    {
        std::fstream f(file(ext), std::ios::in | std::ios::out | std::ios::binary);
        f.seekg(static_cast<std::streamoff>(offset));
        char c = 0;
        f.get(c);
        f.seekp(static_cast<std::streamoff>(offset));
        f.put(static_cast<char>(c ^ 0x10));
    }

    // The error opening and reading every structure raises, as kind and description.
    std::pair<IndexError::Kind, std::string> failure() const
    {
        try {
            IndexSnapshot snapshot(mst);
            IndexSnapshot::Page page;
            snapshot.readPage(0, 1000, page);
            std::string molecule;
            for (size_t i = 0; i < page.size(); ++i)
                snapshot.readMolecule(i, page.entries[i], molecule);
        } catch (const IndexError& e) {
            return {e.kind(), e.description()};
        }
        ADD_FAILURE() << "no error";
        return {};
    }
};

TEST_F(IndexSnapshotTest, ReadsWhatTheLastCommitCounts)
{
    build({"first", "", "third"});
    IndexSnapshot snapshot(mst);
    EXPECT_EQ(snapshot.formatVersion(), 2u);
    EXPECT_EQ(snapshot.count(), 3u);
    EXPECT_TRUE(snapshot.buildEnded());
    EXPECT_EQ(snapshot.uncommittedBytes(), 0u);
    EXPECT_EQ(snapshot.fileSizes()[2], 32u + 9 + 9); // .mss: "mol:first", "mol:third"
    IndexSnapshot::Page page;
    snapshot.readPage(0, 10, page);
    ASSERT_EQ(page.size(), 3u);
    EXPECT_EQ(page.entries[1].length, 0u);
    EXPECT_EQ(page.entries[2].identifier, 3u);
    EXPECT_EQ(page.record(2).fingerprint, FakeMolecule::recordOf("third").fingerprint);
    EXPECT_EQ(page.record(0).heavyAtoms, 5u);
    std::string molecule;
    snapshot.readMolecule(2, page.entries[2], molecule);
    EXPECT_EQ(molecule, "mol:third");
}

TEST_F(IndexSnapshotTest, PagesCheckTheOffsetTableAcrossTheirStart)
{
    build({"a", "bb", "", "dddd", "e"});
    IndexSnapshot snapshot(mst);
    IndexSnapshot::Page page;
    snapshot.readPage(3, 10, page);
    ASSERT_EQ(page.size(), 2u);
    EXPECT_EQ(page.first, 3u);
    EXPECT_EQ(page.entries[0].identifier, 4u);
    snapshot.readPage(5, 10, page);
    EXPECT_EQ(page.size(), 0u);
}

TEST_F(IndexSnapshotTest, TellsAStoppedBuildFromACompletedOne)
{
    build({"a", "b"}, false);
    EXPECT_FALSE(IndexSnapshot(mst).buildEnded());
    build({"c"}, true);
    EXPECT_TRUE(IndexSnapshot(mst).buildEnded());
    build({"d"}, false); // a later build appended and was stopped after a slice
    IndexSnapshot snapshot(mst);
    EXPECT_FALSE(snapshot.buildEnded());
    EXPECT_EQ(snapshot.count(), 4u);
}

TEST_F(IndexSnapshotTest, KeepsToItsCommitWhileARebuildAppends)
{
    build({"a", "b"});
    StructureIndex writer;
    writer.OpenOrCreate(mst.string(), 0);
    FakeMolecule m("pending");
    writer.AddMolecule(&m, 0); // added, not committed
    IndexSnapshot before(mst);
    EXPECT_EQ(before.count(), 2u);
    writer.Commit();
    writer.AddMolecule(&m, 0);
    EXPECT_EQ(before.count(), 2u);
    IndexSnapshot::Page page;
    before.readPage(0, 10, page);
    EXPECT_EQ(page.size(), 2u);
    IndexSnapshot after(mst);
    EXPECT_EQ(after.count(), 3u);
    EXPECT_FALSE(after.buildEnded());
}

TEST_F(IndexSnapshotTest, CountsWhatAStoppedBuildWroteAfterItsLastCommit)
{
    build({"a"});
    std::ofstream(file(".mss"), std::ios::binary | std::ios::app) << "half a molecule";
    IndexSnapshot snapshot(mst);
    EXPECT_EQ(snapshot.count(), 1u);
    EXPECT_EQ(snapshot.uncommittedBytes(), 15u);
}

TEST_F(IndexSnapshotTest, AMissingOrForeignIndexFileIsUnusable)
{
    EXPECT_EQ(failure(), std::make_pair(IndexError::Kind::Unusable,
                                        "the structure index \"" + mst.string() + "\" does not exist"));
    std::ofstream(mst) << "Labfolio notebook, not an index";
    EXPECT_EQ(failure(), std::make_pair(IndexError::Kind::Unusable,
                                        "\"" + mst.string() + "\" is not a structure index file"));
    fs::remove(mst);
    std::ofstream{mst}; // empty
    EXPECT_EQ(failure().first, IndexError::Kind::Unusable);
    fs::remove(mst);
    fs::create_directory(mst);
    EXPECT_EQ(failure().second, "\"" + mst.string() + "\" is a folder, not a structure index file");
}

TEST_F(IndexSnapshotTest, AnIndexOfALaterVersionIsUnusable)
{
    build({"a"});
    flipByte(".mst", 9); // version 2 -> 4098
    EXPECT_EQ(failure(), std::make_pair(IndexError::Kind::Unusable,
                                        "\"" + mst.string() +
                                            "\" was written by a later version of the structure index"));
}

TEST_F(IndexSnapshotTest, AMissingCompanionOrOneOfAnotherIndexIsDamage)
{
    build({"a"});
    const std::string damaged = "the structure index \"" + mst.string() + "\" is damaged: ";
    fs::rename(file(".msk"), dir.path() / "kept.msk");
    EXPECT_EQ(failure(), std::make_pair(IndexError::Kind::Damaged,
                                        damaged + "its companion file \"Labfolio.msk\" is missing"));
    {
        TempDir other;
        StructureIndex index;
        index.OpenOrCreate((other.path() / "Labfolio.mst").string(), 0);
        index.Flush();
        fs::copy_file(other.path() / "Labfolio.msk", file(".msk"));
    }
    EXPECT_EQ(
        failure(),
        std::make_pair(IndexError::Kind::Damaged,
                       damaged + "its companion file \"Labfolio.msk\" belongs to another structure index"));
}

TEST_F(IndexSnapshotTest, ACompanionOfAnotherFormatVersionIsDamage)
{
    build({"a"});
    // The same index's identity, but the header of version 1's facts file.
    std::string header(32, '\0');
    std::ifstream(file(".msf"), std::ios::binary).read(header.data(), 32);
    const auto older = indexlayout::encodeHeader(indexlayout::FileKind::Msf, 0, 1);
    std::copy(older.begin(), older.begin() + 16, header.begin());
    std::ofstream(file(".msf"), std::ios::binary) << header;
    EXPECT_EQ(failure(), std::make_pair(IndexError::Kind::Damaged,
                                        "the structure index \"" + mst.string() +
                                            "\" is damaged: its companion file \"Labfolio.msf\" is of format "
                                            "version 1, the index of 2"));
}

TEST_F(IndexSnapshotTest, ATruncatedCompanionIsDamage)
{
    build({"first", "second"});
    fs::resize_file(file(".mss"), 32 + 12);
    EXPECT_EQ(failure(),
              std::make_pair(IndexError::Kind::Damaged,
                             "the structure index \"" + mst.string() +
                                 "\" is damaged: \"Labfolio.mss\" ends before the 2 structures its "
                                 "last commit counts (44 of 51 bytes)"));
}

TEST_F(IndexSnapshotTest, ATruncatedIndexFileHasNoCommitRecord)
{
    build({"first"});
    fs::resize_file(mst, 32 + 32 + 20);
    EXPECT_EQ(failure().second,
              "the structure index \"" + mst.string() + "\" is damaged: it has no complete commit record");
}

TEST_F(IndexSnapshotTest, AFlippedByteInARecordIsDamage)
{
    build({"first", "second", "third"});
    const std::string damaged = "the structure index \"" + mst.string() + "\" is damaged: ";
    flipByte(".mss", 32 + 9 + 2);
    EXPECT_EQ(failure().second,
              damaged + "structure 2's molecule in \"Labfolio.mss\" does not match its checksum");
    flipByte(".mss", 32 + 9 + 2);
    flipByte(".msx", 32 + 24 + 16); // structure 2's identifier
    EXPECT_EQ(failure().second, damaged + "structure 2's entry in \"Labfolio.msx\" is wrong");
    flipByte(".msx", 32 + 24 + 16);
    flipByte(".msx", 32 + 24); // structure 2's offset
    EXPECT_EQ(failure().second, damaged + "structure 2's entry in \"Labfolio.msx\" is wrong");
    flipByte(".msx", 32 + 24);
    flipByte(".msx", 32 + 24 * 2); // the last structure's offset, checked on opening
    EXPECT_EQ(failure().second,
              damaged + "structure 3's entry in \"Labfolio.msx\" does not end where the last commit says");
}

TEST_F(IndexSnapshotTest, AnEmptyIndexHasNoStructures)
{
    build({});
    IndexSnapshot snapshot(mst);
    EXPECT_EQ(snapshot.count(), 0u);
    IndexSnapshot::Page page;
    snapshot.readPage(0, 10, page);
    EXPECT_EQ(page.size(), 0u);
}

} // namespace
