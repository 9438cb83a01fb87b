#include "SubstructureSearch.h"

#include "IndexError.h"
#include "IndexSnapshot.h"
#include "StructureQuery.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace {

// Hands out pages in order and passes their matches on in order, whichever thread ends first.
class PageQueue {
public:
    PageQueue(uint64_t pages, uint64_t limit, const std::function<void(uint32_t)>& onHit)
        : m_pages(pages), m_limit(limit), m_onHit(onHit)
    {
    }

    // The next page to search, or none when all are taken or the search is over.
    bool take(uint64_t& page)
    {
        page = m_next.fetch_add(1);
        return page < m_pages && !m_over.load();
    }
    bool over() const { return m_over.load(); }

    void done(uint64_t page, std::vector<uint32_t> hits, const SubstructureSearch::Counts& counts)
    {
        std::lock_guard lock(m_mutex);
        m_waiting.emplace(page, std::move(hits));
        addCounts(counts);
        for (auto it = m_waiting.find(m_delivered); it != m_waiting.end() && !m_over;
             it = m_waiting.find(m_delivered)) {
            for (uint32_t identifier : it->second) {
                m_onHit(identifier);
                if (++m_counts.hits == m_limit) {
                    m_over = true;
                    break;
                }
            }
            m_waiting.erase(it);
            ++m_delivered;
        }
    }

    // The first error stops every thread; it is raised once they are done.
    void failed(std::exception_ptr error)
    {
        std::lock_guard lock(m_mutex);
        if (!m_error)
            m_error = error;
        m_over = true;
    }

    SubstructureSearch::Counts finish()
    {
        if (m_error)
            std::rethrow_exception(m_error);
        return m_counts;
    }

private:
    void addCounts(const SubstructureSearch::Counts& c)
    {
        m_counts.structures += c.structures;
        m_counts.empty += c.empty;
        m_counts.screenedOut += c.screenedOut;
        m_counts.matched += c.matched;
    }

    const uint64_t m_pages;
    const uint64_t m_limit;
    const std::function<void(uint32_t)>& m_onHit;
    std::atomic<uint64_t> m_next{0};
    std::atomic<bool> m_over{false};
    std::mutex m_mutex;
    uint64_t m_delivered = 0;
    std::map<uint64_t, std::vector<uint32_t>> m_waiting;
    SubstructureSearch::Counts m_counts;
    std::exception_ptr m_error;
};

} // namespace

SubstructureSearch::SubstructureSearch(const IndexSnapshot& index, const StructureQuery& query)
    : m_index(index), m_query(query)
{
}

SubstructureSearch::Counts SubstructureSearch::run(const Options& options,
                                                   const std::function<void(uint32_t)>& onHit) const
{
    const uint64_t pages = (m_index.count() + kPageSize - 1) / kPageSize;
    PageQueue queue(pages, options.limit, onHit);

    // A structure the pattern key or the facts (counts, atom types) rule out cannot hold the
    // query; only the others are read. The keys come first; a page they leave nothing of is done
    // without its facts, which a plain substructure query does not read at all.
    const bool facts = m_query.screensWithFacts();
    auto factsAllow = [&](const IndexSnapshot::Page& page, size_t i) {
        if (!m_query.countsAllow(page.heavyAtoms(i), page.bonds(i)))
            return false;
        const uint8_t* types = page.atomTypes(i);
        return types == nullptr || m_query.atomTypesAllow(types);
    };
    auto work = [&] {
        StructureQuery::Matcher matcher(m_query);
        IndexSnapshot::Page page;
        IndexSnapshot::ReadAhead ahead;
        std::vector<size_t> candidates;
        for (uint64_t p = 0; queue.take(p);) {
            try {
                m_index.readEntries(p * kPageSize, kPageSize, page);
                Counts counts;
                counts.structures = page.size();
                candidates.clear();
                for (size_t i = 0; i < page.size(); ++i) {
                    if (page.entries[i].length == 0)
                        ++counts.empty;
                    else
                        candidates.push_back(i);
                }
                auto keep = [&](auto allows) {
                    const size_t before = candidates.size();
                    std::erase_if(candidates, [&](size_t i) { return !allows(i); });
                    counts.screenedOut += before - candidates.size();
                };
                if (!candidates.empty()) {
                    m_index.readKeys(page);
                    keep([&](size_t i) { return page.keyHolds(i, m_query.keyWords()); });
                }
                if (facts && !candidates.empty()) {
                    m_index.readFacts(page);
                    keep([&](size_t i) { return factsAllow(page, i); });
                }
                if (!candidates.empty()) {
                    const auto& last = page.entries[candidates.back()];
                    ahead.until = last.offset + last.length;
                }
                std::vector<uint32_t> hits;
                for (size_t i : candidates) {
                    if (queue.over())
                        break;
                    const auto& entry = page.entries[i];
                    const uint64_t position = page.first + i;
                    const std::string_view molecule = m_index.moleculeAt(position, entry, ahead);
                    ++counts.matched;
                    bool match = false;
                    try {
                        match = matcher.matches(molecule);
                    } catch (const LfError& e) {
                        m_index.damaged(m_index.recordName(position, "molecule", indexlayout::FileKind::Mss) +
                                        " is " + e.description());
                    }
                    if (match)
                        hits.push_back(entry.identifier);
                }
                queue.done(p, std::move(hits), counts);
            } catch (const std::exception&) {
                queue.failed(std::current_exception());
            }
        }
    };

    const uint64_t workers = std::clamp<uint64_t>(options.threads, 1, std::max<uint64_t>(pages, 1));
    std::vector<std::thread> threads;
    for (uint64_t t = 1; t < workers; ++t)
        threads.emplace_back(work);
    work();
    for (auto& t : threads)
        t.join();
    return queue.finish();
}
