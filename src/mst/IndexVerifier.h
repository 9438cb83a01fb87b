#pragma once

#include <cstdint>

class IndexSnapshot;

// Reads every structure of an index and checks what the companions say of it against the
// index: the offset table's entry, the molecule's checksum, that RDKit reads the molecule, and
// that the screening key (.msk) and counts (.msf) are those of the molecule. Raises IndexError
// (Damaged) at the first damage found.
class IndexVerifier {
public:
    struct Counts {
        uint64_t structures = 0;
        uint64_t empty = 0; // entries without a structure
    };
    explicit IndexVerifier(const IndexSnapshot& index) : m_index(index) {}
    Counts run() const;

private:
    const IndexSnapshot& m_index;
};
