#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "MoleculeRecord.h"

// Structures as the desktop database stores them (CDXML documents, one a line) and indexes of
// them built through the chemistry module, as the rebuild builds them.
namespace mstfixtures {

// The 30 test structures (tests/data/structindex/nci30.txt).
std::vector<std::string> testStructures();
// The demonstration machine's 300 structures, drawn by scripts/make-structures.sh once per test
// process.
std::vector<std::string> demoStructures();
// Each structure's record as the chemistry module reads it (empty when it cannot).
std::vector<MoleculeRecord> records(const std::vector<std::string>& cdxml);
// Writes an index of the records, count of them taken in turn, committed every ten as the
// rebuild commits, and flushed at the end; in the newest format version unless one is given.
void buildIndex(const std::filesystem::path& mst, const std::vector<MoleculeRecord>& records,
                size_t count = 0, uint32_t version = 0);

// The reference a search must equal: every structure read with RDKit directly from its CDXML
// and matched against the query, one after the other.
class BruteForce {
public:
    explicit BruteForce(const std::vector<std::string>& cdxml);
    ~BruteForce();
    // The identifiers (from 1) of the structures that hold the query (exact: that are it), among
    // the first `structures` (0: all).
    std::vector<uint32_t> matches(const std::string& query, bool exact, size_t structures = 0) const;

private:
    struct Molecules;
    std::unique_ptr<Molecules> m_molecules;
};

} // namespace mstfixtures
