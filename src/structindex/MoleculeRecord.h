#pragma once

#include <array>
#include <cstdint>
#include <string>

// What the structure index keeps of one structure: the toolkit's binary form of the molecule,
// its pattern fingerprint and atom-type key for substructure screening, and a few counts that
// let a search skip structures too small to hold the query. A default record is "no structure".
struct MoleculeRecord {
    static constexpr unsigned kFingerprintBits = 2048;
    using Fingerprint = std::array<uint64_t, kFingerprintBits / 64>;

    std::string binary; // RDKit's pickle; empty when nothing was read
    Fingerprint fingerprint{};
    Fingerprint atomTypes{}; // rdkit/AtomTypeKey.h; indexes of format version 1 hold none
    uint32_t heavyAtoms = 0;
    uint32_t bonds = 0;
    uint32_t rings = 0;

    bool empty() const { return binary.empty(); }
};
