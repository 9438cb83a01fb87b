#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "MoleculeRecord.h"

class Molecule;

// The structure index document ("Strucora10.Document"): the .mst file and its companions
// .msx, .mss, .msk and .msf (format: README.md in this folder). Structures are appended and
// numbered consecutively; what Commit wrote survives a crash, a kill or a full disk.
class StructureIndex {
public:
    StructureIndex();
    ~StructureIndex(); // commits what is pending; errors then are dropped
    StructureIndex(const StructureIndex&) = delete;
    StructureIndex& operator=(const StructureIndex&) = delete;

    // Opens the index at path (the .mst file), or creates it with its companions. An existing
    // index is appended to and continues its identifiers; what a stopped build wrote after its
    // last commit is dropped. mode is the library's open mode; 0, the only one, is read-write.
    // Raises LfError for damaged or foreign files and for files that cannot be written.
    void OpenOrCreate(const std::string& path, int16_t mode);
    // Appends one structure (none: an entry without a structure), numbered LastIdentifier() + 1.
    void AddMolecule(const Molecule* molecule, int32_t options);
    // The identifier of the structure added last (of the index's last structure right after
    // opening; 0 for an empty index).
    int32_t LastIdentifier() const;

    // Writes what was added since the last commit, then the commit record that makes it count.
    void Commit();
    // Commit, then asks the system to put everything on the disk.
    void Flush();

    // Structures committed or pending.
    int64_t Count() const;
    // A committed or pending structure by position (0-based), as it was added.
    MoleculeRecord Record(int64_t position) const;
    const std::filesystem::path& path() const { return m_path; }
    // The format version of the open index: what it was created with.
    uint32_t FormatVersion() const { return m_version; }
    // The format version OpenOrCreate gives an index it creates: the newest, unless an older
    // one is asked for (for readers that know no later one).
    void SetCreationVersion(uint32_t version);

    static constexpr int32_t kFirstIdentifier = 1;

private:
    struct Files;
    void create();
    void open();
    void requireOpen() const;
    [[noreturn]] void fail(const std::string& what, const std::string& detail) const;

    std::filesystem::path m_path;
    std::unique_ptr<Files> m_files;
    int64_t m_committed = 0;       // structures covered by the last commit record
    uint64_t m_committedBytes = 0; // bytes of molecule data (.mss, after its header) committed
    uint32_t m_sequence = 0;       // number of the last commit record
    uint64_t m_uid = 0;            // ties the five files together
    uint32_t m_version = 0;        // of the open index
    uint32_t m_creationVersion;    // of an index created
    std::vector<MoleculeRecord> m_pending;
    bool m_broken = false; // a write failed: nothing more is accepted
};
