#pragma once

// The SQL Server Resolution Protocol on UDP: tells clients which instances this "machine"
// has and on which TCP port each listens.

#include "TdsBytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace standin::tds {

struct SsrpInstance {
    std::string machineName;
    std::string instanceName;
    std::string version;
    uint16_t tcpPort = 0;
};

// The RESP_DATA text for one instance: "ServerName;M;InstanceName;I;IsClustered;No;Version;V;tcp;P;;".
std::string describeInstance(const SsrpInstance& instance);

// The SVR_RESP datagram for a request, or nothing when the request gets no answer (an unknown
// instance, a dedicated-admin-connection query, or a malformed datagram).
std::optional<Bytes> answerResolutionRequest(const uint8_t* request, size_t size,
                                             const std::vector<SsrpInstance>& instances);

} // namespace standin::tds
