#include "OdbcConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Connection.h"
#include "ConnectionError.h"
#include "SQLServerUtils.h"

using namespace sqlserver;

namespace {
// A loopback TCP port nobody listens on: bound, then closed.
int closedPort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    socklen_t len = sizeof a;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    ::close(fd);
    return ntohs(a.sin_port);
}
} // namespace

TEST(OdbcConnection, ServerThatIsNotThereIsTheObjectErrorBase)
{
    const std::string server = "127.0.0.1," + std::to_string(closedPort());
    try {
        OpenConnection(SQLServerUtils::BuildTrustedConnectionString(server, "LFDesktop10"), "", "", 5);
        FAIL() << "connected to nothing";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), kServerNotFound);
        EXPECT_EQ(e.description().rfind("SQL Server \"" + server + "\" does not exist or access denied (", 0),
                  0u)
            << e.description();
    }
}

TEST(OdbcConnection, OnlyTheWizardsConnectionStringsAreAccepted)
{
    try {
        OpenConnection("Provider=SQLNCLI11;Data Source=x", "", "", 5);
        FAIL() << "accepted";
    } catch (const LfError& e) {
        EXPECT_EQ(e.description(), "the connection string is not one of the two forms the wizard writes");
    }
}

TEST(OdbcConnection, MissingDriverIsReportedInTheDriverManagersWords)
{
    OdbcTarget t;
    t.driver = "No Such Driver";
    t.endpoint = {"127.0.0.1", closedPort()};
    try {
        OdbcConnection::connect(t, 5, "x");
        FAIL() << "connected";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), kClientFailure);
        EXPECT_FALSE(e.description().empty());
        EXPECT_EQ(e.description().find('['), std::string::npos) << e.description();
    }
}
