#pragma once

// What the structure index keeps of an RDKit molecule: its two screening keys and counts. The
// chemistry module computes it when it reads a structure; labfolio-mst computes a query's key
// and checks a stored structure's key the same way, so the three always agree.
#include <GraphMol/ROMol.h>

#include <GraphMol/Fingerprints/Fingerprints.h>
#include <GraphMol/MolOps.h>
#include <GraphMol/RingInfo.h>
#include <DataStructs/ExplicitBitVect.h>

#include <memory>

#include "AtomTypeKey.h"
#include "MoleculeRecord.h"

namespace rdkitrecord {

inline MoleculeRecord::Fingerprint patternKey(const RDKit::ROMol& molecule)
{
    MoleculeRecord::Fingerprint key{};
    std::unique_ptr<ExplicitBitVect> fp(
        RDKit::PatternFingerprintMol(molecule, MoleculeRecord::kFingerprintBits));
    for (unsigned bit = 0; bit < MoleculeRecord::kFingerprintBits; ++bit)
        if (fp->getBit(bit))
            key[bit / 64] |= uint64_t{1} << (bit % 64);
    return key;
}

// Key and counts; the molecule's binary form is left to the caller.
inline MoleculeRecord keyAndCounts(const RDKit::ROMol& molecule)
{
    if (molecule.getRingInfo() == nullptr || !molecule.getRingInfo()->isInitialized())
        RDKit::MolOps::findSSSR(molecule);
    MoleculeRecord r;
    r.fingerprint = patternKey(molecule);
    r.atomTypes = atomtypes::structureKey(molecule);
    r.heavyAtoms = molecule.getNumHeavyAtoms();
    r.bonds = molecule.getNumBonds();
    r.rings = molecule.getRingInfo()->numRings();
    return r;
}

} // namespace rdkitrecord
