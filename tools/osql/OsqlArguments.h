#pragma once

#include <optional>
#include <string>
#include <vector>

namespace osql {

// The switches the wizard passes, as osql reads them: a value may follow its switch directly
// ("-SPC1\VELDRIN") or as the next argument ("-S PC1\VELDRIN"); a switch whose value is
// missing (the next argument is another switch) has an empty value ("-P -S..." is an empty
// password).
struct Arguments {
    bool noNumbering = false; // -n
    bool trusted = false;     // -E
    std::string user;         // -U
    std::string password;     // -P
    bool passwordGiven = false;
    std::string server;     // -S ("" is this computer's default instance)
    std::string database;   // -d
    std::string inputFile;  // -i
    std::string outputFile; // -o
    std::string query;      // -Q: one batch given on the command line
};

// The arguments, or an explanation of what is wrong with them.
std::optional<Arguments> parseArguments(const std::vector<std::string>& args, std::string& error);

std::string usage();

} // namespace osql
