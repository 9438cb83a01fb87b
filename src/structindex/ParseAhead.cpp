#include "ParseAhead.h"

#include "LfError.h"
#include "Molecule.h"
#include "MoleculeFromCDXML.h"

ParseAhead::ParseAhead(ChemistryLibrary& library) : m_library(library), m_worker([this] { run(); }) {}

ParseAhead::~ParseAhead()
{
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    m_worker.join();
}

std::future<std::unique_ptr<Molecule>> ParseAhead::Submit(std::string cdxml)
{
    std::packaged_task<std::unique_ptr<Molecule>()> task([this, text = std::move(cdxml)] {
        if (m_failed)
            throw LfError(LfError::kObjectError513, "ParseAhead", "not read after an earlier failure");
        try {
            return MoleculeFromCDXML(m_library, text);
        } catch (...) {
            m_failed = true;
            throw;
        }
    });
    auto result = task.get_future();
    {
        std::lock_guard lock(m_mutex);
        m_queue.push_back(std::move(task));
    }
    m_wake.notify_one();
    return result;
}

void ParseAhead::run()
{
    for (;;) {
        std::packaged_task<std::unique_ptr<Molecule>()> task;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
            if (m_stopping)
                return; // what is still queued is dropped: its futures report a broken promise
            task = std::move(m_queue.front());
            m_queue.pop_front();
        }
        task();
    }
}
