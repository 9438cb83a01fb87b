#include "NetworkDrive.h"

#include "DriveConnection.h"

namespace engine {
namespace {

bool isUnc(const std::string& path)
{
    return path.rfind("\\\\", 0) == 0;
}

// The text between the leading two backslashes and the next one.
std::string uncHost(const std::string& path)
{
    return path.substr(2, path.find('\\', 2) - 2);
}

} // namespace

std::string NetworkDrive::GetUNCPathofNetworkDrive(const std::string& filePath)
{
    if (isUnc(filePath))
        return uncHost(filePath);
    m_buffer += std::string(255, ' ');
    const std::string remote = sys::DriveRemoteName(filePath, m_buffer);
    return isUnc(remote) ? uncHost(remote) : "";
}

} // namespace engine
