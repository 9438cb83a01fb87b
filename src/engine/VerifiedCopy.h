#pragma once

#include <filesystem>
#include <string>

namespace engine {

class StopFlag;

// Copies a file so that no half-written copy can ever stand at the target: the bytes go to a
// temporary file in the target's folder, the copy is checked (sizes, and the SHA-256 of the
// source as read against the SHA-256 of the copy as read back while it is written) and flushed
// to disk, and only then renamed over the target. On any failure, or when stop is requested, the
// temporary file is removed, an existing target keeps its old contents, and
// LfError(0x80040201, errorSource, "while copying the file \"S\" to \"T\": <reason>") is raised.
void CopyFileVerified(const std::filesystem::path& source, const std::filesystem::path& target,
                      const StopFlag* stop, const std::string& errorSource);

} // namespace engine
