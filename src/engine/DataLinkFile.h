#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace engine {

// An OLE DB data link file (".udl") as clients read it: UTF-16LE with a byte-order mark,
// "[oledb]" CR LF, "; Everything after this line is an OLE DB initstring" CR LF, then the
// connection string with no line break after it.
std::string DataLinkFileBytes(const std::string& connectionString);

// Writes the data link file in full, atomically (see WriteFileAtomically).
void WriteDataLinkFile(const std::filesystem::path& path, const std::string& connectionString,
                       const std::string& source);

// The data link file for a database on a server, with Windows authentication.
void WriteDataLinkFileFor(const std::filesystem::path& path, const std::string& server,
                          const std::string& database, const std::string& source);

// The lines of a data link file as UTF-8, without their line ends. The wizard writes UTF-16LE
// with a byte-order mark; a file without one is read as UTF-8 (text editors save that). Raises
// 0x80040201 "while reading the data link file \"<path>\": <reason>" when it cannot be read.
std::vector<std::string> ReadDataLinkFileLines(const std::filesystem::path& path, const std::string& source);

} // namespace engine
