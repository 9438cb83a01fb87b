#include "ShellFolders.h"

#include "LfError.h"
#include "PathUtils.h"
#include "Registry.h"
#include "Version.h"

#include <cstring>

namespace ShellFolders {
namespace {
constexpr const char* kShellFoldersKey = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";
}

std::string ProductSubFolder(int major, int minor)
{
    return "Labfolio " + std::to_string(major) + "." + std::to_string(minor);
}

std::string GetCommonAppDataFolder()
{
    reg::Registry& registry = reg::machineRegistry();
    reg::KeyHandle key = 0;
    if (registry.openKey(reg::Hive::LocalMachine, kShellFoldersKey, 0, reg::kKeyRead, key) != reg::kSuccess)
        throw LfError(LfError::kObjectErrorBase, "",
                      std::string("the registry key '") + kShellFoldersKey + "' cannot be found");
    unsigned char buffer[512];
    std::memset(buffer, 0, sizeof buffer);
    uint32_t size = sizeof buffer;
    // A missing value is not tested for: the query leaves the size as it was and the folder
    // comes out empty, as the product has always done.
    if (registry.queryValue(key, "Common AppData", nullptr, buffer, &size) != reg::kSuccess)
        size = 0;
    registry.closeKey(key);
    std::string folder(reinterpret_cast<const char*>(buffer), size == 0 ? 0 : size - 1);
    folder = folder.substr(0, folder.find('\0'));
    return paths::Join(folder, ProductSubFolder(version::kMajor, version::kMinor));
}

}  // namespace ShellFolders
