#pragma once

#include <cstdint>
#include <functional>

class IndexSnapshot;
class StructureQuery;

// A substructure (or exact-structure) search over a structure index: each structure's key and
// counts screen first, then RDKit's match confirms the structures that remain. Pages of the
// index are searched on several threads; matches come out in identifier order.
class SubstructureSearch {
public:
    struct Options {
        uint64_t limit = 0; // stop after this many matches; 0: all
        unsigned threads = 1;
    };
    struct Counts {
        uint64_t structures = 0; // looked at (all of them unless the limit stopped the search)
        uint64_t empty = 0;      // entries without a structure
        uint64_t screenedOut = 0;
        uint64_t matched = 0; // given to RDKit's match
        uint64_t hits = 0;
    };

    SubstructureSearch(const IndexSnapshot& index, const StructureQuery& query);

    // Calls onHit with the identifier (MOL_ID) of each match, in identifier order, from one of
    // the search's threads at a time. Raises IndexError when the index turns out damaged (some
    // matches may have been reported by then).
    Counts run(const Options& options, const std::function<void(uint32_t identifier)>& onHit) const;

    // Structures a thread takes at a time.
    static constexpr size_t kPageSize = 256;

private:
    const IndexSnapshot& m_index;
    const StructureQuery& m_query;
};
