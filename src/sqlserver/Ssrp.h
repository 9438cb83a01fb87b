#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

// The SQL Server Resolution Protocol (the SQL Browser's UDP service): which instances a host
// runs and on which TCP port each listens.
namespace ssrp {

// What one instance says of itself in an SVR_RESP.
struct InstanceInfo {
    std::string serverName;
    std::string instanceName;
    std::string version;
    std::optional<int> tcpPort;
};

// The browser's UDP port: LABFOLIO_SQLBROWSER_PORT when set to a port number, else 1434.
int browserPort();

// CLNT_UCAST_INST: 0x04, the instance name, a terminating NUL.
std::string unicastInstanceRequest(const std::string& instanceName);
// CLNT_BCAST_EX: the single byte 0x02.
std::string broadcastRequest();

// The instances of one SVR_RESP packet (0x05, a little-endian size, then "key;value;...;;"
// records); empty when the packet is not a well-formed response.
std::vector<InstanceInfo> parseResponse(const std::string& packet);

// The instance's record from the host's browser; empty when no answer came within the time-out
// or the host cannot be resolved.
std::optional<InstanceInfo> queryInstance(const std::string& host, const std::string& instanceName,
                                          std::chrono::milliseconds timeout);

// Every instance that answers a broadcast within the window: sent to the local network's
// broadcast address, or to 127.0.0.1 when LABFOLIO_SQLBROWSER_PORT is set (tests).
std::vector<InstanceInfo> broadcast(std::chrono::milliseconds window);

// The name the wizard lists for an instance: "HOST" for a default instance, else "HOST\INSTANCE".
std::string displayName(const InstanceInfo& info);

} // namespace ssrp
