#pragma once

#include <string>
#include <vector>

// The files the wizard needs beside its program (or, for the SQL tool, on the PATH): one line a
// missing file, naming it and the task that will fail without it. Empty when all are there.
std::vector<std::string> MissingCompanionFiles();
