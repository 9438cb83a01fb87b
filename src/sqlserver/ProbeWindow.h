#pragma once

#include <map>
#include <optional>

namespace sqlserver {

// The order of a probing scan that probes several servers at once. Probes start in index
// order, at most `width` of them ahead of the first result not yet handed on, and their
// results are handed on strictly in index order, whatever order the answers come in. So the
// list fills exactly as a scan of one probe at a time fills it, only sooner: a silent server
// costs its login time-out once, side by side with the others, instead of one after another.
class ProbeWindow {
public:
    struct Result {
        int index;
        bool qualifies;
    };

    // Indices first..last inclusive.
    ProbeWindow(int first, int last, int width);

    // The next index to probe, or nothing while the window is full or every index has started.
    std::optional<int> nextToStart();
    // nextToStart would give an index.
    bool canStart() const { return m_nextToStart <= m_last && outstanding() < m_width; }
    // The outcome of the probe of index (an index that was started).
    void finished(int index, bool qualifies);
    // The next result in index order, once it is in.
    std::optional<Result> nextInOrder();

    // The index whose result is handed on next (last + 1 when all are).
    int nextToDeliver() const { return m_nextToDeliver; }
    // Started and not yet handed on.
    int outstanding() const { return m_nextToStart - m_nextToDeliver; }
    bool done() const { return m_nextToDeliver > m_last; }

private:
    int m_last;
    int m_width;
    int m_nextToStart;
    int m_nextToDeliver;
    std::map<int, bool> m_arrived; // results that wait for an earlier index
};

} // namespace sqlserver
