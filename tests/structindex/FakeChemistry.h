#pragma once

#include "ChemistryLibrary.h"
#include "LfError.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// A chemistry library for tests: a molecule "reads" a file by keeping its text, so a test can
// see what the index stores without the toolkit. A file reading "unreadable" fails as a
// structure the toolkit cannot parse does.
class FakeMolecule : public Molecule {
public:
    explicit FakeMolecule(std::vector<std::string>* reads) : m_reads(reads) {}
    explicit FakeMolecule(std::string text) { m_record = recordOf(text); }

    void Read(const std::string& path) override
    {
        std::ifstream in(path, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        if (m_reads)
            m_reads->push_back(path);
        if (text.str() == "unreadable")
            throw LfError(LfError::kObjectError513, "FakeMolecule.Read", "cannot parse");
        m_record = recordOf(text.str());
    }
    MoleculeRecord record() const override { return m_record; }

    static MoleculeRecord recordOf(const std::string& text)
    {
        MoleculeRecord r;
        r.binary = "mol:" + text;
        r.fingerprint[0] = text.size();
        r.fingerprint[31] = 0x8000000000000001ull;
        r.heavyAtoms = static_cast<uint32_t>(text.size());
        r.bonds = 2;
        r.rings = 1;
        return r;
    }

private:
    std::vector<std::string>* m_reads = nullptr;
    MoleculeRecord m_record;
};

class FakeChemistryLibrary : public ChemistryLibrary {
public:
    // What CreateMolecule raises instead of making one (0: nothing).
    uint32_t createError = 0;
    std::string createErrorText = "cannot create object";
    bool drawingApplicationRuns = false;
    bool drawingApplicationFails = false; // it cannot be started
    int drawingApplicationsStarted = 0;
    std::vector<std::string> reads; // temporary files the molecules read

    std::unique_ptr<Molecule> CreateMolecule() override
    {
        if (createError)
            throw LfError(createError, "Strucora10.Molecule", createErrorText);
        return std::make_unique<FakeMolecule>(&reads);
    }
    std::shared_ptr<DrawingApplication> AttachDrawingApplication() override
    {
        return drawingApplicationRuns ? std::make_shared<DrawingApplication>() : nullptr;
    }
    std::shared_ptr<DrawingApplication> CreateDrawingApplication() override
    {
        if (drawingApplicationFails)
            throw LfError(kCannotCreateObject, "Sketchwell.Application", "cannot create object");
        ++drawingApplicationsStarted;
        return std::make_shared<DrawingApplication>();
    }
};
