#pragma once

#include <string>

#include "MoleculeRecord.h"

// The chemistry library's molecule object ("Strucora10.Molecule"): made by ChemistryLibrary,
// loaded from a CDXML file, then handed to the structure index.
class Molecule {
public:
    virtual ~Molecule() = default;

    // Loads the structure of a CDXML file. Raises LfError when the file holds nothing the
    // toolkit can read; the molecule then stays as it was (empty).
    virtual void Read(const std::string& path) = 0;

    // The structure as the index stores it; an empty record when nothing was read.
    virtual MoleculeRecord record() const = 0;
};
