// The chemistry library over RDKit, built as the module the wizard loads at run time. The only
// translation unit of the wizard that includes RDKit's headers.
#include "ChemistryLibrary.h"
#include "LfError.h"

#include <GraphMol/RWMol.h>

#include <GraphMol/FileParsers/CDXMLParser.h>
#include <GraphMol/MolPickler.h>

#include "RdkitRecord.h"

#include <memory>

namespace {

class RdkitMolecule : public Molecule {
public:
    void Read(const std::string& path) override
    {
        std::vector<std::unique_ptr<RDKit::RWMol>> parts;
        try {
            parts = RDKit::CDXMLFileToMols(path, true, true);
        } catch (const std::exception& e) {
            throw LfError(LfError::kObjectError513, "Strucora10.Molecule.Read", e.what());
        }
        if (parts.empty())
            throw LfError(LfError::kObjectError513, "Strucora10.Molecule.Read",
                          "no structure in \"" + path + "\"");
        // A document with several fragments is one structure, as it was drawn.
        RDKit::RWMol whole(*parts.front());
        for (size_t i = 1; i < parts.size(); ++i)
            whole.insertMol(*parts[i]);
        MoleculeRecord r = rdkitrecord::keyAndCounts(whole);
        // The index searches structures; their drawing stays in the CDXML the database keeps.
        // Without coordinates a molecule takes half the room and is rebuilt faster.
        RDKit::MolPickler::pickleMol(whole, r.binary, RDKit::PicklerOps::NoConformers);
        m_record = std::move(r);
    }

    MoleculeRecord record() const override { return m_record; }

private:
    MoleculeRecord m_record;
};

class RdkitChemistryLibrary : public ChemistryLibrary {
public:
    std::unique_ptr<Molecule> CreateMolecule() override { return std::make_unique<RdkitMolecule>(); }

    // RDKit has no separate drawing program: there is nothing to attach to or to start, and
    // the conversion works without one.
    std::shared_ptr<DrawingApplication> AttachDrawingApplication() override
    {
        return std::make_shared<DrawingApplication>();
    }
    std::shared_ptr<DrawingApplication> CreateDrawingApplication() override
    {
        return std::make_shared<DrawingApplication>();
    }
};

} // namespace

extern "C" __attribute__((visibility("default"))) ChemistryLibrary* lf_create_chemistry_library()
{
    return new RdkitChemistryLibrary();
}
