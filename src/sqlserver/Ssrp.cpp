#include "Ssrp.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
using SocketHandle = SOCKET;
constexpr SocketHandle kNoSocket = INVALID_SOCKET;
#else
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
using SocketHandle = int;
constexpr SocketHandle kNoSocket = -1;
#endif

namespace ssrp {
namespace {

constexpr unsigned char kClntBcastEx = 0x02;
constexpr unsigned char kClntUcastInst = 0x04;
constexpr unsigned char kSvrResp = 0x05;

#ifdef _WIN32
struct WinsockInit {
    WinsockInit()
    {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
    }
};
#endif

// A UDP socket closed on every path.
class UdpSocket {
public:
    UdpSocket()
    {
#ifdef _WIN32
        static WinsockInit init;
#endif
        m_s = ::socket(AF_INET, SOCK_DGRAM, 0);
    }
    ~UdpSocket()
    {
        if (m_s == kNoSocket)
            return;
#ifdef _WIN32
        closesocket(m_s);
#else
        ::close(m_s);
#endif
    }
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    bool ok() const
    {
        return m_s != kNoSocket;
    }

    bool enableBroadcast()
    {
        int on = 1;
        return ::setsockopt(m_s, SOL_SOCKET, SO_BROADCAST, reinterpret_cast<const char*>(&on), sizeof on) ==
               0;
    }

    bool sendTo(const sockaddr_in& to, const std::string& bytes)
    {
        return ::sendto(m_s, bytes.data(), static_cast<int>(bytes.size()), 0,
                        reinterpret_cast<const sockaddr*>(&to), sizeof to) == static_cast<long>(bytes.size());
    }

    // One datagram, or empty when none arrives within the time left.
    std::optional<std::string> receive(std::chrono::steady_clock::time_point deadline)
    {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return std::nullopt;
#ifdef _WIN32
        WSAPOLLFD p{m_s, POLLIN, 0};
        if (WSAPoll(&p, 1, static_cast<int>(left.count())) <= 0)
            return std::nullopt;
#else
        pollfd p{m_s, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>(left.count())) <= 0)
            return std::nullopt;
#endif
        char buf[65536];
        const auto n = ::recv(m_s, buf, sizeof buf, 0);
        if (n <= 0)
            return std::string(); // an ICMP "port unreachable" surfaces here: no answer
        return std::string(buf, static_cast<size_t>(n));
    }

private:
    SocketHandle m_s;
};

std::optional<sockaddr_in> resolveIPv4(const std::string& host, int port)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* result = nullptr;
    if (::getaddrinfo(host.c_str(), nullptr, &hints, &result) != 0 || !result)
        return std::nullopt;
    sockaddr_in addr = *reinterpret_cast<sockaddr_in*>(result->ai_addr);
    ::freeaddrinfo(result);
    addr.sin_port = htons(static_cast<uint16_t>(port));
    return addr;
}

bool envPortSet()
{
    const char* v = std::getenv("LABFOLIO_SQLBROWSER_PORT");
    return v && *v;
}

} // namespace

int browserPort()
{
    if (const char* v = std::getenv("LABFOLIO_SQLBROWSER_PORT")) {
        char* end = nullptr;
        const long port = std::strtol(v, &end, 10);
        if (end != v && *end == '\0' && port > 0 && port < 65536)
            return static_cast<int>(port);
    }
    return 1434;
}

std::string unicastInstanceRequest(const std::string& instanceName)
{
    std::string r(1, static_cast<char>(kClntUcastInst));
    r += instanceName;
    r += '\0';
    return r;
}

std::string broadcastRequest()
{
    return std::string(1, static_cast<char>(kClntBcastEx));
}

std::vector<InstanceInfo> parseResponse(const std::string& packet)
{
    std::vector<InstanceInfo> out;
    if (packet.size() < 3 || static_cast<unsigned char>(packet[0]) != kSvrResp)
        return out;
    const size_t size = static_cast<unsigned char>(packet[1]) | (static_cast<unsigned char>(packet[2]) << 8);
    const std::string data = packet.substr(3, size);

    // Records end with ";;"; inside a record keys and values alternate.
    size_t pos = 0;
    while (pos < data.size()) {
        size_t end = data.find(";;", pos);
        if (end == std::string::npos)
            end = data.size();
        const std::string record = data.substr(pos, end - pos);
        pos = end + 2;

        std::vector<std::string> fields;
        size_t f = 0;
        for (;;) {
            const size_t semi = record.find(';', f);
            fields.push_back(record.substr(f, semi == std::string::npos ? std::string::npos : semi - f));
            if (semi == std::string::npos)
                break;
            f = semi + 1;
        }
        InstanceInfo info;
        for (size_t i = 0; i + 1 < fields.size(); i += 2) {
            const std::string& key = fields[i];
            const std::string& value = fields[i + 1];
            if (key == "ServerName")
                info.serverName = value;
            else if (key == "InstanceName")
                info.instanceName = value;
            else if (key == "Version")
                info.version = value;
            else if (key == "tcp") {
                char* e = nullptr;
                const long port = std::strtol(value.c_str(), &e, 10);
                if (e != value.c_str() && port > 0 && port < 65536)
                    info.tcpPort = static_cast<int>(port);
            }
        }
        if (!info.serverName.empty() && !info.instanceName.empty())
            out.push_back(std::move(info));
    }
    return out;
}

std::optional<InstanceInfo> queryInstance(const std::string& host, const std::string& instanceName,
                                          std::chrono::milliseconds timeout)
{
    const auto to = resolveIPv4(host, browserPort());
    if (!to)
        return std::nullopt;
    UdpSocket s;
    if (!s.ok() || !s.sendTo(*to, unicastInstanceRequest(instanceName)))
        return std::nullopt;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (auto packet = s.receive(deadline)) {
        for (auto& info : parseResponse(*packet)) {
            // Instance names are not case-sensitive in the browser's answers.
            if (info.instanceName.size() == instanceName.size() &&
                std::equal(info.instanceName.begin(), info.instanceName.end(), instanceName.begin(),
                           [](char a, char b) {
                               return std::toupper(static_cast<unsigned char>(a)) ==
                                      std::toupper(static_cast<unsigned char>(b));
                           }))
                return info;
        }
    }
    return std::nullopt;
}

std::vector<InstanceInfo> broadcast(std::chrono::milliseconds window)
{
    std::vector<InstanceInfo> out;
    UdpSocket s;
    if (!s.ok())
        return out;
    std::optional<sockaddr_in> to;
    if (envPortSet()) {
        to = resolveIPv4("127.0.0.1", browserPort());
    } else {
        s.enableBroadcast();
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_BROADCAST);
        addr.sin_port = htons(static_cast<uint16_t>(browserPort()));
        to = addr;
    }
    if (!to || !s.sendTo(*to, broadcastRequest()))
        return out;
    const auto deadline = std::chrono::steady_clock::now() + window;
    while (auto packet = s.receive(deadline)) {
        for (auto& info : parseResponse(*packet))
            out.push_back(std::move(info));
    }
    return out;
}

std::string displayName(const InstanceInfo& info)
{
    if (info.instanceName == "MSSQLSERVER")
        return info.serverName;
    return info.serverName + "\\" + info.instanceName;
}

} // namespace ssrp
