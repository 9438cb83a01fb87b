#include "TdsServer.h"

#include "LoginProvisioner.h"
#include "TdsConnection.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace standin::tds {

namespace {

sockaddr_in makeAddress(const std::string& address, uint16_t port)
{
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &a.sin_addr) != 1)
        throw std::runtime_error("\"" + address + "\" is not an IPv4 address");
    return a;
}

uint16_t boundPort(int fd)
{
    sockaddr_in a{};
    socklen_t len = sizeof a;
    getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    return ntohs(a.sin_port);
}

int bindSocket(int type, const std::string& address, uint16_t port, const std::string& what)
{
    const int fd = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    if (fd < 0)
        throw std::runtime_error("cannot create a socket for " + what + ": " + std::strerror(errno));
    const int one = 1;
    if (type == SOCK_STREAM)
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    const sockaddr_in a = makeAddress(address, port);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&a), sizeof a) != 0) {
        const int e = errno;
        ::close(fd);
        throw std::runtime_error("cannot bind " + what + " to " + address + ":" + std::to_string(port) +
                                 ": " + std::strerror(e));
    }
    if (type == SOCK_STREAM && ::listen(fd, 64) != 0) {
        const int e = errno;
        ::close(fd);
        throw std::runtime_error("cannot listen for " + what + ": " + std::strerror(e));
    }
    return fd;
}

} // namespace

TdsServer::TdsServer(const ServerSettings& settings) : m_address(settings.address)
{
    try {
        m_listeners.reserve(settings.instances.size());
        for (const InstanceSettings& s : settings.instances) {
            Listener l;
            l.settings = s;
            l.instance = openInstance(s.config);
            if (!l.instance)
                throw std::runtime_error("the engine could not open instance " + s.config.instanceName);
            l.fd =
                bindSocket(SOCK_STREAM, m_address, s.port, "instance " + l.instance->config().instanceName);
            l.port = boundPort(l.fd);
            m_listeners.push_back(std::move(l));
            createLogins(m_listeners.back());
            // The engine's view of the names: it fills in what the configuration left open.
            const InstanceConfig& named = m_listeners.back().instance->config();
            m_directory.push_back(
                {named.machineName, named.instanceName, named.productVersion, m_listeners.back().port});
        }
        if (settings.resolutionProtocol) {
            m_udpFd = bindSocket(SOCK_DGRAM, m_address, settings.resolutionPort, "the resolution protocol");
            m_udpPort = boundPort(m_udpFd);
        }
    } catch (...) {
        for (Listener& l : m_listeners)
            ::close(l.fd);
        if (m_udpFd >= 0)
            ::close(m_udpFd);
        throw;
    }
}

TdsServer::~TdsServer()
{
    for (auto& c : m_connections)
        c->stop();
    m_connections.clear();
    for (Listener& l : m_listeners)
        if (l.fd >= 0)
            ::close(l.fd);
    if (m_udpFd >= 0)
        ::close(m_udpFd);
}

void TdsServer::createLogins(Listener& listener)
{
    for (const SqlLogin& login : listener.settings.logins)
        provisionLogin(*listener.instance, login);
}

void TdsServer::announce(std::ostream& out) const
{
    for (const Listener& l : m_listeners)
        out << "instance " << l.instance->config().instanceName << " listening on " << m_address << ":"
            << l.port << "\n";
    if (m_udpFd >= 0)
        out << "resolution protocol on udp " << m_address << ":" << m_udpPort << "\n";
    out.flush();
}

uint16_t TdsServer::port(size_t instanceIndex) const
{
    return m_listeners.at(instanceIndex).port;
}

void TdsServer::accept(Listener& listener)
{
    const int fd = ::accept4(listener.fd, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) {
        // Out of descriptors: the client stays queued; wait a little rather than spin on poll.
        // Any other failure is a client that gave up between poll and accept.
        if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
            ::poll(nullptr, 0, 50);
        return;
    }
    const int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    auto connection = std::make_unique<TdsConnection>(
        fd, *listener.instance, m_nextSpid, std::chrono::milliseconds(listener.settings.loginTimeoutMillis));
    m_nextSpid = m_nextSpid >= 32000 ? 51 : m_nextSpid + 1;
    connection->start();
    m_connections.push_back(std::move(connection));
}

void TdsServer::answerResolution()
{
    uint8_t request[1024];
    sockaddr_in from{};
    socklen_t fromLen = sizeof from;
    const ssize_t n = ::recvfrom(m_udpFd, request, sizeof request, MSG_DONTWAIT,
                                 reinterpret_cast<sockaddr*>(&from), &fromLen);
    if (n <= 0)
        return;
    const auto answer = answerResolutionRequest(request, static_cast<size_t>(n), m_directory);
    if (answer)
        ::sendto(m_udpFd, answer->data(), answer->size(), 0, reinterpret_cast<sockaddr*>(&from), fromLen);
}

void TdsServer::reap()
{
    m_connections.remove_if([](const std::unique_ptr<TdsConnection>& c) { return c->finished(); });
}

void TdsServer::run(int stopFd)
{
    std::vector<pollfd> fds;
    fds.push_back({stopFd, POLLIN, 0});
    for (const Listener& l : m_listeners)
        fds.push_back({l.fd, POLLIN, 0});
    if (m_udpFd >= 0)
        fds.push_back({m_udpFd, POLLIN, 0});
    for (;;) {
        const int n = ::poll(fds.data(), fds.size(), 500);
        if (n < 0 && errno != EINTR)
            throw std::runtime_error(std::string("poll failed: ") + std::strerror(errno));
        reap();
        if (n <= 0)
            continue;
        if (fds[0].revents)
            break;
        for (size_t i = 0; i < m_listeners.size(); ++i)
            if (fds[i + 1].revents & POLLIN)
                accept(m_listeners[i]);
        if (m_udpFd >= 0 && (fds.back().revents & POLLIN))
            answerResolution();
    }
    // Stop accepting first, then end the sessions (each waits for its request to stop).
    for (Listener& l : m_listeners) {
        ::close(l.fd);
        l.fd = -1;
    }
    for (auto& c : m_connections)
        c->stop();
    m_connections.clear();
}

} // namespace standin::tds
