#include "Ssrp.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "ConnectionError.h"
#include "ServerEndpoint.h"

namespace {

std::string response(const std::string& data)
{
    std::string p(1, '\x05');
    p += static_cast<char>(data.size() & 0xff);
    p += static_cast<char>((data.size() >> 8) & 0xff);
    return p + data;
}

std::string upper(std::string s)
{
    for (char& c : s)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

// A SQL Browser on a loopback UDP port that answers as told and records what it was asked.
class FakeBrowser {
public:
    explicit FakeBrowser(std::string instancesData) : m_data(std::move(instancesData))
    {
        m_fd = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(m_fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
        socklen_t len = sizeof a;
        ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&a), &len);
        m_port = ntohs(a.sin_port);
        m_thread = std::thread([this] { serve(); });
        ::setenv("LABFOLIO_SQLBROWSER_PORT", std::to_string(m_port).c_str(), 1);
    }
    ~FakeBrowser()
    {
        m_stop = true;
        m_thread.join();
        ::close(m_fd);
        ::unsetenv("LABFOLIO_SQLBROWSER_PORT");
    }
    std::vector<std::string> requests() const
    {
        std::lock_guard lock(m_mutex);
        return m_requests;
    }

private:
    void serve()
    {
        while (!m_stop) {
            pollfd p{m_fd, POLLIN, 0};
            if (::poll(&p, 1, 20) <= 0)
                continue;
            char buf[2048];
            sockaddr_in from{};
            socklen_t len = sizeof from;
            const auto n = ::recvfrom(m_fd, buf, sizeof buf, 0, reinterpret_cast<sockaddr*>(&from), &len);
            if (n <= 0)
                continue;
            const std::string req(buf, static_cast<size_t>(n));
            {
                std::lock_guard lock(m_mutex);
                m_requests.push_back(req);
            }
            std::string answer;
            if (req[0] == '\x02')
                answer = response(m_data);
            else if (req[0] == '\x04') {
                const std::string wanted = req.substr(1, req.find('\0', 1) - 1);
                // Only the wanted instance's record, as a browser answers CLNT_UCAST_INST.
                size_t pos = 0;
                while (pos < m_data.size()) {
                    const size_t end = m_data.find(";;", pos);
                    const std::string rec = m_data.substr(pos, end - pos + 2);
                    if (upper(rec).find("INSTANCENAME;" + upper(wanted) + ";") != std::string::npos)
                        answer = response(rec);
                    pos = end + 2;
                }
            }
            if (!answer.empty())
                ::sendto(m_fd, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&from), len);
        }
    }

    std::string m_data;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_requests;
    int m_fd = -1;
    int m_port = 0;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

const char* kTwoInstances =
    "ServerName;LABSRV;InstanceName;MSSQLSERVER;IsClustered;No;Version;9.00.5000.00;tcp;1433;np;"
    "\\\\LABSRV\\pipe\\sql\\query;;"
    "ServerName;LABSRV;InstanceName;VELDRIN;IsClustered;No;Version;9.00.5000.00;tcp;40123;;";

} // namespace

TEST(Ssrp, RequestsAreTheProtocolsBytes)
{
    EXPECT_EQ(ssrp::unicastInstanceRequest("VELDRIN"), std::string("\x04VELDRIN\0", 9));
    EXPECT_EQ(ssrp::broadcastRequest(), std::string("\x02"));
}

TEST(Ssrp, ResponseRecordsAreParsed)
{
    const auto list = ssrp::parseResponse(response(kTwoInstances));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].serverName, "LABSRV");
    EXPECT_EQ(list[0].instanceName, "MSSQLSERVER");
    EXPECT_EQ(list[0].version, "9.00.5000.00");
    EXPECT_EQ(list[0].tcpPort, 1433);
    EXPECT_EQ(list[1].instanceName, "VELDRIN");
    EXPECT_EQ(list[1].tcpPort, 40123);
    EXPECT_EQ(ssrp::displayName(list[0]), "LABSRV");
    EXPECT_EQ(ssrp::displayName(list[1]), "LABSRV\\VELDRIN");
}

TEST(Ssrp, MalformedResponsesGiveNothing)
{
    EXPECT_TRUE(ssrp::parseResponse("").empty());
    EXPECT_TRUE(ssrp::parseResponse(std::string("\x06\x01\x00x", 4)).empty());
    EXPECT_TRUE(ssrp::parseResponse(response("ServerName;X;;")).empty());
    const auto noTcp =
        ssrp::parseResponse(response("ServerName;X;InstanceName;I;IsClustered;No;np;\\\\X\\pipe;;"));
    ASSERT_EQ(noTcp.size(), 1u);
    EXPECT_FALSE(noTcp[0].tcpPort);
}

TEST(Ssrp, BrowserPortComesFromTheEnvironment)
{
    ::setenv("LABFOLIO_SQLBROWSER_PORT", "41434", 1);
    EXPECT_EQ(ssrp::browserPort(), 41434);
    ::setenv("LABFOLIO_SQLBROWSER_PORT", "nonsense", 1);
    EXPECT_EQ(ssrp::browserPort(), 1434);
    ::unsetenv("LABFOLIO_SQLBROWSER_PORT");
    EXPECT_EQ(ssrp::browserPort(), 1434);
}

TEST(Ssrp, UnicastQueryFindsTheInstancesPort)
{
    FakeBrowser browser(kTwoInstances);
    const auto info = ssrp::queryInstance("127.0.0.1", "veldrin", std::chrono::milliseconds(2000));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->tcpPort, 40123);
    ASSERT_FALSE(browser.requests().empty());
    EXPECT_EQ(browser.requests()[0], std::string("\x04veldrin\0", 9));
}

TEST(Ssrp, UnknownInstanceGivesNoAnswer)
{
    FakeBrowser browser(kTwoInstances);
    EXPECT_FALSE(ssrp::queryInstance("127.0.0.1", "NOPE", std::chrono::milliseconds(200)));
}

TEST(Ssrp, BroadcastCollectsEveryInstance)
{
    FakeBrowser browser(kTwoInstances);
    const auto list = ssrp::broadcast(std::chrono::milliseconds(300));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(ssrp::displayName(list[1]), "LABSRV\\VELDRIN");
}

TEST(ResolveServer, NamedLocalInstanceResolvesThroughTheBrowser)
{
    FakeBrowser browser(kTwoInstances);
    const auto e = sqlserver::resolveServer("(local)\\VELDRIN");
    EXPECT_EQ(e.host, "127.0.0.1");
    EXPECT_EQ(e.port, 40123);
    const auto d = sqlserver::resolveServer("(local)");
    EXPECT_EQ(d.port, 1433);
}

TEST(ResolveServer, UnknownNamedInstanceIsAServerThatDoesNotExist)
{
    FakeBrowser browser(kTwoInstances);
    try {
        sqlserver::resolveServer(".\\NOPE");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), sqlserver::kServerNotFound);
        EXPECT_NE(e.description().find("\".\\NOPE\""), std::string::npos);
    }
}

TEST(ResolveServer, DefaultInstanceWithoutBrowserFallsBackTo1433)
{
    FakeBrowser browser(""); // answers nothing
    const auto e = sqlserver::resolveServer(".");
    EXPECT_EQ(e.port, 1433);
}
