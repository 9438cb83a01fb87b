#include "EngineSession.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <regex>
#include <thread>

// Transaction savepoints and WAITFOR: statements that steer the session rather than touch data.

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

void EngineSession::waitFor(const std::string& delay, ResultSink& sink)
{
    static const std::regex form(R"(^\s*(\d{1,2}):(\d{1,2})(?::(\d{1,2})(?:\.(\d{1,3}))?)?\s*$)");
    std::smatch m;
    if (!std::regex_match(delay, m, form) || std::stoi(m[1]) > 23 || std::stoi(m[2]) > 59 ||
        (m[3].matched && std::stoi(m[3]) > 59))
        throw SqlError(148, 15, "Incorrect time syntax in time string '" + delay + "' used with WAITFOR.");
    std::string fraction = m[4].matched ? m[4].str() : "0";
    fraction.resize(3, '0');
    const auto length = std::chrono::hours(std::stoi(m[1])) + std::chrono::minutes(std::stoi(m[2])) +
                        std::chrono::seconds(m[3].matched ? std::stoi(m[3]) : 0) +
                        std::chrono::milliseconds(std::stoi(fraction));
    // Polled in short steps so that an attention (the client's cancel) ends the wait promptly.
    const auto deadline = std::chrono::steady_clock::now() + length;
    for (auto now = std::chrono::steady_clock::now(); now < deadline && !sink.cancelRequested();
         now = std::chrono::steady_clock::now())
        std::this_thread::sleep_for(
            std::min<std::chrono::steady_clock::duration>(deadline - now, std::chrono::milliseconds(20)));
}

} // namespace standin
