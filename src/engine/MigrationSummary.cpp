#include "MigrationSummary.h"

#include <iterator>

namespace engine {

std::string MigrationSummaryText(const std::string& SrcServerName, const std::string& SrcDBName,
                                 const std::string& SrcMSTFilePath, const std::string& TargetServerName,
                                 const std::string& TargetDBName, const std::string& TargetMSTFilePath,
                                 const std::string& ServiceName, const std::string& BackupFilePath,
                                 const std::string& lineBreak)
{
    // Values are shown as received: an empty one leaves its label alone, trailing blank kept.
    const std::string lines[] = {
        "Migrating from:",
        "  Server: " + SrcServerName,
        "  Database: " + SrcDBName,
        "  Chemical Structure Index File: " + SrcMSTFilePath,
        "",
        "Migrating to:",
        "  Server: " + TargetServerName,
        "  Database: " + TargetDBName,
        "  Chemical Structure Index File: " + TargetMSTFilePath,
        "",
        "Service Name: " + ServiceName,
        "Database Backup File: " + BackupFilePath,
    };
    std::string text = lines[0];
    for (size_t i = 1; i < std::size(lines); ++i)
        text += lineBreak + lines[i];
    return text;
}

} // namespace engine
