#pragma once

#include <string>

namespace engine {

// The summary shown before a migration: where the database comes from, where it goes, the
// service name and the backup file; twelve lines joined by lineBreak, none after the last. The
// window's summary page and the command line word it alike.
std::string MigrationSummaryText(const std::string& SrcServerName, const std::string& SrcDBName,
                                 const std::string& SrcMSTFilePath, const std::string& TargetServerName,
                                 const std::string& TargetDBName, const std::string& TargetMSTFilePath,
                                 const std::string& ServiceName, const std::string& BackupFilePath,
                                 const std::string& lineBreak);

} // namespace engine
