#include "IndexVerifier.h"

#include "IndexError.h"
#include "IndexSnapshot.h"
#include "MstFixtures.h"
#include "StructureIndexLayout.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

namespace {

class IndexVerifierTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path mst = dir.path() / "Labfolio.mst";

    void SetUp() override
    {
        auto recs = mstfixtures::records(mstfixtures::testStructures());
        recs.insert(recs.begin() + 5, MoleculeRecord{}); // a row whose structure could not be read
        mstfixtures::buildIndex(mst, recs);
    }

    // Structure 7's records (position 6: after the entry without a structure).
    static constexpr uint64_t kVictim = 6;
    static constexpr uint64_t kKeyRecord =
        indexlayout::recordSize(indexlayout::FileKind::Msk, indexlayout::kNewestVersion);
    static constexpr uint64_t kFactsRecord =
        indexlayout::recordSize(indexlayout::FileKind::Msf, indexlayout::kNewestVersion);

    void flipByte(const char* ext, uint64_t offset) const
    {
        std::fstream f(fs::path(mst).replace_extension(ext), std::ios::in | std::ios::out | std::ios::binary);
        f.seekg(static_cast<std::streamoff>(offset));
        char c = 0;
        f.get(c);
        f.seekp(static_cast<std::streamoff>(offset));
        f.put(static_cast<char>(c ^ 0x04));
    }

    std::string damage() const
    {
        try {
            IndexSnapshot index(mst);
            IndexVerifier(index).run();
        } catch (const IndexError& e) {
            EXPECT_EQ(e.kind(), IndexError::Kind::Damaged);
            return e.description();
        }
        return "none";
    }
    std::string damaged(const std::string& detail) const
    {
        return "the structure index \"" + mst.string() + "\" is damaged: " + detail;
    }
};

TEST_F(IndexVerifierTest, AWholeIndexVerifies)
{
    IndexSnapshot index(mst);
    const auto counts = IndexVerifier(index).run();
    EXPECT_EQ(counts.structures, 31u);
    EXPECT_EQ(counts.empty, 1u);
}

TEST_F(IndexVerifierTest, AFlippedByteInAMoleculeFailsItsChecksum)
{
    IndexSnapshot index(mst);
    IndexSnapshot::Page page;
    index.readPage(kVictim, 1, page);
    flipByte(".mss", 32 + page.entries[0].offset + 3);
    EXPECT_EQ(damage(), damaged("structure 7's molecule in \"Labfolio.mss\" does not match its checksum"));
}

TEST_F(IndexVerifierTest, AFlippedBitInAScreeningKeyIsFound)
{
    IndexSnapshot index(mst);
    IndexSnapshot::Page page;
    index.readPage(kVictim, 1, page);
    // A bit the key does not hold: a search would look at the structure in vain, no more.
    size_t byte = 0;
    while (page.keys[byte] & 0x04)
        ++byte;
    flipByte(".msk", 32 + kVictim * kKeyRecord + byte);
    EXPECT_EQ(damage(),
              damaged("structure 7's screening key in \"Labfolio.msk\" does not match its molecule"));
}

TEST_F(IndexVerifierTest, AFlippedBitInAnAtomTypeKeyIsFound)
{
    IndexSnapshot index(mst);
    IndexSnapshot::Page page;
    index.readPage(kVictim, 1, page);
    const uint8_t* types = page.atomTypes(0);
    ASSERT_NE(types, nullptr);
    size_t byte = 0;
    while (types[byte] & 0x04)
        ++byte;
    flipByte(".msf", 32 + kVictim * kFactsRecord + indexlayout::kFactsBytes + byte);
    EXPECT_EQ(damage(),
              damaged("structure 7's atom-type key in \"Labfolio.msf\" does not match its molecule"));
}

TEST_F(IndexVerifierTest, AKeyOnAnEntryWithoutAStructureIsFound)
{
    flipByte(".msk", 32 + 5 * kKeyRecord + 100);
    EXPECT_EQ(damage(),
              damaged("structure 6's screening key in \"Labfolio.msk\" does not match its molecule"));
}

TEST_F(IndexVerifierTest, WrongCountsAreFound)
{
    flipByte(".msf", 32 + kVictim * kFactsRecord + 4); // bonds
    EXPECT_EQ(damage(), damaged("structure 7's counts in \"Labfolio.msf\" do not match its molecule"));
}

TEST_F(IndexVerifierTest, AFlippedByteInTheOffsetTableIsFound)
{
    flipByte(".msx", 32 + kVictim * 24 + 16); // identifier
    EXPECT_EQ(damage(), damaged("structure 7's entry in \"Labfolio.msx\" is wrong"));
}

TEST_F(IndexVerifierTest, AMoleculeRdkitCannotReadIsFound)
{
    // Bytes that are not a molecule, with a checksum that agrees: as a faulty writer leaves them.
    IndexSnapshot index(mst);
    IndexSnapshot::Page page;
    index.readPage(kVictim, 1, page);
    const auto& e = page.entries[0];
    std::string junk(e.length, 'x');
    {
        std::fstream f(fs::path(mst).replace_extension(".mss"),
                       std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(static_cast<std::streamoff>(32 + e.offset));
        f.write(junk.data(), static_cast<std::streamsize>(junk.size()));
    }
    std::vector<uint8_t> entry;
    indexlayout::appendEntry(
        entry, {e.offset, e.length, e.flags, e.identifier, indexlayout::crc32(junk.data(), junk.size())});
    {
        std::fstream f(fs::path(mst).replace_extension(".msx"),
                       std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(static_cast<std::streamoff>(32 + kVictim * 24));
        f.write(reinterpret_cast<const char*>(entry.data()), static_cast<std::streamsize>(entry.size()));
    }
    EXPECT_EQ(damage(),
              damaged("structure 7's molecule in \"Labfolio.mss\" is not a molecule RDKit can read"));
}

} // namespace
