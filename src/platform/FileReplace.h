#pragma once

#include <filesystem>
#include <string_view>

namespace sys {

// Replaces the file at target with bytes so that no reader, crash or full disk ever sees a half
// written file: the bytes go to a new file beside the target, reach the disk, and that file is
// renamed over the target. On failure the new file is removed, an existing target is left as it
// was, and std::system_error is thrown with the failing system call's error code.
void ReplaceFileContents(const std::filesystem::path& target, std::string_view bytes);

// The name of a new, not yet existing file in the target's folder that the replacement writes
// first; it starts with "." and ends in ".tmp" so folder listings and cleanups can tell it.
std::filesystem::path TemporaryNameBeside(const std::filesystem::path& target);

} // namespace sys
