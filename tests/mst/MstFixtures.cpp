#include "MstFixtures.h"

#include "ChemistryLibrary.h"
#include "Molecule.h"
#include "MoleculeFromCDXML.h"
#include "ScopedEnv.h"
#include "StoredMolecule.h"
#include "StructureIndex.h"
#include "TempDir.h"

#include <GraphMol/RWMol.h>

#include <GraphMol/FileParsers/CDXMLParser.h>
#include <GraphMol/SmilesParse/SmilesParse.h>
#include <GraphMol/SmilesParse/SmilesWrite.h>
#include <GraphMol/Substruct/SubstructMatch.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace mstfixtures {

namespace {

std::vector<std::string> readLines(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path.string());
    std::vector<std::string> out;
    for (std::string line; std::getline(in, line);)
        if (!line.empty())
            out.push_back(line);
    return out;
}

} // namespace

std::vector<std::string> testStructures()
{
    return readLines(fs::path(LF_TEST_DATA) / "structindex" / "nci30.txt");
}

std::vector<std::string> demoStructures()
{
    static const std::vector<std::string> structures = [] {
        TempDir dir;
        const fs::path out = dir.path() / "demo-structures.txt";
        const std::string command = std::string(LF_MAKE_STRUCTURES) + " 300 '" + out.string() + "'";
        if (std::system(command.c_str()) != 0)
            throw std::runtime_error(command +
                                     " failed (scripts/setup.sh installs openbabel and rdkit-data)");
        return readLines(out);
    }();
    return structures;
}

std::vector<MoleculeRecord> records(const std::vector<std::string>& cdxml)
{
    TempDir cache; // the temporary CDXML files
    ScopedEnv cacheHome("XDG_CACHE_HOME", cache.str());
    auto library = LoadChemistryLibrary();
    std::vector<MoleculeRecord> out;
    for (const auto& text : cdxml) {
        auto molecule = MoleculeFromCDXML(*library, text);
        out.push_back(molecule ? molecule->record() : MoleculeRecord{});
    }
    return out;
}

void buildIndex(const fs::path& mst, const std::vector<MoleculeRecord>& records, size_t count, uint32_t version)
{
    StructureIndex index;
    if (version != 0)
        index.SetCreationVersion(version);
    index.OpenOrCreate(mst.string(), 0);
    count = count ? count : records.size();
    for (size_t i = 0; i < count; ++i) {
        const MoleculeRecord& r = records[i % records.size()];
        if (r.empty()) {
            index.AddMolecule(nullptr, 0);
        } else {
            StoredMolecule m(r);
            index.AddMolecule(&m, 0);
        }
        if (i % 10 == 9)
            index.Commit();
    }
    index.Flush();
}

struct BruteForce::Molecules {
    std::vector<std::unique_ptr<RDKit::RWMol>> all; // none where RDKit cannot read the document
};

BruteForce::BruteForce(const std::vector<std::string>& cdxml) : m_molecules(std::make_unique<Molecules>())
{
    for (const auto& text : cdxml) {
        std::unique_ptr<RDKit::RWMol> whole;
        try {
            auto parts = RDKit::CDXMLToMols(text);
            for (auto& part : parts) {
                if (!whole)
                    whole = std::move(part);
                else
                    whole->insertMol(*part);
            }
        } catch (const std::exception&) {
            whole.reset();
        }
        m_molecules->all.push_back(std::move(whole));
    }
}

BruteForce::~BruteForce() = default;

std::vector<uint32_t> BruteForce::matches(const std::string& text, bool exact, size_t structures) const
{
    std::unique_ptr<RDKit::RWMol> query;
    try {
        if (text.find("[#") == std::string::npos) // SMARTS by its element numbers
            query.reset(RDKit::SmilesToMol(text));
    } catch (const std::exception&) {
    }
    if (!query)
        query.reset(RDKit::SmartsToMol(text));
    if (!query)
        throw std::runtime_error("the reference cannot read " + text);
    const std::string canonical = exact ? RDKit::MolToSmiles(*query) : "";
    structures = structures ? structures : m_molecules->all.size();
    std::vector<uint32_t> ids;
    for (size_t i = 0; i < structures; ++i) {
        const auto& m = m_molecules->all[i % m_molecules->all.size()];
        if (!m)
            continue;
        const bool hit =
            exact ? RDKit::MolToSmiles(*m) == canonical : !RDKit::SubstructMatch(*m, *query).empty();
        if (hit)
            ids.push_back(static_cast<uint32_t>(i + 1));
    }
    return ids;
}

} // namespace mstfixtures
