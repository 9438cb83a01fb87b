#include "../DriveConnection.h"

#include <windows.h>
#include <winnetwk.h>

namespace sys {

std::string DriveRemoteName(const std::string& path, std::string& buffer)
{
    if (path.empty() || buffer.empty())
        return "";
    const std::string drive = path.substr(0, 1) + ":";
    DWORD length = 255;
    if (WNetGetConnectionA(drive.c_str(), buffer.data(), &length) != NO_ERROR)
        return "";
    return std::string(buffer.c_str());
}

} // namespace sys
