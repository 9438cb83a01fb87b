#include "../DriveConnection.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace sys {

std::string DriveRemoteName(const std::string& path, std::string& /*buffer*/)
{
    const char* table = std::getenv("LABFOLIO_MOUNT_TABLE");
    std::ifstream in(table && *table ? table : "/proc/self/mounts");
    if (!in)
        return "";
    std::ostringstream text;
    text << in.rdbuf();
    std::error_code ec;
    std::filesystem::path absolute = std::filesystem::absolute(path, ec);
    if (ec)
        return "";
    return RemoteNameFromMountTable(text.str(), absolute.lexically_normal().string());
}

} // namespace sys
