#pragma once

#include "Molecule.h"

// A molecule that hands the index a record read before, so that one structure read through the
// chemistry module can be added any number of times.
class StoredMolecule : public Molecule {
public:
    explicit StoredMolecule(const MoleculeRecord& record) : m_record(record) {}
    void Read(const std::string&) override {}
    MoleculeRecord record() const override { return m_record; }

private:
    const MoleculeRecord& m_record;
};
