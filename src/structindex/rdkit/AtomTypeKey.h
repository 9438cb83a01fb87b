#pragma once

// The index's second screening key: which atom types a structure holds, and which pairs of them
// are bonded, as a chemist's SMARTS pattern names them ([CX3], [OX2H1], [N+], =, #). The pattern
// fingerprint cannot screen such atoms (it reads a query atom with conditions as "any atom"), so
// a search for "[CX3](=O)[OX2H1]" would otherwise rebuild and match half the index.
//
// An atom type is the element with some of: aromatic or not, connections (X: neighbours and
// hydrogens), hydrogens (H), formal charge. Each atom sets a bit for several such views of
// itself, each bond one for each pair of views of its two ends with its bond type. A query atom
// asks for the bit of the view its own conditions give. Values are taken with the same
// functions RDKit's SMARTS atoms evaluate, so a structure a query matches always holds the bits
// the query asks for.
#include <GraphMol/ROMol.h>

#include <GraphMol/QueryOps.h>

#include <algorithm>
#include <bit>
#include <vector>

#include "MoleculeRecord.h"

namespace atomtypes {

// What is known of an atom: -1 where nothing is.
struct AtomType {
    int element = -1;
    int aromatic = -1;
    int connections = -1;
    int hydrogens = -1;
    int charge = -1000;
};

enum View : unsigned { kAromatic = 1, kConnections = 2, kHydrogens = 4, kCharge = 8 };
// Every atom sets these views (the element is in all of them)...
inline constexpr unsigned kAtomViews[] = {0,
                                          kAromatic,
                                          kConnections,
                                          kHydrogens,
                                          kAromatic | kConnections,
                                          kAromatic | kHydrogens,
                                          kConnections | kHydrogens,
                                          kAromatic | kConnections | kHydrogens,
                                          kCharge,
                                          kAromatic | kCharge};
// ...and every bond the pairs of these views of its two ends.
inline constexpr unsigned kBondViews[] = {0, kAromatic, kAromatic | kConnections, kAromatic | kHydrogens,
                                          kAromatic | kConnections | kHydrogens};

inline constexpr int kMostElement = 200;

inline bool knows(const AtomType& t, unsigned view)
{
    return (!(view & kAromatic) || t.aromatic >= 0) && (!(view & kConnections) || t.connections >= 0) &&
           (!(view & kHydrogens) || t.hydrogens >= 0) && (!(view & kCharge) || t.charge != -1000);
}

// The view a query atom asks for: the one with the most conditions it knows, among those given
// (charge views apart, so that an atom may ask for one of each).
template <size_t N> unsigned bestView(const AtomType& t, const unsigned (&views)[N], bool charge)
{
    unsigned best = 0;
    for (unsigned v : views)
        if (((v & kCharge) != 0) == charge && knows(t, v) && std::popcount(v) > std::popcount(best))
            best = v;
    return best;
}

// Large counts share a value, the same on both sides: still never a false "absent".
inline uint32_t code(const AtomType& t, unsigned view)
{
    auto small = [](int v) { return static_cast<uint32_t>(std::clamp(v, 0, 14)); };
    uint32_t c = static_cast<uint32_t>(t.element) & 0xffu;
    c |= (view & kAromatic ? static_cast<uint32_t>(t.aromatic) & 1u : 3u) << 8;
    c |= (view & kConnections ? small(t.connections) : 15u) << 10;
    c |= (view & kHydrogens ? small(t.hydrogens) : 15u) << 14;
    c |= (view & kCharge ? small(t.charge + 7) : 15u) << 18;
    return c;
}

// A fixed mix, so that every build and platform sets the same bits.
inline uint64_t mix(uint64_t h)
{
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ULL;
    h ^= h >> 33;
    return h;
}

inline unsigned atomBit(uint32_t code)
{
    return static_cast<unsigned>(mix(uint64_t{1} << 40 | code) % MoleculeRecord::kFingerprintBits);
}

inline unsigned bondBit(uint32_t end1, int bondType, uint32_t end2)
{
    if (end1 > end2)
        std::swap(end1, end2);
    const uint64_t pair = mix(uint64_t{end1} << 32 | end2);
    return static_cast<unsigned>(mix(pair ^ (static_cast<uint64_t>(bondType) + 0x9e3779b97f4a7c15ULL)) %
                                 MoleculeRecord::kFingerprintBits);
}

inline AtomType typeOf(const RDKit::Atom* atom)
{
    // RDKit's SMARTS primitives evaluate these very functions: #/element, a/A, X, H, charge.
    return {RDKit::queryAtomNum(atom), RDKit::queryAtomAromatic(atom), RDKit::queryAtomTotalDegree(atom),
            RDKit::queryAtomHCount(atom), RDKit::queryAtomFormalCharge(atom)};
}

inline void set(MoleculeRecord::Fingerprint& key, unsigned bit)
{
    key[bit / 64] |= uint64_t{1} << (bit % 64);
}

inline MoleculeRecord::Fingerprint structureKey(const RDKit::ROMol& molecule)
{
    MoleculeRecord::Fingerprint key{};
    for (const RDKit::Atom* atom : molecule.atoms()) {
        const AtomType t = typeOf(atom);
        for (unsigned v : kAtomViews)
            set(key, atomBit(code(t, v)));
    }
    for (const RDKit::Bond* bond : molecule.bonds()) {
        const AtomType a = typeOf(bond->getBeginAtom());
        const AtomType b = typeOf(bond->getEndAtom());
        const int order = RDKit::queryBondOrder(bond);
        for (unsigned va : kBondViews)
            for (unsigned vb : kBondViews)
                set(key, bondBit(code(a, va), order, code(b, vb)));
    }
    return key;
}

// What a SMARTS atom demands, from the conditions it joins with "and" (";", "&" or none). A
// condition under "or" or "not", a recursive one or one RDKit adds later is left out: leaving a
// condition out only lets more structures through the screen.
inline void readConditions(const RDKit::Atom::QUERYATOM_QUERY* q, AtomType& t)
{
    if (q->getNegation())
        return;
    const std::string& what = q->getDescription();
    if (what == "AtomAnd") {
        for (auto child = q->beginChildren(); child != q->endChildren(); ++child)
            readConditions(child->get(), t);
        return;
    }
    const auto* equals = dynamic_cast<const RDKit::ATOM_EQUALS_QUERY*>(q);
    if (equals == nullptr || equals->getTol() != 0)
        return;
    const int value = equals->getVal();
    // Elements beyond the table (no atom has one) are left out rather than folded onto others.
    if (what == "AtomType" && value != 1000 && RDKit::getAtomTypeAtomicNum(value) <= kMostElement) {
        t.element = RDKit::getAtomTypeAtomicNum(value);
        t.aromatic = RDKit::getAtomTypeIsAromatic(value) ? 1 : 0;
    } else if (what == "AtomAtomicNum" && value >= 0 && value <= kMostElement) {
        t.element = value;
    } else if (what == "AtomTotalDegree") {
        t.connections = value;
    } else if (what == "AtomHCount") {
        t.hydrogens = value;
    } else if (what == "AtomFormalCharge") {
        t.charge = value;
    }
}

// A bond's possible types, or none when it may be of any.
inline std::vector<int> bondOrders(const RDKit::Bond* bond)
{
    if (!bond->hasQuery())
        return {};
    const auto* q = bond->getQuery();
    const auto* equals = dynamic_cast<const RDKit::BOND_EQUALS_QUERY*>(q);
    if (q->getNegation() || equals == nullptr || equals->getTol() != 0)
        return {};
    if (q->getDescription() == "BondOrder")
        return {equals->getVal()};
    if (q->getDescription() == "SingleOrAromaticBond" && equals->getVal() == 1)
        return {RDKit::Bond::SINGLE, RDKit::Bond::AROMATIC};
    return {};
}

// The bits a structure must hold to match a SMARTS query: each group needs one of its bits.
// Empty when the query names no atom type (a SMILES query: its atoms match by element only).
using Groups = std::vector<std::vector<unsigned>>;
inline Groups queryGroups(const RDKit::ROMol& query)
{
    Groups groups;
    std::vector<AtomType> types;
    for (const RDKit::Atom* atom : query.atoms()) {
        AtomType t;
        if (atom->hasQuery())
            readConditions(atom->getQuery(), t);
        types.push_back(t);
        if (t.element < 0)
            continue;
        groups.push_back({atomBit(code(t, bestView(t, kAtomViews, false)))});
        if (t.charge != -1000)
            groups.push_back({atomBit(code(t, bestView(t, kAtomViews, true)))});
    }
    for (const RDKit::Bond* bond : query.bonds()) {
        const AtomType& a = types[bond->getBeginAtomIdx()];
        const AtomType& b = types[bond->getEndAtomIdx()];
        const std::vector<int> orders = bondOrders(bond);
        if (a.element < 0 || b.element < 0 || orders.empty())
            continue;
        std::vector<unsigned> anyOf;
        for (int order : orders)
            anyOf.push_back(bondBit(code(a, bestView(a, kBondViews, false)), order,
                                    code(b, bestView(b, kBondViews, false))));
        groups.push_back(anyOf);
    }
    std::sort(groups.begin(), groups.end());
    groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
    return groups;
}

inline bool holds(const uint8_t* key, const Groups& groups)
{
    for (const auto& anyOf : groups) {
        bool found = false;
        for (unsigned bit : anyOf)
            found = found || (key[bit / 8] >> (bit % 8) & 1) != 0;
        if (!found)
            return false;
    }
    return true;
}

} // namespace atomtypes
