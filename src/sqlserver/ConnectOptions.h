#pragma once

#include <string>

namespace sqlserver {

// How to reach a server: its name as the wizard shows it ("(local)", "" for this computer's
// default instance, "HOST", "HOST\INSTANCE", "host,port") and the login.
struct ConnectOptions {
    std::string server;
    bool loginSecure = true; // Windows (integrated) login; false: user and password
    std::string user;
    std::string password;
    int loginTimeoutSeconds = 0; // 0: the driver's default
};

} // namespace sqlserver
