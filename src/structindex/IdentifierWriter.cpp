#include "IdentifierWriter.h"

#include "Connection.h"
#include "LfError.h"

#include <cstddef>
#include <string>

namespace {

// One statement for a batch of rows; the keys are few hundred at most.
std::string updateStatement(const IdentifierWriter::Identifiers& identifiers)
{
    std::string cases, keys;
    for (const auto& [key, id] : identifiers) {
        cases += " WHEN " + std::to_string(key) + " THEN " + std::to_string(id);
        keys += (keys.empty() ? "" : ", ") + std::to_string(key);
    }
    return "UPDATE ELN_chemical_structures SET MOL_ID = CASE primary_key" + cases +
           " END WHERE primary_key IN (" + keys + ")";
}

constexpr size_t kRowsPerUpdate = 500;

} // namespace

IdentifierWriter::IdentifierWriter(std::unique_ptr<sqlserver::Connection> connection)
    : m_connection(std::move(connection)), m_worker([this] { run(); })
{
}

IdentifierWriter::~IdentifierWriter()
{
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_worker.join();
}

void IdentifierWriter::rethrow()
{
    if (m_error)
        std::rethrow_exception(m_error);
}

void IdentifierWriter::Post(const Identifiers& identifiers)
{
    {
        std::lock_guard lock(m_mutex);
        rethrow();
        if (identifiers.empty())
            return; // a slice that found no row ready: nothing to wake the writer for
        m_pending.insert(m_pending.end(), identifiers.begin(), identifiers.end());
    }
    m_changed.notify_all();
}

void IdentifierWriter::Wait()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_error || (m_pending.empty() && !m_busy); });
    rethrow();
}

void IdentifierWriter::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stopping || !m_pending.empty(); });
        if (m_pending.empty() || m_error)
            return; // stopping, and nothing (more) can be written
        const size_t n = std::min(m_pending.size(), kRowsPerUpdate);
        Identifiers batch(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(n));
        m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(n));
        m_busy = true;
        lock.unlock();
        std::exception_ptr error;
        try {
            m_connection->Execute(updateStatement(batch));
        } catch (const LfError&) {
            error = std::current_exception();
        }
        lock.lock();
        m_busy = false;
        if (error)
            m_error = error;
        m_changed.notify_all();
    }
}
