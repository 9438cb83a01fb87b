#pragma once

#include <string>

#include "LocalServerLogin.h"
#include "OfflineLocations.h"
#include "SQLServerUtils.h"

namespace engine {

// Creates the offline database, the local copy of the notebook database that a client uses when
// it is cut off from the server: runs the shipped script with the command-line SQL tool against
// the local server, then writes the data link file through which the client finds the copy.
class OfflineDatabase {
public:
    static constexpr const char* kDatabaseName = "LFOffline9";
    static constexpr const char* kScriptFile = "LFOffline.sql";
    static constexpr const char* kDataLinkFile = "LFOffline9.udl";

    // whileWaiting is called about every 50 ms while the tool runs.
    OfflineDatabase(LocalServerLogin login, OfflineLocations where,
                    SQLServerUtils::WaitCallback whileWaiting = {});

    // Runs the script (with the frame's login when it holds one, else with Windows
    // authentication on the local server that the lookup finds) and writes "LFOffline9.udl"
    // for that server. The tool's exit code is not examined: a script that fails shows only in
    // its log beside the script, and the data link file is written all the same. A missing
    // script raises 0x80040201 and writes nothing.
    void CreateOfflineDatabase();

private:
    void RunScript(const std::string& scriptPath, const std::string& server, const std::string& user,
                   const std::string& password);
    void RunAndWait(const std::string& commandLine, int windowStyle);

    LocalServerLogin m_login;
    OfflineLocations m_where;
    SQLServerUtils::WaitCallback m_whileWaiting;
};

} // namespace engine
