#include "EngineSession.h"

#include <algorithm>
#include <cctype>

// Transaction savepoints: statements that steer the session rather than touch data.

namespace standin {
namespace {

std::string upper(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

// SQLite's name for the savepoint at this depth: T-SQL names may hold anything a bracket allows.
std::string savepointName(size_t depth)
{
    return "lf_savepoint_" + std::to_string(depth);
}

} // namespace

void EngineSession::saveTransaction(const std::string& name)
{
    if (!m_inTransaction)
        throw SqlError(628, 16, "Cannot issue SAVE TRANSACTION when there is no active transaction.");
    m_db.exec("SAVEPOINT " + savepointName(m_savepoints.size()));
    m_savepoints.push_back(upper(name));
}

void EngineSession::rollbackTransaction(const std::string& name)
{
    const auto named = std::find(m_savepoints.rbegin(), m_savepoints.rend(), upper(name));
    if (!name.empty() && named != m_savepoints.rend()) {
        // Back to the savepoint; the transaction stays open and the savepoint can be used again.
        const size_t depth = static_cast<size_t>(m_savepoints.rend() - named) - 1;
        m_db.exec("ROLLBACK TO " + savepointName(depth));
        m_savepoints.resize(depth + 1);
        return;
    }
    m_db.exec("ROLLBACK");
    m_inTransaction = false;
    m_savepoints.clear();
}

} // namespace standin
