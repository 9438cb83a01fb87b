#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

class ChemistryLibrary;
class Molecule;
namespace sqlserver {
class Connection;
}

// The stored structures of ELN_chemical_structures in primary-key order, read from the server
// and parsed on a thread of its own, so that the toolkit works on the machine's other core
// while the user-interface thread adds the results to the index. Rows are fetched in keyset
// pages ("WHERE primary_key > last"), so no result stays open on the server and memory holds a
// page and a queue of parsed rows whatever the table's size. After the first row that raises
// (a failed page, error 429 for a structure), nothing more is read: the rebuild stops at that
// row, and only that structure's temporary file stays behind.
class StructureStream {
public:
    struct Row {
        int64_t key = 0;
        std::unique_ptr<Molecule> molecule; // none for an empty structure
    };

    static constexpr int kPageRows = 100;
    static constexpr size_t kQueueRows = 100;

    StructureStream(ChemistryLibrary& library, std::unique_ptr<sqlserver::Connection> connection);
    ~StructureStream(); // waits for the row being read, drops the rest
    StructureStream(const StructureStream&) = delete;
    StructureStream& operator=(const StructureStream&) = delete;

    // The next row, waiting for it; none after the last. Raises the error reading it raised.
    std::optional<Row> Next();
    // Whether the rows are all taken (waits until the next row, or the end, is known).
    bool AtEnd();

private:
    struct Entry {
        Row row;
        std::exception_ptr error;
        bool end = false;
    };
    void run();
    bool push(Entry entry); // false when stopping

    ChemistryLibrary& m_library;
    std::unique_ptr<sqlserver::Connection> m_connection;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Entry> m_queue;
    bool m_stopping = false;
    std::thread m_worker;
};
