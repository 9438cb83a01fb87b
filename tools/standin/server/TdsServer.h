#pragma once

// lf-standin's listeners: a TCP port per instance and the resolution protocol's UDP port, all
// on one address; a TdsConnection per accepted client.

#include "ServerConfig.h"
#include "SsrpResponder.h"
#include "StandinEngine.h"

#include <list>
#include <memory>
#include <ostream>

namespace standin::tds {

class TdsConnection;

class TdsServer {
public:
    // Opens every instance (through the engine) and binds every port. Throws
    // std::runtime_error naming what could not be opened or bound.
    explicit TdsServer(const ServerSettings& settings);
    ~TdsServer();
    TdsServer(const TdsServer&) = delete;
    TdsServer& operator=(const TdsServer&) = delete;

    // One line per instance, then the resolution protocol's, e.g.
    // "instance VELDRIN listening on 127.0.0.1:40123".
    void announce(std::ostream& out) const;
    // Serves until stopFd becomes readable; then stops accepting, ends every connection and
    // returns. The instances close when the server is destroyed.
    void run(int stopFd);

    uint16_t port(size_t instanceIndex) const;
    uint16_t resolutionPort() const { return m_udpPort; }

private:
    struct Listener {
        InstanceSettings settings;
        std::unique_ptr<Instance> instance;
        int fd = -1;
        uint16_t port = 0;
    };
    void accept(Listener& listener);
    void answerResolution();
    void reap();
    void createLogins(Listener& listener);

    std::string m_address;
    std::vector<Listener> m_listeners;
    std::vector<SsrpInstance> m_directory;
    int m_udpFd = -1;
    uint16_t m_udpPort = 0;
    uint16_t m_nextSpid = 51;
    std::list<std::unique_ptr<TdsConnection>> m_connections;
};

} // namespace standin::tds
