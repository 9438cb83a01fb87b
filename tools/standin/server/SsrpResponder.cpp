#include "SsrpResponder.h"

#include <strings.h>

namespace standin::tds {

namespace {
enum RequestType : uint8_t {
    ClientBroadcastEx = 0x02,
    ClientUnicastEx = 0x03,
    ClientUnicastInstance = 0x04,
};
constexpr uint8_t kServerResponse = 0x05;
constexpr size_t kMaxInstanceNameBytes = 32;
constexpr size_t kMaxInstanceResponse = 1024;
} // namespace

std::string describeInstance(const SsrpInstance& i)
{
    return "ServerName;" + i.machineName + ";InstanceName;" + i.instanceName + ";IsClustered;No;Version;" +
           i.version + ";tcp;" + std::to_string(i.tcpPort) + ";;";
}

std::optional<Bytes> answerResolutionRequest(const uint8_t* request, size_t size,
                                             const std::vector<SsrpInstance>& instances)
{
    if (size == 0)
        return std::nullopt;
    std::string data;
    switch (request[0]) {
    case ClientBroadcastEx:
    case ClientUnicastEx:
        if (size != 1)
            return std::nullopt;
        for (const SsrpInstance& i : instances)
            data += describeInstance(i);
        break;
    case ClientUnicastInstance: {
        // The name may or may not carry its terminating NUL.
        std::string name(reinterpret_cast<const char*>(request + 1), size - 1);
        name = name.substr(0, name.find('\0'));
        if (name.empty() || name.size() > kMaxInstanceNameBytes)
            return std::nullopt;
        for (const SsrpInstance& i : instances)
            if (strcasecmp(i.instanceName.c_str(), name.c_str()) == 0)
                data = describeInstance(i);
        if (data.empty() || data.size() > kMaxInstanceResponse)
            return std::nullopt;
        break;
    }
    default:
        return std::nullopt;
    }
    if (data.empty() || data.size() > 0xFFFF)
        return std::nullopt;
    ByteWriter w;
    w.u8(kServerResponse);
    w.u16(static_cast<uint16_t>(data.size()));
    w.raw(data.data(), data.size());
    return w.bytes();
}

} // namespace standin::tds
