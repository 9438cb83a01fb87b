#include "IndexSummary.h"

std::string IndexSummaryText(const std::string& ServerName, const std::string& DatabaseName,
                             const std::string& MSTFilePath, const std::string& lineBreak)
{
    return "Server: " + ServerName + lineBreak + "Database: " + DatabaseName + lineBreak +
           "MST File Location: " + MSTFilePath;
}
