#include "StructureStream.h"

#include "Connection.h"
#include "LfError.h"
#include "Molecule.h"
#include "MoleculeFromCDXML.h"

#include <algorithm>
#include <utility>

namespace {

// Beyond a few readers the ticks, which add at most 10 rows each, are what limits the build.
constexpr unsigned kMostReaders = 4;

} // namespace

StructureStream::StructureStream(ChemistryLibrary& library, std::unique_ptr<sqlserver::Connection> connection,
                                 int readers)
    : m_library(library), m_connection(std::move(connection))
{
    const unsigned count = readers > 0 ? static_cast<unsigned>(readers)
                                       : std::clamp(std::thread::hardware_concurrency(), 1u, kMostReaders);
    m_fetcher = std::thread([this] { fetch(); });
    for (unsigned i = 0; i < count; ++i)
        m_readers.emplace_back([this] { parse(); });
}

StructureStream::~StructureStream()
{
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_roomChanged.notify_all();
    m_workChanged.notify_all();
    m_fetcher.join();
    for (auto& reader : m_readers)
        reader.join();
}

bool StructureStream::append(Slot slot)
{
    std::unique_lock lock(m_mutex);
    m_roomChanged.wait(lock, [this] { return m_stopping || m_failed || m_slots.size() < kWindowRows; });
    if (m_stopping || m_failed)
        return false;
    m_slots.push_back(std::move(slot));
    if (m_slots.back().state == State::Done) // the end, or a failed page
        m_frontChanged.notify_one();
    else
        m_workChanged.notify_one();
    return true;
}

void StructureStream::fetch()
{
    int64_t lastKey = 0;
    bool anyRead = false;
    for (;;) {
        std::vector<Slot> page;
        try {
            std::string sql = "SELECT TOP " + std::to_string(kPageRows) +
                              " CDXML, MOL_ID, primary_key FROM ELN_chemical_structures ";
            if (anyRead)
                sql += "WHERE primary_key > " + std::to_string(lastKey) + " ";
            sql += "ORDER by primary_key";
            auto rs = m_connection->OpenForward(sql);
            for (; !rs->IsEOF(); rs->MoveNext()) {
                // A null or empty column is an empty structure.
                const auto& cdxml = rs->Field(0);
                Slot slot;
                slot.key = rs->Field(2).toInt();
                if (cdxml.actualSize() >= 1)
                    slot.cdxml = cdxml.toText();
                page.push_back(std::move(slot));
            }
            rs->Close();
        } catch (const LfError&) {
            Slot failure;
            failure.state = State::Done;
            failure.error = std::current_exception();
            append(std::move(failure));
            return;
        }
        const bool last = static_cast<int>(page.size()) < kPageRows;
        if (!page.empty())
            lastKey = page.back().key;
        for (auto& slot : page)
            if (!append(std::move(slot)))
                return;
        if (last) {
            Slot end;
            end.state = State::Done;
            end.end = true;
            append(std::move(end));
            return;
        }
        anyRead = true;
    }
}

StructureStream::Slot* StructureStream::nextToParse()
{
    if (m_failed || m_handedOut >= m_slots.size() || (!m_libraryWorks && m_parsing > 0))
        return nullptr;
    Slot& slot = m_slots[m_handedOut];
    return slot.state == State::Waiting ? &slot : nullptr;
}

void StructureStream::parse()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        Slot* slot = nullptr;
        m_workChanged.wait(lock, [&] { return m_stopping || (slot = nextToParse()) != nullptr; });
        if (m_stopping)
            return;
        // Slots stay where they are while parsed: only parsed slots leave the deque, from its
        // front, and appending does not move the others.
        slot->state = State::Parsing;
        ++m_handedOut;
        ++m_parsing;
        const std::string text = std::move(slot->cdxml);
        lock.unlock();
        std::unique_ptr<Molecule> molecule;
        std::exception_ptr error;
        try {
            molecule = MoleculeFromCDXML(m_library, text);
        } catch (...) {
            error = std::current_exception();
        }
        lock.lock();
        --m_parsing;
        slot->molecule = std::move(molecule);
        slot->error = error;
        slot->state = State::Done;
        if (slot == &m_slots.front())
            m_frontChanged.notify_one();
        if (error) {
            m_failed = true;
            m_roomChanged.notify_all();
        } else if (!text.empty() && !m_libraryWorks) {
            m_libraryWorks = true;
            m_workChanged.notify_all();
        }
    }
}

bool StructureStream::waitForFront(std::unique_lock<std::mutex>& lock, Clock::time_point waitUntil)
{
    auto parsed = [this] { return !m_slots.empty() && m_slots.front().state == State::Done; };
    if (waitUntil == Clock::time_point::max()) {
        m_frontChanged.wait(lock, parsed);
        return true;
    }
    return m_frontChanged.wait_until(lock, waitUntil, parsed);
}

std::optional<StructureStream::Row> StructureStream::Next(Clock::time_point waitUntil)
{
    std::unique_lock lock(m_mutex);
    if (!waitForFront(lock, waitUntil))
        return std::nullopt;
    Slot& front = m_slots.front();
    if (front.error)
        std::rethrow_exception(front.error); // stays in front: the stream stops here
    if (front.end)
        return std::nullopt;
    Row row{front.key, std::move(front.molecule)};
    m_slots.pop_front();
    --m_handedOut;
    m_roomChanged.notify_one();
    return row;
}

bool StructureStream::AtEnd(Clock::time_point waitUntil)
{
    std::unique_lock lock(m_mutex);
    return waitForFront(lock, waitUntil) && m_slots.front().end;
}

size_t StructureStream::RowsReady()
{
    std::lock_guard lock(m_mutex);
    size_t n = 0;
    for (const Slot& slot : m_slots) {
        if (slot.state != State::Done || slot.end || slot.error)
            break;
        ++n;
    }
    return n;
}
