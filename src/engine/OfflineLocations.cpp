#include "OfflineLocations.h"

#include "OfflineDatabase.h"
#include "Process.h"
#include "ShellFolders.h"

namespace engine {

std::filesystem::path OfflineLocations::scriptPath() const
{
    const std::filesystem::path folder =
        programFolder.empty() ? std::filesystem::path(proc::ownExecutableFolder()) : programFolder;
    return folder / OfflineDatabase::kScriptFile;
}

std::filesystem::path OfflineLocations::dataLinkPath() const
{
    const std::filesystem::path folder =
        dataFolder.empty() ? std::filesystem::path(ShellFolders::GetCommonAppDataFolder()) : dataFolder;
    return folder / OfflineDatabase::kDataLinkFile;
}

} // namespace engine
