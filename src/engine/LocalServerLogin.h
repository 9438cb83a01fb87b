#pragma once

#include <string>

namespace engine {

// What the frame holds for the desktop engine: the server, user name and password the MSDE
// login dialog returned (LocalServerName, ServerLoginName, ServerLoginPWD); all empty when
// Windows authentication is used.
struct LocalServerLogin {
    std::string serverName;
    std::string user;
    std::string password;

    bool usesLogin() const { return !user.empty(); }
};

} // namespace engine
