#pragma once

#include <memory>
#include <string>
#include <vector>

#include "OdbcConnection.h"

namespace sqlserver {

// The record sets of an ODBC connection. A forward record set holds the connection's statement
// and reads one row a fetch; a static one is a snapshot of rows, changed in memory and written
// back by key into the update target.
std::unique_ptr<RecordSet> OpenForwardRecordSet(OdbcConnection& c, const std::string& sql);
std::unique_ptr<RecordSet> MakeStaticRecordSet(OdbcConnection& c, std::vector<std::string> names,
                                               std::vector<std::vector<Value>> rows, UpdateTarget target);

} // namespace sqlserver
