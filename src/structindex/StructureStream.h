#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

class ChemistryLibrary;
class Molecule;
namespace sqlserver {
class Connection;
}

// The stored structures of ELN_chemical_structures in primary-key order, read from the server
// on a thread of its own and parsed ahead by a few reader threads, so that the toolkit works on
// the machine's other cores while the user-interface thread adds the results to the index.
// Rows leave in key order whichever reader finished them first. Rows are fetched in keyset
// pages ("WHERE primary_key > last"), so no result stays open on the server and memory holds a
// page and a window of rows whatever the table's size. After the first row that raises (a
// failed page, error 429 for a structure), nothing more is read: the rebuild stops at that row,
// and only that structure's temporary file stays behind.
class StructureStream {
public:
    using Clock = std::chrono::steady_clock;

    struct Row {
        int64_t key = 0;
        std::unique_ptr<Molecule> molecule; // none for an empty structure
    };

    static constexpr int kPageRows = 100;
    // Rows fetched and not yet taken, parsed or not.
    static constexpr size_t kWindowRows = 100;

    // readers: threads that parse structures; 0 = one per processor core (at most 4).
    StructureStream(ChemistryLibrary& library, std::unique_ptr<sqlserver::Connection> connection,
                    int readers = 0);
    ~StructureStream(); // waits for the rows being parsed, drops the rest
    StructureStream(const StructureStream&) = delete;
    StructureStream& operator=(const StructureStream&) = delete;

    // The next row once it is parsed, waiting for it until waitUntil; none after the last row,
    // or when the row is not parsed by then. Raises the error reading it raised.
    std::optional<Row> Next(Clock::time_point waitUntil = Clock::time_point::max());
    // Whether the rows are all taken: waits until the next row, or the end, is known, but not
    // past waitUntil (false then).
    bool AtEnd(Clock::time_point waitUntil = Clock::time_point::max());
    // Rows parsed and waiting to be taken, in order from the next one.
    size_t RowsReady();

private:
    enum class State { Waiting, Parsing, Done };
    struct Slot {
        int64_t key = 0;
        std::string cdxml;
        State state = State::Waiting;
        std::unique_ptr<Molecule> molecule;
        std::exception_ptr error;
        bool end = false; // no row: the rows are all read
    };
    void fetch();
    void parse();
    bool append(Slot slot); // false when stopping or failed
    // Waits, with the lock held, until the front slot is parsed or waitUntil passes.
    bool waitForFront(std::unique_lock<std::mutex>& lock, Clock::time_point waitUntil);
    Slot* nextToParse(); // with the lock held

    ChemistryLibrary& m_library;
    std::unique_ptr<sqlserver::Connection> m_connection;
    std::mutex m_mutex;
    // Each waits for its own: the fetcher for room in the window, the readers for a row to
    // parse, the taker for the front row to be parsed. Waking only those halves the switches.
    std::condition_variable m_roomChanged;
    std::condition_variable m_workChanged;
    std::condition_variable m_frontChanged;
    std::deque<Slot> m_slots; // in key order; slots before m_handedOut are parsing or done
    size_t m_handedOut = 0;   // slots of m_slots given to a reader
    int m_parsing = 0;
    // Until one structure was read, one reader at a time: a library that is missing fails
    // every structure, and only the first may leave its temporary file behind.
    bool m_libraryWorks = false;
    bool m_failed = false;
    bool m_stopping = false;
    std::thread m_fetcher;
    std::vector<std::thread> m_readers;
};
