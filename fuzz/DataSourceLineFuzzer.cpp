// The server named by a data link file's lines (one line per NUL-separated piece of the input):
// the text after the last "Data Source=", up to ";", with no trailing blanks.

#include "FuzzInput.h"
#include "OfflineRemoval.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto lines = fuzzinput::fields(data, size);
    const std::string server = engine::OfflineRemoval::ServerFromDataLinkLines(lines);
    if (server.empty())
        return 0;
    if (server.find(';') != std::string::npos || std::isspace(static_cast<unsigned char>(server.back())))
        std::abort();
    if (std::none_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return line.find(server) != std::string::npos; }))
        std::abort(); // a server no line names
    return 0;
}
