#pragma once

#include <string>
#include <vector>

#include "LocalServerLogin.h"
#include "OfflineLocations.h"
#include "SQLServerUtils.h"

namespace engine {

// How the removal of the offline database ended; the frame shows the matching result.
enum class OfflineRemovalResult {
    Removed,         // the database and the login "BUILTIN\users" were dropped
    NothingToRemove, // no offline database on the server the data link file or the lookup named
};

// Removes the offline database: finds its server from the data link file "LFOffline9.udl" (or,
// without a usable file, from the local instances), drops the database and the login of the
// offline users, and deletes the data link file.
class OfflineRemoval {
public:
    OfflineRemoval(LocalServerLogin login, OfflineLocations where,
                   SQLServerUtils::WaitCallback whileWaiting = {});

    // Server and file failures raise LfError and leave the data link file in place.
    OfflineRemovalResult RemoveOfflineDatabase();

    // The server a data link file's lines name: the text after "Data Source=" (any case) up to
    // the next ";", from the last line that has it; "" when none does.
    static std::string ServerFromDataLinkLines(const std::vector<std::string>& lines);

private:
    OfflineRemovalResult removeFrom(const std::string& server) const;

    LocalServerLogin m_login;
    OfflineLocations m_where;
    SQLServerUtils::WaitCallback m_whileWaiting;
};

} // namespace engine
