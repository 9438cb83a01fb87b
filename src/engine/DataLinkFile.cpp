#include "DataLinkFile.h"

#include "AtomicFile.h"
#include "LfError.h"
#include "SQLServerUtils.h"
#include "TextEncoding.h"

#include <cerrno>
#include <cstring>
#include <cstdio>
#include <sstream>

namespace engine {
namespace {

std::string readWholeFile(const std::filesystem::path& path, const std::string& source)
{
    std::string bytes;
    std::FILE* file = std::fopen(path.string().c_str(), "rb");
    int error = file ? 0 : errno;
    if (file) {
        char chunk[4096];
        size_t n;
        while ((n = std::fread(chunk, 1, sizeof chunk, file)) > 0)
            bytes.append(chunk, n);
        // A folder opens on some systems and fails only when read.
        if (std::ferror(file))
            error = errno ? errno : EIO;
        std::fclose(file);
    }
    if (error)
        throw LfError(LfError::kObjectError513, source,
                      "while reading the data link file \"" + path.string() + "\": " + std::strerror(error));
    return bytes;
}

} // namespace

std::string DataLinkFileBytes(const std::string& connectionString)
{
    return "\xFF\xFE" +
           text::Utf8ToUtf16le("[oledb]\r\n; Everything after this line is an OLE DB initstring\r\n" +
                               connectionString);
}

void WriteDataLinkFile(const std::filesystem::path& path, const std::string& connectionString,
                       const std::string& source)
{
    WriteFileAtomically(path, DataLinkFileBytes(connectionString), source);
}

void WriteDataLinkFileFor(const std::filesystem::path& path, const std::string& server,
                          const std::string& database, const std::string& source)
{
    WriteDataLinkFile(path, SQLServerUtils::BuildTrustedConnectionString(server, database), source);
}

std::vector<std::string> ReadDataLinkFileLines(const std::filesystem::path& path, const std::string& source)
{
    const std::string bytes = readWholeFile(path, source);
    std::string content;
    if (bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE')
        content = text::Utf16leToUtf8(bytes.substr(2));
    else if (bytes.rfind("\xEF\xBB\xBF", 0) == 0)
        content = bytes.substr(3);
    else
        content = bytes;

    std::vector<std::string> lines;
    std::istringstream text(content);
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

} // namespace engine
