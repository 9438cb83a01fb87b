#pragma once

#include "Catalog.h"

#include <cstdint>
#include <string>
#include <vector>

namespace standin {

// The stand-in's backup media format. One backup set per file:
//   "LFBAK001"                      magic
//   u32 little-endian H, H bytes    header: UTF-8 "key=value" lines (backslash escapes)
//   u64 little-endian P, P bytes    the data file's SQLite image
//   32 bytes                        SHA-256 of everything before it
// The header names the backup set, the database and its files (logical and physical names,
// types, sizes), so that RESTORE FILELISTONLY / HEADERONLY need read only the start.
struct BackupFileEntry {
    FileRecord file;
    uint64_t sizeBytes = 0;
};

struct BackupHeader {
    std::string backupName;
    std::string description;
    std::string databaseName;
    std::string serverName;
    std::string machineName;
    std::string userName;
    std::string databaseCreationDate;
    std::string startDate;
    std::string finishDate;
    std::string productVersion;
    std::vector<BackupFileEntry> files;
};

inline constexpr char kBackupMagic[8] = {'L', 'F', 'B', 'A', 'K', '0', '0', '1'};

std::string encodeHeader(const BackupHeader& header);
// Throws std::runtime_error when the text is not a header of this format.
BackupHeader decodeHeader(const std::string& text);

// Reads the header only. Throws std::runtime_error for a file that is not a backup of this
// format; std::system_error when the file cannot be opened.
BackupHeader readBackupHeader(const std::string& path);

// Reads and checks the whole backup; returns the header and the data image. Throws
// std::runtime_error when the checksum or the layout is wrong.
BackupHeader readBackup(const std::string& path, std::vector<uint8_t>& data);

} // namespace standin
