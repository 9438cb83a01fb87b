#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "IdentifierWriter.h"
#include "StructureIndex.h"
#include "StructureStream.h"

class ChemistryLibrary;
class DrawingApplication;

// The rebuild of a database's structure index, without a window: every row of
// ELN_chemical_structures in primary-key order is read, added to the index, and the identifier
// the index gives it is written back into the row's MOL_ID. The caller drives it in slices.
//
// Rows arrive parsed from a StructureStream (its own connection, parsed ahead on other threads);
// each slice adds them in key order, commits the index, then hands the slice's identifiers to an
// IdentifierWriter (another connection and thread) that writes them back while the next slices
// run. A row thus carries an identifier only once the index holds its structure, and a stop
// between slices keeps every identifier already handed over.
class IndexRebuild {
public:
    using Clock = StructureStream::Clock;

    // readers: threads that parse structures ahead of the slices; 0 = one per processor core (at most 4).
    explicit IndexRebuild(ChemistryLibrary& library, int readers = 0);
    ~IndexRebuild();
    IndexRebuild(const IndexRebuild&) = delete;
    IndexRebuild& operator=(const IndexRebuild&) = delete;

    // Chooses the index file in folder and opens (or creates) it, connects to the database with
    // Windows authentication, counts the structures and starts reading them. Raises LfError.
    void Open(const std::string& serverName, const std::string& databaseName, const std::string& folder);

    // Processes up to maxRows rows; returns how many. Rows already parsed are always taken; for
    // a row still being parsed it waits no later than waitUntil, so a slice may hold fewer rows,
    // or none, while parsing is behind. Raises LfError (the rows of the slice processed before
    // the failure keep their identifiers).
    int ProcessSlice(int maxRows, Clock::time_point waitUntil = Clock::time_point::max());
    // Whether every row is processed: waits until the next row, or the end, is read, but not
    // past waitUntil (false then).
    bool AtEnd(Clock::time_point waitUntil = Clock::time_point::max());
    // Rows parsed ahead and waiting for a slice.
    size_t RowsReady() const { return m_rows ? m_rows->RowsReady() : 0; }
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

private:
    ChemistryLibrary& m_library;
    int m_readers;
    std::string m_databaseName;
    std::string m_indexFilePath;
    StructureIndex m_index;
    std::shared_ptr<DrawingApplication> m_drawingApplication;
    std::unique_ptr<IdentifierWriter> m_writer;
    std::unique_ptr<StructureStream> m_rows; // goes first: its worker uses the library
    int64_t m_count = 0;
};
