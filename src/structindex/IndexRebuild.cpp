#include "IndexRebuild.h"

#include "ChemistryLibrary.h"
#include "Connection.h"
#include "IndexFileChoice.h"
#include "LfError.h"
#include "Molecule.h"
#include "SQLServerUtils.h"

IndexRebuild::IndexRebuild(ChemistryLibrary& library) : m_library(library) {}

IndexRebuild::~IndexRebuild() = default;

void IndexRebuild::Open(const std::string& serverName, const std::string& databaseName,
                        const std::string& folder)
{
    m_databaseName = databaseName;
    m_indexFilePath = ChooseIndexFile(folder);
    m_index.OpenOrCreate(m_indexFilePath, 0);
    const std::string connectionString =
        SQLServerUtils::BuildTrustedConnectionString(serverName, databaseName);
    m_connection = sqlserver::OpenConnection(connectionString);
    m_writer = std::make_unique<IdentifierWriter>(sqlserver::OpenConnection(connectionString));
    auto count = m_connection->OpenForward("SELECT COUNT(*) FROM ELN_chemical_structures");
    m_count = count->IsEOF() ? 0 : count->Field(0).toInt();
    count->Close();
    m_parser = std::make_unique<ParseAhead>(m_library);
    readPage();
}

void IndexRebuild::readPage()
{
    std::string sql = "SELECT TOP " + std::to_string(kPageRows) +
                      " CDXML, MOL_ID, primary_key FROM ELN_chemical_structures ";
    if (m_anyRead)
        sql += "WHERE primary_key > " + std::to_string(m_lastKey) + " ";
    sql += "ORDER by primary_key";
    auto rs = m_connection->OpenForward(sql);
    int n = 0;
    for (; !rs->IsEOF(); rs->MoveNext(), ++n) {
        // A null or empty column is an empty structure.
        const auto& field = rs->Field(0);
        m_rows.push_back({rs->Field(2).toInt(),
                          m_parser->Submit(field.actualSize() >= 1 ? field.toText() : std::string())});
    }
    rs->Close();
    if (n > 0) {
        m_lastKey = m_rows.back().key;
        m_anyRead = true;
    }
    m_lastPage = n < kPageRows;
}

bool IndexRebuild::AtEnd() const
{
    return m_rows.empty() && m_lastPage;
}

int IndexRebuild::ProcessSlice(int maxRows)
{
    IdentifierWriter::Identifiers done;
    done.reserve(static_cast<size_t>(maxRows));
    auto save = [&] {
        m_index.Commit();
        m_writer->Post(done);
    };
    try {
        while (static_cast<int>(done.size()) < maxRows) {
            if (m_rows.size() < kPageRows / 2 && !m_lastPage)
                readPage();
            if (m_rows.empty())
                break;
            Row& row = m_rows.front();
            std::unique_ptr<Molecule> molecule = row.molecule.get();
            m_index.AddMolecule(molecule.get(), 0);
            done.emplace_back(row.key, m_index.LastIdentifier());
            m_rows.pop_front();
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
