#pragma once

#include <filesystem>
#include <string>

// The index file a rebuild writes in a folder: "Labfolio.mst" when the folder holds it, else
// the first file (in the order the file system lists them) whose type description reads
// "MST File" in any letter case, else "Labfolio.mst" all the same.
std::string ChooseIndexFile(const std::string& folder);

// The shell's description of a file's type. This platform has no registry of file types, so
// every extension is described as Windows describes one it does not know: the extension in
// capitals followed by " File" ("x.mst" reads "MST File"); a name without one reads "File".
std::string FileTypeDescription(const std::filesystem::path& file);

inline constexpr const char* kDefaultIndexFileName = "Labfolio.mst";
