#pragma once

#include <condition_variable>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

class ChemistryLibrary;
class Molecule;

// Reads stored structures (MoleculeFromCDXML) on a thread of its own, in the order they are
// handed in, so that the toolkit's parsing runs on the machine's other core while the
// user-interface thread adds the results to the index and writes identifiers back. After the
// first structure that raises, nothing more is read: the rebuild stops at that row, and no
// later row leaves a temporary file behind.
class ParseAhead {
public:
    explicit ParseAhead(ChemistryLibrary& library);
    ~ParseAhead(); // waits for the structure being read, drops the rest
    ParseAhead(const ParseAhead&) = delete;
    ParseAhead& operator=(const ParseAhead&) = delete;

    // The molecule (or none) of cdxml, or the error reading it raised, once it is read.
    std::future<std::unique_ptr<Molecule>> Submit(std::string cdxml);

private:
    void run();

    ChemistryLibrary& m_library;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::packaged_task<std::unique_ptr<Molecule>()>> m_queue;
    bool m_stopping = false;
    bool m_failed = false; // touched by the worker only
    std::thread m_worker;
};
