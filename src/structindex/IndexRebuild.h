#pragma once

#include <cstdint>
#include <deque>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "IdentifierWriter.h"
#include "ParseAhead.h"
#include "StructureIndex.h"

class ChemistryLibrary;
class DrawingApplication;
class Molecule;
namespace sqlserver {
class Connection;
}

// The rebuild of a database's structure index, without a window: every row of
// ELN_chemical_structures in primary-key order is read, added to the index, and the identifier
// the index gives it is written back into the row's MOL_ID. The caller drives it in slices.
//
// Rows are read in keyset pages ("WHERE primary_key > last"), a few slices at a time, so memory
// does not grow with the table and no result stays open on the server between slices. The
// structures of the rows read are parsed ahead on a worker thread (ParseAhead); slices still
// take them in primary-key order. Each slice commits the index, then hands its identifiers to
// the IdentifierWriter, whose own connection writes them back while the next slices run. Each slice ends
// by committing the index and then writing the slice's identifiers, so that a row carries an identifier only
// once the index holds its structure, and a stop between slices loses nothing already processed.
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
    // After the last slice: makes sure the index is on the disk and every identifier written.
    void Finish();
    // Waits until the identifiers of the slices done so far are written back; raises LfError.
    void WaitForWrites();

    // The attached drawing application, else the one this rebuild started (kept until released).
    std::shared_ptr<DrawingApplication> GetDrawingApplication();
    void ReleaseDrawingApplication() { m_drawingApplication.reset(); }
    bool holdsDrawingApplication() const { return m_drawingApplication != nullptr; }

    // The structure count of the count query; 0 for an empty table.
    int64_t structureCount() const { return m_count; }
    const std::string& indexFilePath() const { return m_indexFilePath; }
    const std::string& databaseName() const { return m_databaseName; }

    // Rows read per page; a few slices' worth. The next page is read when fewer than half a
    // page of rows is left, so the worker always has structures to parse.
    static constexpr int kPageRows = 100;

private:
    struct Row {
        int64_t key;
        std::future<std::unique_ptr<Molecule>> molecule;
    };
    void readPage();

    ChemistryLibrary& m_library;
    std::string m_databaseName;
    std::string m_indexFilePath;
    StructureIndex m_index;
    std::unique_ptr<sqlserver::Connection> m_connection;
    std::shared_ptr<DrawingApplication> m_drawingApplication;
    std::unique_ptr<IdentifierWriter> m_writer;
    std::unique_ptr<ParseAhead> m_parser; // declared after what its tasks use, so it goes first
    std::deque<Row> m_rows;
    int64_t m_lastKey = 0;
    bool m_anyRead = false;
    bool m_lastPage = false;
    int64_t m_count = 0;
};
