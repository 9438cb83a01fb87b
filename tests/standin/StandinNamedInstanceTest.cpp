// FreeTDS finds a named instance ("host\instance") by asking UDP port 1434, which it does not
// let a client change; this test therefore binds 1434 itself and holds a CTest resource lock.

#include "OdbcTestClient.h"
#include "StandinServer.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Whether something else already holds UDP 127.0.0.1:1434 (or we may not bind it).
std::string whyPort1434Unusable()
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(1434);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string why;
    if (bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0)
        why = std::strerror(errno);
    close(fd);
    return why;
}

} // namespace

TEST(StandinNamedInstance, FreeTdsFindsTheInstanceThroughTheResolutionProtocol)
{
    if (const std::string why = whyPort1434Unusable(); !why.empty())
        GTEST_SKIP() << "UDP port 1434 on 127.0.0.1 cannot be bound (" << why
                     << "); FreeTDS always asks that port for a named instance";
    StandinServer::Options o;
    o.instances = {StandinServer::Instance{"VELDRIN", "LABSRV2", {}, {}}};
    o.resolutionPort = 1434;
    StandinServer server(o);

    // No port in the connection string: FreeTDS must learn it from the resolution protocol.
    OdbcConnection c("DRIVER={FreeTDS};SERVER=127.0.0.1\\VELDRIN;TDS_Version=7.4;UID=sa;PWD={" +
                     StandinServer::saPassword() + "};");
    OdbcStatement s(c);
    const auto rows = s.query("SELECT @@SERVERNAME");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].at(0), "LABSRV2\\VELDRIN");
}
