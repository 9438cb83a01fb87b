#pragma once

#include <string>

// The summary shown before the structure index is rebuilt: server, database and index folder,
// three lines joined by lineBreak. The window's summary page and the command line word it alike.
std::string IndexSummaryText(const std::string& ServerName, const std::string& DatabaseName,
                             const std::string& MSTFilePath, const std::string& lineBreak);
