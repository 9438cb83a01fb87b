#pragma once

#include <string>

// Where a structure is written for the chemistry library to read: the user's temporary folder,
// without a trailing separator. On this platform a folder "Temp" in the user's cache folder
// (under "Labfolio"), made when missing: names from MakeUniqueTempFileName land beside it, so
// its parent must be the user's own too.
std::string GetTempFolderPath();

// base + one character (codes 64 to 89, "@" to "Y") + a number of at least six digits + "." +
// extension, drawn again until no such file exists. No separator is put after base, so a
// folder as base gives a file beside the folder whose name begins with the folder's name. The
// drawing uses the runtime's default random generator, never seeded here.
std::string MakeUniqueTempFileName(const std::string& base, const std::string& extension);
