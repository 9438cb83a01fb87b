#include "StructureQuery.h"

#include "LfError.h"

#include <GraphMol/RWMol.h>

#include <GraphMol/MolPickler.h>
#include <GraphMol/SmilesParse/SmilesParse.h>
#include <GraphMol/SmilesParse/SmilesWrite.h>
#include <GraphMol/Substruct/SubstructMatch.h>
#include <RDGeneral/RDLog.h>

#include <istream>
#include <streambuf>

#include "rdkit/RdkitRecord.h"

namespace {

LfError queryError(const std::string& text, const std::string& why)
{
    return LfError(LfError::kObjectError513, "labfolio-mst",
                   "cannot read the query \"" + text + "\": " + why);
}

// RDKit also reads "[#6]" as SMILES, as an atom without hydrogens: a chemist who writes it
// means the SMARTS "any carbon".
bool numbersAnElement(const std::string& text)
{
    bool inBracket = false;
    for (char c : text) {
        if (c == '[' || c == ']')
            inBracket = c == '[';
        else if (inBracket && c == '#')
            return true;
    }
    return false;
}

std::unique_ptr<RDKit::RWMol> parse(const std::string& text, bool& pattern)
{
    // RDKit reports parse errors on its own log as well; the query's error says it once.
    RDLog::LogStateSetter quiet;
    std::unique_ptr<RDKit::RWMol> molecule;
    if (!numbersAnElement(text)) {
        try {
            molecule.reset(RDKit::SmilesToMol(text));
        } catch (const std::exception&) {
            // not SMILES; perhaps SMARTS
        }
    }
    pattern = molecule == nullptr;
    if (pattern) {
        try {
            molecule.reset(RDKit::SmartsToMol(text));
        } catch (const std::exception&) {
            // neither: reported below
        }
    }
    return molecule;
}

} // namespace

struct StructureQuery::Parts {
    std::unique_ptr<RDKit::RWMol> molecule;
    std::string canonical; // exact queries: the structure as canonical SMILES
};

StructureQuery::StructureQuery(const std::string& text, bool exact)
    : m_parts(std::make_unique<Parts>()), m_exact(exact)
{
    if (text.find_first_not_of(" \t\r\n") == std::string::npos)
        throw queryError(text, "it is empty");
    m_parts->molecule = parse(text, m_pattern);
    if (!m_parts->molecule)
        throw queryError(text, "it is neither SMILES nor SMARTS");
    if (m_parts->molecule->getNumAtoms() == 0)
        throw queryError(text, "it holds no atom");
    if (exact && m_pattern)
        throw queryError(text, "an exact search needs a structure in SMILES, not a SMARTS pattern");
    const RDKit::ROMol& molecule = *m_parts->molecule;
    m_key = rdkitrecord::patternKey(molecule);
    for (size_t w = 0; w < m_key.size(); ++w)
        if (m_key[w] != 0)
            m_keyWords.emplace_back(w, m_key[w]);
    m_bonds = molecule.getNumBonds();
    // A SMARTS atom may match several elements, or none of the heavy atoms the counts hold.
    m_heavyAtoms = m_pattern ? 0 : molecule.getNumHeavyAtoms();
    if (exact)
        m_parts->canonical = RDKit::MolToSmiles(molecule);
    else if (m_pattern)
        m_atomTypes = atomtypes::queryGroups(molecule);
}

StructureQuery::~StructureQuery() = default;

bool StructureQuery::atomTypesAllow(const uint8_t* key) const
{
    return atomtypes::holds(key, m_atomTypes);
}

bool StructureQuery::countsAllow(uint32_t heavyAtoms, uint32_t bonds) const
{
    if (m_exact)
        return heavyAtoms == m_heavyAtoms && bonds == m_bonds;
    return heavyAtoms >= m_heavyAtoms && bonds >= m_bonds;
}

namespace {

// Lets RDKit read a molecule where the index's bytes already are, without a copy.
class BytesInPlace : public std::streambuf {
public:
    void reset(std::string_view bytes)
    {
        char* begin = const_cast<char*>(bytes.data()); // only read
        setg(begin, begin, begin + bytes.size());
    }
};

} // namespace

struct StructureQuery::Matcher::Parts {
    RDKit::ROMol query;
    std::string canonical;
    RDKit::SubstructMatchParameters parameters;
    BytesInPlace bytes;
    std::istream stream{&bytes};
};

StructureQuery::Matcher::Matcher(const StructureQuery& query) : m_parts(std::make_unique<Parts>())
{
    m_parts->query = RDKit::ROMol(*query.m_parts->molecule);
    m_parts->canonical = query.m_parts->canonical;
    // Whether it matches at all is all a search asks.
    m_parts->parameters.maxMatches = 1;
    m_parts->parameters.uniquify = false;
}

StructureQuery::Matcher::~Matcher() = default;

bool StructureQuery::Matcher::matches(std::string_view binary)
{
    RDKit::ROMol molecule;
    m_parts->bytes.reset(binary);
    m_parts->stream.clear();
    try {
        RDKit::MolPickler::molFromPickle(m_parts->stream, molecule);
    } catch (const std::exception&) {
        throw LfError(LfError::kObjectError513, "labfolio-mst", "not a molecule RDKit can read");
    }
    if (!m_parts->canonical.empty())
        return RDKit::MolToSmiles(molecule) == m_parts->canonical;
    if (!molecule.getRingInfo()->isInitialized())
        RDKit::MolOps::findSSSR(molecule);
    return !RDKit::SubstructMatch(molecule, m_parts->query, m_parts->parameters).empty();
}
