#pragma once

#include <optional>
#include <string>

namespace sqlserver {

// A server name taken apart: host, instance and an explicit port.
struct ServerAddress {
    std::string host;        // "127.0.0.1" when the name means this computer
    std::string instance;    // "" for the default instance
    std::optional<int> port; // "host,port"
    bool local = false;      // "(local)", ".", "", "localhost" or this computer's name
};

// A TCP endpoint to connect to.
struct Endpoint {
    std::string host;
    int port = 1433;
};

// Reads a server name as the wizard uses them: "(local)", "." and "" for this computer's
// default instance, "HOST", "HOST\INSTANCE", "host,port" (an optional "tcp:" prefix is
// accepted). The computer name makes "PC1\VELDRIN" local on PC1. Empty when the text cannot be
// a server name (a port that is not a number, an empty instance).
std::optional<ServerAddress> parseServerName(const std::string& name, const std::string& computerName);

// Where to connect for a server name: an explicit port as given; otherwise the instance's port
// from the host's SQL Browser; a default instance the browser does not know listens on 1433.
// Raises LfError 0x80040000 when the name cannot be parsed or a named instance does not answer.
Endpoint resolveServer(const std::string& name);

} // namespace sqlserver
