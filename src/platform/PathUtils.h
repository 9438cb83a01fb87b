#pragma once

#include <string>

namespace paths {

// Joins a folder and a name with exactly one separator between them: a folder that already
// ends in '\\' or '/' gets none added, otherwise the platform's own separator is inserted.
// An empty folder gives the name alone.
std::string Join(const std::string& folder, const std::string& name);

// The platform's path separator.
char Separator();

}  // namespace paths
