#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "LocalServerLogin.h"
#include "SQLServerUtils.h"

class Prompter;

namespace engine {

// How granting the offline users access ended.
enum class OfflineGrantResult {
    Granted,           // the login, the database user "OfflineUsers" and its two roles
    NoGroupGiven,      // the user left the group name empty (or cancelled): nothing granted
    NoOfflineDatabase, // no local instance holds "LFOffline9"; "No Offline database can be found" shown
};

// Gives the offline users access to the offline database once it is created: on English
// locales the built-in group "BUILTIN\users", elsewhere (where that group has a translated name)
// a Windows group the user types in.
class OfflinePermissions {
public:
    OfflinePermissions(LocalServerLogin login, uint32_t localeId, Prompter& prompter,
                       SQLServerUtils::WaitCallback whileWaiting = {});

    // Server failures raise LfError; the prompts go through the prompter.
    OfflineGrantResult GrantOfflinePermissions();

    // The four statements for a group, in order. The name is inserted as SQL text with its
    // quotes doubled, so that a quote in it cannot end the literal.
    static std::vector<std::string> GrantStatements(const std::string& group);

private:
    std::string groupName();

    LocalServerLogin m_login;
    uint32_t m_localeId;
    Prompter& m_prompter;
    SQLServerUtils::WaitCallback m_whileWaiting;
};

} // namespace engine
