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

// The median time of repeat runs of f.
template <class F> double median(int repeat, F f)
{
    std::vector<double> times;
    for (int i = 0; i < repeat; ++i) {
        auto t0 = Clock::now();
        f();
        times.push_back(ms(Clock::now() - t0));
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
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

    // Ours: open the index and search, as each run of labfolio-mst does.
    struct Result {
        double ms;
        std::vector<uint32_t> ids;
        SubstructureSearch::Counts counts;
    };
    std::vector<Result> ours;
    const double peakBefore = peakMb();
    for (const Query& q : kQueries) {
        Result r{};
        r.ms = median(repeat, [&] {
            IndexSnapshot index(mst);
            StructureQuery query(q.text, q.exact);
            r.ids.clear();
            SubstructureSearch::Options options;
            options.threads = static_cast<unsigned>(threads);
            r.counts =
                SubstructureSearch(index, query).run(options, [&](uint32_t id) { r.ids.push_back(id); });
        });
        ours.push_back(std::move(r));
    }
    const double peakOurs = peakMb();

    // RDKit's SubstructLibrary over the same molecules (identifiers are positions + 1).
    auto molecules = boost::make_shared<RDKit::MolHolder>();
    auto keys = boost::make_shared<RDKit::PatternHolder>(MoleculeRecord::kFingerprintBits);
    auto t0 = Clock::now();
    for (size_t i = 0; i < count; ++i) {
        const MoleculeRecord& r = unique[i % unique.size()];
        RDKit::ROMol m;
        if (!r.empty())
            RDKit::MolPickler::molFromPickle(r.binary, m);
        molecules->addMol(m);
        keys->addMol(m);
    }
    RDKit::SubstructLibrary library(molecules, keys);
    const double libraryBuildMs = ms(Clock::now() - t0);
    const double peakLibrary = peakMb();

    std::printf("%-28s %10s %10s %8s %12s %8s\n", "query", "ours ms", "RDKit ms", "ratio", "screened out",
                "hits");
    bool same = true;
    for (size_t qi = 0; qi < std::size(kQueries); ++qi) {
        const Query& q = kQueries[qi];
        std::unique_ptr<RDKit::RWMol> query(RDKit::SmilesToMol(q.text));
        if (!query)
            query.reset(RDKit::SmartsToMol(q.text));
        RDKit::SubstructMatchParameters parameters; // as ours: no stereochemistry
        std::vector<uint32_t> ids;
        const double theirs = median(repeat, [&] {
            ids.clear();
            const auto positions = library.getMatches(*query, parameters, threads);
            const std::string canonical = q.exact ? RDKit::MolToSmiles(*query) : "";
            for (unsigned p : positions)
                if (!q.exact || RDKit::MolToSmiles(*library.getMol(p)) == canonical)
                    ids.push_back(p + 1);
            std::sort(ids.begin(), ids.end());
        });
        const Result& r = ours[qi];
        const uint64_t withStructure = r.counts.structures - r.counts.empty;
        const double screened = withStructure ? 100.0 * static_cast<double>(r.counts.screenedOut) /
                                                    static_cast<double>(withStructure)
                                              : 0.0;
        std::printf("%-28s %10.2f %10.2f %8.2f %11.1f%% %8zu\n", q.name, r.ms, theirs, r.ms / theirs,
                    screened, r.ids.size());
        if (r.ids != ids) {
            std::printf("  MISMATCH: ours %zu hits, SubstructLibrary %zu\n", r.ids.size(), ids.size());
            same = false;
        }
    }
    std::printf("\nSubstructLibrary built in %.0f ms (not counted above)\n", libraryBuildMs);
    std::printf(
        "peak memory: %.1f MB before searching, %.1f MB after our searches, %.1f MB with the library\n",
        peakBefore, peakOurs, peakLibrary);
    return same ? 0 : 1;
}
