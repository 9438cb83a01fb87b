#pragma once

#include <filesystem>

namespace engine {

// Where the offline database's files live: the script "LFOffline.sql" ships in the program's
// own folder; the data link "LFOffline9.udl" goes into the shared application-data folder. An
// empty folder means this machine's own one, found when it is first needed (the application-data
// folder raises 0x80040000 when the registry does not name it).
struct OfflineLocations {
    std::filesystem::path programFolder;
    std::filesystem::path dataFolder;

    std::filesystem::path scriptPath() const;
    std::filesystem::path dataLinkPath() const;
};

} // namespace engine
