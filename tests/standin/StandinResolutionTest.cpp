// Named instances and the resolution protocol: raw datagrams against the fixture's own port.

#include "OdbcTestClient.h"
#include "StandinServer.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// One request, one answer (or nothing within a second).
std::string ask(uint16_t port, const std::string& request)
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sendto(fd, request.data(), request.size(), 0, reinterpret_cast<sockaddr*>(&a), sizeof a);
    pollfd p{fd, POLLIN, 0};
    std::string answer;
    if (poll(&p, 1, 1000) > 0) {
        char buf[65536];
        const ssize_t n = recv(fd, buf, sizeof buf, 0);
        if (n > 0)
            answer.assign(buf, static_cast<size_t>(n));
    }
    close(fd);
    return answer;
}

StandinServer::Options twoMachines()
{
    StandinServer::Options o;
    o.instances = {StandinServer::Instance{"VELDRIN", "LABSRV2", {}, {}},
                   StandinServer::Instance{"MSSQLSERVER", "LABSRV2", {}, {}}};
    return o;
}

} // namespace

TEST(StandinResolution, InstanceQueryNamesItsPort)
{
    StandinServer server(twoMachines());
    const std::string answer = ask(server.resolutionPort(), std::string("\x04VELDRIN") + '\0');
    ASSERT_GE(answer.size(), 3u);
    EXPECT_EQ(answer[0], '\x05');
    const std::string data = answer.substr(3);
    EXPECT_EQ(static_cast<size_t>(static_cast<uint8_t>(answer[1]) | (static_cast<uint8_t>(answer[2]) << 8)),
              data.size());
    EXPECT_EQ(data, "ServerName;LABSRV2;InstanceName;VELDRIN;IsClustered;No;Version;9.00.5000.00;tcp;" +
                        std::to_string(server.port("VELDRIN")) + ";;");
}

TEST(StandinResolution, BroadcastListsEveryInstanceAndUnknownNamesGetNoAnswer)
{
    StandinServer server(twoMachines());
    const std::string answer = ask(server.resolutionPort(), "\x02");
    ASSERT_GE(answer.size(), 3u);
    EXPECT_NE(answer.find("InstanceName;VELDRIN;"), std::string::npos);
    EXPECT_NE(answer.find("InstanceName;MSSQLSERVER;"), std::string::npos);
    EXPECT_NE(answer.find("tcp;" + std::to_string(server.port("MSSQLSERVER")) + ";;"), std::string::npos);
    EXPECT_EQ(ask(server.resolutionPort(), std::string("\x04NOSUCH") + '\0'), "");
}

TEST(StandinResolution, EachInstanceReportsItsOwnMachineAndName)
{
    StandinServer server(twoMachines());
    OdbcConnection c(server.odbcConnectionString("sa", StandinServer::saPassword(), {}, "VELDRIN"));
    OdbcStatement s(c);
    const auto rows = s.query("SELECT @@SERVERNAME, CAST(SERVERPROPERTY('MachineName') AS nvarchar(128))");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].at(0), "LABSRV2\\VELDRIN");
    EXPECT_EQ(rows[0].at(1), "LABSRV2");
}
