#include "IndexRebuild.h"

#include "ChemistryLibrary.h"
#include "Connection.h"
#include "IndexFileChoice.h"
#include "LfError.h"
#include "Molecule.h"
#include "SQLServerUtils.h"

IndexRebuild::IndexRebuild(ChemistryLibrary& library, int readers) : m_library(library), m_readers(readers) {}

IndexRebuild::~IndexRebuild() = default;

void IndexRebuild::Open(const std::string& serverName, const std::string& databaseName,
                        const std::string& folder)
{
    m_databaseName = databaseName;
    m_indexFilePath = ChooseIndexFile(folder);
    m_index.OpenOrCreate(m_indexFilePath, 0);
    const std::string connectionString =
        SQLServerUtils::BuildTrustedConnectionString(serverName, databaseName);
    auto connection = sqlserver::OpenConnection(connectionString);
    auto count = connection->OpenForward("SELECT COUNT(*) FROM ELN_chemical_structures");
    m_count = count->IsEOF() ? 0 : count->Field(0).toInt();
    count->Close();
    m_writer = std::make_unique<IdentifierWriter>(sqlserver::OpenConnection(connectionString));
    m_rows = std::make_unique<StructureStream>(m_library, std::move(connection), m_readers);
}

bool IndexRebuild::AtEnd(Clock::time_point waitUntil)
{
    return m_rows->AtEnd(waitUntil);
}

int IndexRebuild::ProcessSlice(int maxRows, Clock::time_point waitUntil)
{
    IdentifierWriter::Identifiers done;
    done.reserve(static_cast<size_t>(maxRows));
    auto save = [&] {
        m_index.Commit();
        m_writer->Post(done);
    };
    try {
        while (static_cast<int>(done.size()) < maxRows) {
            std::optional<StructureStream::Row> row = m_rows->Next(waitUntil);
            if (!row)
                break;
            m_index.AddMolecule(row->molecule.get(), 0);
            done.emplace_back(row->key, m_index.LastIdentifier());
        }
    } catch (const LfError&) {
        try {
            save();
        } catch (const LfError&) {
            // The first failure is the one reported.
        }
        throw;
    }
    save();
    return static_cast<int>(done.size());
}

void IndexRebuild::Finish()
{
    m_index.Flush();
    m_writer->Wait();
}

void IndexRebuild::WaitForWrites()
{
    if (m_writer)
        m_writer->Wait();
}

std::shared_ptr<DrawingApplication> IndexRebuild::GetDrawingApplication()
{
    if (auto running = m_library.AttachDrawingApplication())
        return running;
    if (!m_drawingApplication)
        m_drawingApplication = m_library.CreateDrawingApplication();
    return m_drawingApplication;
}
