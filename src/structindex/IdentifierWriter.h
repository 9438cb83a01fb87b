#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace sqlserver {
class Connection;
}

// Writes the MOL_IDs the index gave to rows back into ELN_chemical_structures on a connection
// and thread of its own, so that a slice does not wait for the server's commit. What is posted
// while an update runs goes out together in the next one.
class IdentifierWriter {
public:
    using Identifiers = std::vector<std::pair<int64_t, int32_t>>; // primary_key, MOL_ID

    explicit IdentifierWriter(std::unique_ptr<sqlserver::Connection> connection);
    ~IdentifierWriter(); // writes what is posted, then ends; a failure then is dropped
    IdentifierWriter(const IdentifierWriter&) = delete;
    IdentifierWriter& operator=(const IdentifierWriter&) = delete;

    // Queues identifiers; raises the error of an earlier update, if one failed.
    void Post(const Identifiers& identifiers);
    // Waits until everything posted is written; raises the error of a failed update.
    void Wait();

private:
    void run();
    void rethrow(); // with m_mutex held

    std::unique_ptr<sqlserver::Connection> m_connection;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Identifiers m_pending;
    bool m_busy = false;
    bool m_stopping = false;
    std::exception_ptr m_error;
    std::thread m_worker;
};
