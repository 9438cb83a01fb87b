#pragma once

#include <string>

namespace ShellFolders {

// The machine-wide application-data folder of this Labfolio version: the "Common AppData"
// shell folder joined with "Labfolio <major>.<minor>". Not created here. Raises 0x80040000
// when the Shell Folders key cannot be opened.
std::string GetCommonAppDataFolder();

// "Labfolio " + major + "." + minor, in plain decimal.
std::string ProductSubFolder(int major, int minor);

}  // namespace ShellFolders
