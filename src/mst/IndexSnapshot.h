#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "MoleculeRecord.h"
#include "StructureIndexLayout.h"

class PositionalFile;

// A structure index as its last commit left it, opened for reading only: what labfolio-mst
// shows and searches. A rebuild may go on appending to the same files; the snapshot keeps to
// the structures committed when it was opened. Structures are read a page at a time, so that
// memory does not grow with the index.
//
// Raises IndexError: Unusable when the .mst file is missing, unreadable, foreign or of a later
// version; Damaged when a companion, the commit record or a structure's records are wrong.
class IndexSnapshot {
public:
    explicit IndexSnapshot(const std::filesystem::path& mst);
    ~IndexSnapshot();
    IndexSnapshot(const IndexSnapshot&) = delete;
    IndexSnapshot& operator=(const IndexSnapshot&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    uint32_t formatVersion() const { return m_version; }
    // Committed structures; structure n (from 1) is at position n - 1.
    uint64_t count() const { return m_commit.count; }
    uint64_t moleculeBytes() const { return m_commit.dataBytes; }
    uint32_t commitSequence() const { return m_commit.sequence; }
    // Whether the build that made the last commit ran to its end.
    bool buildEnded() const { return (m_commit.flags & indexlayout::kCommitBuildEnded) != 0; }
    // The sizes of the five files when the snapshot was taken, in the order of indexlayout::kKinds.
    const std::array<uint64_t, indexlayout::kFileCount>& fileSizes() const { return m_sizes; }
    // Bytes the companions hold beyond the last commit: what a stopped build wrote after it,
    // which the next rebuild drops.
    uint64_t uncommittedBytes() const;

    // The records of structures [first, first + size) of the three fixed-size companions. The
    // offset table is checked as it is read: identifiers in order, molecules one after the other.
    struct Page {
        uint64_t first = 0;
        uint32_t version = 0; // of the index: whether facts hold atom types
        std::vector<indexlayout::Entry> entries;
        std::vector<uint8_t> keys;  // 256 bytes a structure
        std::vector<uint8_t> facts; // indexlayout::recordSize(Msf, version) bytes a structure
        std::vector<uint8_t> raw;   // the offset table as read
        size_t size() const { return entries.size(); }
        // Whether the structure's pattern key holds these bits: (word, bits of it) pairs.
        bool keyHolds(size_t i, const std::vector<std::pair<size_t, uint64_t>>& words) const;
        // The structure's atom-type key, or none in an index of format version 1.
        const uint8_t* atomTypes(size_t i) const;
        MoleculeRecord record(size_t i) const; // keys and counts; no molecule
        uint32_t heavyAtoms(size_t i) const;
        uint32_t bonds(size_t i) const;
    };
    void readPage(uint64_t first, size_t size, Page& page) const;
    // The same in parts, for a search that needs not every part of every page: the entries
    // first, then the keys or the facts of the same structures.
    void readEntries(uint64_t first, size_t size, Page& page) const;
    void readKeys(Page& page) const;
    void readFacts(Page& page) const;
    // Molecules read ahead of the one asked for, so that the next ones of a page come without
    // another read of the file. One for each thread.
    struct ReadAhead {
        std::string buffer; // only grows
        size_t used = 0;    // bytes of it read
        uint64_t start = 0; // where they begin in the molecule data
        // No molecule beyond this offset of the molecule data is wanted soon: a search whose
        // screen leaves few structures reads just those, not the molecules between them.
        uint64_t until = UINT64_MAX;
    };
    static constexpr uint64_t kReadAheadBytes = 64 * 1024;
    // A structure's molecule bytes, checked against its entry's checksum.
    void readMolecule(uint64_t position, const indexlayout::Entry& entry, std::string& out,
                      ReadAhead* ahead = nullptr) const;
    // The same without a copy: valid until the next read through the same read-ahead.
    std::string_view moleculeAt(uint64_t position, const indexlayout::Entry& entry, ReadAhead& ahead) const;

    // Raises IndexError Damaged: "the structure index "PATH" is damaged: DETAIL".
    [[noreturn]] void damaged(const std::string& detail) const;
    // "structure N's ITEM in "Labfolio.EXT""
    std::string recordName(uint64_t position, const char* item, indexlayout::FileKind kind) const;
    std::string fileName(indexlayout::FileKind kind) const;

private:
    void openFile(indexlayout::FileKind kind);
    void chooseCommit();
    void readRecords(indexlayout::FileKind kind, uint64_t first, size_t size,
                     std::vector<uint8_t>& out) const;

    std::filesystem::path m_path;
    std::array<std::unique_ptr<PositionalFile>, indexlayout::kFileCount> m_files;
    std::array<uint64_t, indexlayout::kFileCount> m_sizes{};
    uint32_t m_version = 0;
    uint64_t m_uid = 0;
    indexlayout::CommitRecord m_commit;
};
