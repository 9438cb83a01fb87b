#pragma once

#include <string>

namespace engine {

// Which machine holds a file, so that files installed from several machines' services do not
// overwrite each other's local copies.
class NetworkDrive {
public:
    // The host of a UNC path ("\\host\share\..."), else the host of the network connection that
    // holds the path; "" for a local path.
    std::string GetUNCPathofNetworkDrive(const std::string& filePath);

private:
    // Grows by 255 blanks at every call, while the system is always told 255: kept as the
    // product has always done it.
    std::string m_buffer;
};

} // namespace engine
