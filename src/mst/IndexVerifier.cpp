#include "IndexVerifier.h"

#include "IndexSnapshot.h"

#include <GraphMol/RWMol.h>

#include <GraphMol/MolPickler.h>

#include "rdkit/RdkitRecord.h"

using indexlayout::FileKind;

IndexVerifier::Counts IndexVerifier::run() const
{
    constexpr size_t kPage = 256;
    Counts counts;
    IndexSnapshot::Page page;
    IndexSnapshot::ReadAhead ahead;
    std::string binary;
    for (uint64_t first = 0; first < m_index.count(); first += kPage) {
        m_index.readPage(first, kPage, page);
        for (size_t i = 0; i < page.size(); ++i) {
            const uint64_t position = first + i;
            const MoleculeRecord stored = page.record(i);
            MoleculeRecord expected; // an entry without a structure: no key, no counts
            if (page.entries[i].length == 0) {
                ++counts.empty;
            } else {
                m_index.readMolecule(position, page.entries[i], binary, &ahead);
                RDKit::ROMol molecule;
                try {
                    RDKit::MolPickler::molFromPickle(binary, molecule);
                } catch (const std::exception&) {
                    m_index.damaged(m_index.recordName(position, "molecule", FileKind::Mss) +
                                    " is not a molecule RDKit can read");
                }
                expected = rdkitrecord::keyAndCounts(molecule);
            }
            if (stored.fingerprint != expected.fingerprint)
                m_index.damaged(m_index.recordName(position, "screening key", FileKind::Msk) +
                                " does not match its molecule");
            if (page.atomTypes(i) != nullptr && stored.atomTypes != expected.atomTypes)
                m_index.damaged(m_index.recordName(position, "atom-type key", FileKind::Msf) +
                                " does not match its molecule");
            if (stored.heavyAtoms != expected.heavyAtoms || stored.bonds != expected.bonds ||
                stored.rings != expected.rings)
                m_index.damaged(m_index.recordName(position, "counts", FileKind::Msf) +
                                " do not match its molecule");
            ++counts.structures;
        }
    }
    return counts;
}
