#pragma once

// What lf-standin serves: one or more instances (name, TCP port, data folder, the machine name
// it reports), and the UDP port of the resolution protocol. Read from a configuration file or,
// for a single instance, from the command line.

#include "StandinEngine.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace standin::tds {

class ConfigError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct SqlLogin {
    std::string name;
    std::string password;
    bool sysadmin = false;
};

struct InstanceSettings {
    // An empty machine name (or, for a single instance, an empty instance name) is left to the
    // engine: the names recorded in the data folder by the seed tool, else this host's.
    InstanceConfig config;
    uint16_t port = 0;            // 0: any free port
    std::vector<SqlLogin> logins; // created at start when missing
    // A client that has not logged in this long after connecting is disconnected.
    int loginTimeoutMillis = 60000;
};

struct ServerSettings {
    std::string address = "127.0.0.1";
    bool resolutionProtocol = true;
    uint16_t resolutionPort = 0; // 0: any free port
    std::vector<InstanceSettings> instances;
};

// The INI-like file described in tools/standin/README.md. Relative data folders are taken
// from the file's own folder. Throws ConfigError naming the file and line.
ServerSettings readConfigFile(const std::string& path);

// argv without the program name. Throws ConfigError with a usage hint.
ServerSettings parseCommandLine(const std::vector<std::string>& args);

std::string usage();

} // namespace standin::tds
