#include "StructureStream.h"

#include "Connection.h"
#include "LfError.h"
#include "Molecule.h"
#include "MoleculeFromCDXML.h"

#include <string>
#include <utility>
#include <vector>

StructureStream::StructureStream(ChemistryLibrary& library, std::unique_ptr<sqlserver::Connection> connection)
    : m_library(library), m_connection(std::move(connection)), m_worker([this] { run(); })
{
}

StructureStream::~StructureStream()
{
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_worker.join();
}

bool StructureStream::push(Entry entry)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stopping || m_queue.size() < kQueueRows; });
    if (m_stopping)
        return false;
    m_queue.push_back(std::move(entry));
    m_changed.notify_all();
    return true;
}

void StructureStream::run()
{
    int64_t lastKey = 0;
    bool anyRead = false;
    for (;;) {
        std::vector<std::pair<int64_t, std::string>> page;
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
                std::string text = cdxml.actualSize() >= 1 ? cdxml.toText() : std::string();
                page.emplace_back(rs->Field(2).toInt(), std::move(text));
            }
            rs->Close();
        } catch (const LfError&) {
            push({{}, std::current_exception(), false});
            return;
        }
        for (auto& [key, text] : page) {
            Entry entry;
            entry.row.key = key;
            try {
                entry.row.molecule = MoleculeFromCDXML(m_library, text);
            } catch (const LfError&) {
                entry.error = std::current_exception();
            }
            const bool failed = entry.error != nullptr;
            if (!push(std::move(entry)) || failed)
                return;
        }
        if (static_cast<int>(page.size()) < kPageRows) {
            push({{}, nullptr, true});
            return;
        }
        lastKey = page.back().first;
        anyRead = true;
    }
}

std::optional<StructureStream::Row> StructureStream::Next()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_queue.empty(); });
    Entry& front = m_queue.front();
    if (front.error)
        std::rethrow_exception(front.error); // stays in front: the stream stops here
    if (front.end)
        return std::nullopt;
    Row row = std::move(front.row);
    m_queue.pop_front();
    m_changed.notify_all();
    return row;
}

bool StructureStream::AtEnd()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_queue.empty(); });
    return m_queue.front().end;
}
