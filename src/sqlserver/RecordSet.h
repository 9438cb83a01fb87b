#pragma once

#include <string>
#include <vector>

#include "Value.h"

namespace sqlserver {

// The rows of one query. A forward record set reads rows from the server as it moves; a static
// one is a snapshot taken when it opens, whose columns may be changed row by row and written
// back with UpdateBatch.
class RecordSet {
public:
    virtual ~RecordSet() = default;

    virtual const std::vector<std::string>& ColumnNames() const = 0;
    // No current row: before the first row of an empty result, or after MoveNext from the last.
    virtual bool IsEOF() const = 0;
    virtual void MoveNext() = 0;
    // Column of the current row by position (0-based) or by name (case-insensitive).
    virtual const Value& Field(int index) const = 0;
    virtual const Value& Field(const std::string& name) const = 0;

    // Changes a column of the current row in the snapshot; kept until UpdateBatch. Static
    // record sets opened with an update target only.
    virtual void SetField(const std::string& name, const Value& value) = 0;
    // Writes every changed row to the server (one UPDATE by key per row, in one transaction);
    // returns the number of rows written.
    virtual int UpdateBatch() = 0;
    // Rows of the snapshot (static record sets only; -1 for forward ones).
    virtual long RecordCount() const = 0;

    virtual void Close() = 0;
};

} // namespace sqlserver
