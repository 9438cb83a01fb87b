// Query time of labfolio-mst's search over an index of N structures against RDKit's own
// SubstructLibrary with pattern fingerprints over the same molecules, in the same process and
// on the same number of threads; and how many structures the index's keys and counts screen out.
// Prints ratios (ours / RDKit's: below 1 is faster) and peak memory.
//   mst_search_bench --structures FILE [--count N] [--threads T] [--repeat R]
// FILE holds CDXML documents, one a line (scripts/make-structures.sh); they are read once through
// the chemistry module and taken in turn until the index holds N, as the rebuild writes it.
#include "IndexSnapshot.h"
#include "MstFixtures.h"
#include "StructureQuery.h"
#include "SubstructureSearch.h"
#include "TempDir.h"

#include <GraphMol/RWMol.h>

#include <GraphMol/MolPickler.h>
#include <GraphMol/SmilesParse/SmilesParse.h>
#include <GraphMol/SmilesParse/SmilesWrite.h>
#include <GraphMol/SubstructLibrary/SubstructLibrary.h>
#include <RDGeneral/RDLog.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sys/resource.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Query {
    const char* name;
    const char* text;
    bool exact;
};
const Query kQueries[] = {
    {"benzene", "c1ccccc1", false},
    {"carboxylic acid (SMARTS)", "[CX3](=O)[OX2H1]", false},
    {"naphthalene (fused rings)", "c1ccc2ccccc2c1", false},
    {"no hits", "[Xe]", false},
    {"exact structure", "CC1=CC(=O)C=CC1=O", true},
};

double ms(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

double peakMb()
{
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_maxrss) / 1024.0;
}

template <class F> double timed(F f)
{
    const auto t0 = Clock::now();
    f();
    return ms(Clock::now() - t0);
}

double median(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    RDLog::LogStateSetter quiet; // queries in SMARTS are tried as SMILES first, as ours are
    std::string file;
    size_t count = 5000;
    int threads = 1;
    int repeat = 5;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string a = argv[i];
        if (a == "--structures")
            file = argv[i + 1];
        else if (a == "--count")
            count = std::stoul(argv[i + 1]);
        else if (a == "--threads")
            threads = std::stoi(argv[i + 1]);
        else if (a == "--repeat")
            repeat = std::stoi(argv[i + 1]);
    }
    if (file.empty()) {
        std::cerr << "usage: mst_search_bench --structures FILE [--count N] [--threads T] [--repeat R]\n";
        return 2;
    }

    std::vector<std::string> cdxml;
    {
        std::ifstream in(file, std::ios::binary);
        for (std::string line; cdxml.size() < count && std::getline(in, line);)
            if (!line.empty())
                cdxml.push_back(line);
    }
    const std::vector<MoleculeRecord> unique = mstfixtures::records(cdxml);
    if (unique.empty()) {
        std::cerr << "no structures in " << file << "\n";
        return 1;
    }
    TempDir work;
    const auto mst = work.path() / "Labfolio.mst";
    mstfixtures::buildIndex(mst, unique, count);
    std::printf("structures %zu (%zu distinct), threads %d, median of %d runs\n\n", count, unique.size(),
                threads, repeat);

    struct Result {
        std::vector<uint32_t> ids;
        SubstructureSearch::Counts counts;
    };
    // Ours: open the index and search, as each run of labfolio-mst does.
    auto searchOurs = [&](const Query& q, Result& r) {
        IndexSnapshot index(mst);
        StructureQuery query(q.text, q.exact);
        r.ids.clear();
        SubstructureSearch::Options options;
        options.threads = static_cast<unsigned>(threads);
        r.counts = SubstructureSearch(index, query).run(options, [&](uint32_t id) { r.ids.push_back(id); });
    };
    const double peakBefore = peakMb();
    for (const Query& q : kQueries) {
        Result r;
        searchOurs(q, r);
    }
    const double peakOurs = peakMb();

    // RDKit's SubstructLibrary over the same molecules (identifiers are positions + 1): with the
    // molecules in memory, and with them kept as pickles (the form the index stores them in).
    auto inMemory = boost::make_shared<RDKit::MolHolder>();
    auto pickled = boost::make_shared<RDKit::CachedMolHolder>();
    auto keys = boost::make_shared<RDKit::PatternHolder>(MoleculeRecord::kFingerprintBits);
    auto t0 = Clock::now();
    for (size_t i = 0; i < count; ++i) {
        const MoleculeRecord& r = unique[i % unique.size()];
        RDKit::ROMol m;
        if (!r.empty())
            RDKit::MolPickler::molFromPickle(r.binary, m);
        inMemory->addMol(m);
        keys->addMol(m);
    }
    const double libraryBuildMs = ms(Clock::now() - t0);
    for (size_t i = 0; i < count; ++i) {
        const MoleculeRecord& r = unique[i % unique.size()];
        if (r.empty())
            pickled->addMol(RDKit::ROMol());
        else
            pickled->addBinary(r.binary);
    }
    RDKit::SubstructLibrary inMemoryLibrary(inMemory, keys);
    RDKit::SubstructLibrary pickledLibrary(pickled, keys);
    const double peakLibrary = peakMb();

    std::printf("%-27s %9s %9s %6s %9s %6s %9s %7s\n", "query", "ours ms", "memory ms", "ratio", "pickle ms",
                "ratio", "screened", "hits");
    bool same = true;
    for (size_t qi = 0; qi < std::size(kQueries); ++qi) {
        const Query& q = kQueries[qi];
        // As ours: no stereochemistry; whether it matches at all, not every match.
        RDKit::SubstructMatchParameters parameters;
        parameters.maxMatches = 1;
        parameters.uniquify = false;
        std::vector<uint32_t> ids;
        // Reading the query's text is part of a query, on both sides.
        auto searchLibrary = [&](const RDKit::SubstructLibrary& library) {
            std::unique_ptr<RDKit::RWMol> query;
            if (std::string(q.text).find("[#") == std::string::npos)
                query.reset(RDKit::SmilesToMol(q.text));
            if (!query)
                query.reset(RDKit::SmartsToMol(q.text));
            const std::string canonical = q.exact ? RDKit::MolToSmiles(*query) : "";
            ids.clear();
            for (unsigned p : library.getMatches(*query, parameters, threads))
                if (!q.exact || RDKit::MolToSmiles(*library.getMol(p)) == canonical)
                    ids.push_back(p + 1);
            std::sort(ids.begin(), ids.end());
        };
        // The three take turns, so that a change in the machine's load touches them alike.
        Result r;
        std::vector<uint32_t> memoryIds;
        std::vector<double> oursTimes, memoryTimes, pickleTimes;
        for (int i = 0; i < repeat; ++i) {
            oursTimes.push_back(timed([&] { searchOurs(q, r); }));
            memoryTimes.push_back(timed([&] { searchLibrary(inMemoryLibrary); }));
            memoryIds = ids;
            pickleTimes.push_back(timed([&] { searchLibrary(pickledLibrary); }));
        }
        const double oursMs = median(oursTimes), memoryMs = median(memoryTimes),
                     pickleMs = median(pickleTimes);
        const uint64_t withStructure = r.counts.structures - r.counts.empty;
        const double screened = withStructure ? 100.0 * static_cast<double>(r.counts.screenedOut) /
                                                    static_cast<double>(withStructure)
                                              : 0.0;
        std::printf("%-27s %9.2f %9.2f %6.2f %9.2f %6.2f %8.1f%% %7zu\n", q.name, oursMs, memoryMs,
                    oursMs / memoryMs, pickleMs, oursMs / pickleMs, screened, r.ids.size());
        if (r.ids != memoryIds || r.ids != ids) {
            std::printf("  MISMATCH: ours %zu hits, SubstructLibrary %zu and %zu\n", r.ids.size(),
                        memoryIds.size(), ids.size());
            same = false;
        }
    }
    std::printf("\nratio: ours / SubstructLibrary's time (below 1: ours is faster); memory: MolHolder, "
                "pickle: CachedMolHolder;\nscreened: structures the keys and counts ruled out before any "
                "match. The in-memory library took %.0f ms to build (not counted).\n",
                libraryBuildMs);
    std::printf(
        "peak memory: %.1f MB before searching, %.1f MB after our searches, %.1f MB with the libraries\n",
        peakBefore, peakOurs, peakLibrary);
    return same ? 0 : 1;
}
