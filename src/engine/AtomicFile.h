#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace engine {

// Writes a file the wizard owns (service list, service file, server configuration, data link)
// so that it is either the old file or the complete new one: the bytes go to a temporary file
// in the same folder, reach the disk and are renamed over the target. On failure the temporary
// file is gone, an existing target is unchanged, and LfError 0x80040201 is raised with the given
// source and "while writing the file \"<target>\": <reason>".
void WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes,
                         const std::string& source);

} // namespace engine
