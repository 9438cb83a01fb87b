#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "MoleculeRecord.h"

// What a chemist looks for: a structure in SMILES or a pattern in SMARTS. A substructure query
// matches every structure that holds it; an exact query only the structure itself (same atoms,
// bonds, charges and stereochemistry, as canonical SMILES tell).
class StructureQuery {
public:
    // The text is read as SMILES; as SMARTS when it is not valid SMILES or when a bracket atom
    // names its element by number ("[#6]"). Raises LfError when it is neither, or when an exact
    // query is not a structure.
    StructureQuery(const std::string& text, bool exact);
    ~StructureQuery();
    StructureQuery(const StructureQuery&) = delete;
    StructureQuery& operator=(const StructureQuery&) = delete;

    bool isPattern() const { return m_pattern; }
    bool isExact() const { return m_exact; }
    // The query's pattern fingerprint: a structure whose key lacks one of its bits cannot match.
    const MoleculeRecord::Fingerprint& key() const { return m_key; }
    // The same as (word, bits) pairs, only the words that hold bits: what a screen compares.
    const std::vector<std::pair<size_t, uint64_t>>& keyWords() const { return m_keyWords; }
    // Whether a structure of these counts can match, from its counts alone.
    bool countsAllow(uint32_t heavyAtoms, uint32_t bonds) const;
    // Whether a structure with this atom-type key (rdkit/AtomTypeKey.h) can match: it holds an
    // atom or bonded pair of each type the pattern names. True for a query that names none.
    bool atomTypesAllow(const uint8_t* key) const;
    bool namesAtomTypes() const { return !m_atomTypes.empty(); }
    // Whether the counts and atom types (.msf) screen this query more than its pattern key does
    // alone: for an exact query and for a pattern that names atom types.
    bool screensWithFacts() const { return m_exact || namesAtomTypes(); }

    // Matches stored structures against the query; one for each thread, since RDKit's matcher
    // keeps state in recursive SMARTS.
    class Matcher {
    public:
        explicit Matcher(const StructureQuery& query);
        ~Matcher();
        Matcher(const Matcher&) = delete;
        Matcher& operator=(const Matcher&) = delete;
        // Whether the molecule, in RDKit's binary form, matches. Raises LfError when the bytes
        // are not a molecule.
        bool matches(std::string_view binary);

    private:
        struct Parts;
        std::unique_ptr<Parts> m_parts;
    };

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
    bool m_pattern = false;
    bool m_exact = false;
    MoleculeRecord::Fingerprint m_key{};
    std::vector<std::pair<size_t, uint64_t>> m_keyWords;
    uint32_t m_heavyAtoms = 0; // of the query's atoms that only a heavy atom matches
    uint32_t m_bonds = 0;
    std::vector<std::vector<unsigned>> m_atomTypes; // bits of which a structure needs one each
};
