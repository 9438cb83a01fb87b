#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "StructureIndex.h"

class ChemistryLibrary;
class DrawingApplication;
namespace sqlserver {
class Connection;
}

// The rebuild of a database's structure index, without a window: every row of
// ELN_chemical_structures in primary-key order is read, added to the index, and the identifier
// the index gives it is written back into the row's MOL_ID. The caller drives it in slices.
//
// Rows are read in keyset pages ("WHERE primary_key > last"), a few slices at a time, so memory
// does not grow with the table and no result stays open on the connection between slices; the
// connection is then free for the slice's MOL_ID update. Each slice ends by committing the index
// and then writing the slice's identifiers, so that a row carries an identifier only once the
// index holds its structure, and a stop between slices loses nothing already processed.
class IndexRebuild {
public:
    explicit IndexRebuild(ChemistryLibrary& library);
    ~IndexRebuild();
    IndexRebuild(const IndexRebuild&) = delete;
    IndexRebuild& operator=(const IndexRebuild&) = delete;

    // Chooses the index file in folder and opens (or creates) it, connects to the database with
    // Windows authentication, counts the structures and reads the first rows. Raises LfError.
    void Open(const std::string& serverName, const std::string& databaseName, const std::string& folder);

    // Processes up to maxRows rows; returns how many. Raises LfError (the rows of the slice
    // processed before the failure keep their identifiers).
    int ProcessSlice(int maxRows);
    bool AtEnd() const;
    // After the last slice: makes sure the index is on the disk.
    void Finish();

    // The attached drawing application, else the one this rebuild started (kept until released).
    std::shared_ptr<DrawingApplication> GetDrawingApplication();
    void ReleaseDrawingApplication() { m_drawingApplication.reset(); }
    bool holdsDrawingApplication() const { return m_drawingApplication != nullptr; }

    // The structure count of the count query; 0 for an empty table.
    int64_t structureCount() const { return m_count; }
    const std::string& indexFilePath() const { return m_indexFilePath; }
    const std::string& databaseName() const { return m_databaseName; }
    const StructureIndex& index() const { return m_index; }

    // Rows read per page; a few slices' worth.
    static constexpr int kPageRows = 100;

private:
    struct Row {
        int64_t key;
        std::string cdxml;
    };
    void readPage();
    void writeBack(const std::vector<std::pair<int64_t, int32_t>>& identifiers);

    ChemistryLibrary& m_library;
    std::string m_databaseName;
    std::string m_indexFilePath;
    StructureIndex m_index;
    std::unique_ptr<sqlserver::Connection> m_connection;
    std::shared_ptr<DrawingApplication> m_drawingApplication;
    std::deque<Row> m_rows;
    int64_t m_lastKey = 0;
    bool m_anyRead = false;
    bool m_lastPage = false;
    int64_t m_count = 0;
};
