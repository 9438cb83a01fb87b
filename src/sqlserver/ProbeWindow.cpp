#include "ProbeWindow.h"

#include <algorithm>

namespace sqlserver {

ProbeWindow::ProbeWindow(int first, int last, int width)
    : m_last(last), m_width(std::max(1, width)), m_nextToStart(first), m_nextToDeliver(first)
{
}

std::optional<int> ProbeWindow::nextToStart()
{
    if (!canStart())
        return std::nullopt;
    return m_nextToStart++;
}

void ProbeWindow::finished(int index, bool qualifies)
{
    // The first answer for an index counts.
    if (index >= m_nextToDeliver && index < m_nextToStart)
        m_arrived.emplace(index, qualifies);
}

std::optional<ProbeWindow::Result> ProbeWindow::nextInOrder()
{
    const auto found = m_arrived.find(m_nextToDeliver);
    if (found == m_arrived.end())
        return std::nullopt;
    const Result result{found->first, found->second};
    m_arrived.erase(found);
    ++m_nextToDeliver;
    return result;
}

} // namespace sqlserver
