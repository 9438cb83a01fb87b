#include "DriveConnection.h"

#include <sstream>
#include <vector>

namespace sys {
namespace {

// Mount tables escape blanks, tabs, newlines and backslashes in names as three octal digits.
std::string unescapeMountField(const std::string& field)
{
    auto octal = [&](size_t i) { return i < field.size() && field[i] >= '0' && field[i] <= '7'; };
    std::string out;
    for (size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && octal(i + 1) && octal(i + 2) && octal(i + 3)) {
            out += static_cast<char>(
                ((field[i + 1] - '0') << 6 | (field[i + 2] - '0') << 3 | (field[i + 3] - '0')) & 0xFF);
            i += 3;
        } else {
            out += field[i];
        }
    }
    return out;
}

bool mountPointContains(const std::string& mountPoint, const std::string& path)
{
    if (mountPoint == "/")
        return !path.empty() && path[0] == '/';
    if (path.compare(0, mountPoint.size(), mountPoint) != 0)
        return false;
    return path.size() == mountPoint.size() || path[mountPoint.size()] == '/';
}

std::string uncFromDevice(const std::string& device, const std::string& type)
{
    std::string unc;
    if ((type == "cifs" || type == "smb3" || type == "smbfs") && device.rfind("//", 0) == 0) {
        unc = device;
    } else if (type.rfind("nfs", 0) == 0) {
        size_t colon = device.find(":/");
        if (colon == std::string::npos || colon == 0)
            return "";
        unc = "//" + device.substr(0, colon) + device.substr(colon + 1);
    } else {
        return "";
    }
    for (char& c : unc)
        if (c == '/')
            c = '\\';
    return unc;
}

} // namespace

std::string RemoteNameFromMountTable(const std::string& mountTable, const std::string& absolutePath)
{
    std::istringstream lines(mountTable);
    std::string line;
    std::string bestMount;
    std::string bestRemote;
    bool found = false;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string device, mountPoint, type;
        if (!(fields >> device >> mountPoint >> type))
            continue;
        mountPoint = unescapeMountField(mountPoint);
        // Later lines stack over earlier ones at the same mount point, so ">=" keeps the last.
        if (mountPointContains(mountPoint, absolutePath) &&
            (!found || mountPoint.size() >= bestMount.size())) {
            found = true;
            bestMount = mountPoint;
            bestRemote = uncFromDevice(unescapeMountField(device), type);
        }
    }
    return bestRemote;
}

} // namespace sys
