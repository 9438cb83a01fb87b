// Garbage on one connection must cost that connection only: the server and its other clients
// carry on.

#include "OdbcTestClient.h"
#include "RawTdsClient.h"
#include "StandinServer.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <random>

using standin::tds::Bytes;

namespace {

std::string databases(OdbcConnection& c)
{
    OdbcStatement s(c);
    std::string names;
    for (const auto& row : s.query("SELECT name FROM sys.databases"))
        names += row.at(0).value_or("NULL") + ";";
    return names;
}

bool alive(pid_t pid)
{
    return kill(pid, 0) == 0;
}

} // namespace

TEST(StandinRobustness, MalformedPacketClosesOnlyThatConnection)
{
    StandinServer server;
    OdbcConnection bystander(server.odbcConnectionString("sa", StandinServer::saPassword()));
    const std::string before = databases(bystander);

    RawTdsClient raw = RawTdsClient::connectTo(server.port());
    raw.login("sa", StandinServer::saPassword());
    raw.sendRaw(Bytes{0x01, 0x01, 0x00, 0x04, 0x00, 0x00, 0x01, 0x00}); // length shorter than the header
    EXPECT_TRUE(raw.closedByServer());

    EXPECT_TRUE(alive(server.pid()));
    EXPECT_EQ(databases(bystander), before);
}

TEST(StandinRobustness, RandomAndTruncatedInputNeverTakesTheServerDown)
{
    StandinServer server;
    OdbcConnection bystander(server.odbcConnectionString("sa", StandinServer::saPassword()));
    std::mt19937 random(20261121);
    const Bytes login = RawTdsClient::buildLogin7("sa", StandinServer::saPassword(), "");

    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        RawTdsClient raw = RawTdsClient::connectTo(server.port());
        Bytes junk;
        switch (round % 4) {
        case 0: // pure noise
            junk.resize(1 + random() % 600);
            for (auto& b : junk)
                b = static_cast<uint8_t>(random());
            raw.sendRaw(junk);
            break;
        case 1: { // a LOGIN7 cut short, then the connection dropped mid-packet
            junk = login;
            junk.resize(random() % login.size());
            Bytes packet{0x10,
                         0x01,
                         static_cast<uint8_t>((login.size() + 8) >> 8),
                         static_cast<uint8_t>((login.size() + 8) & 0xFF),
                         0,
                         0,
                         1,
                         0};
            packet.insert(packet.end(), junk.begin(), junk.end());
            raw.sendRaw(packet);
            break;
        }
        case 2: { // a well-framed LOGIN7 with corrupted bytes
            junk = login;
            for (int k = 0; k < 8; ++k)
                junk[random() % junk.size()] = static_cast<uint8_t>(random());
            raw.sendPacket(0x10, junk);
            break;
        }
        case 3: { // logged in, then a batch and an RPC full of noise
            raw.login("sa", StandinServer::saPassword());
            junk.resize(random() % 300);
            for (auto& b : junk)
                b = static_cast<uint8_t>(random());
            raw.sendPacket(round % 8 == 3 ? 0x03 : 0x01, junk);
            break;
        }
        }
        // Whatever the server made of it (an error, or waiting for the rest of a packet that
        // will never come), the connection ends when the client's side does, and the server
        // lives on.
        raw.finishSending();
        EXPECT_TRUE(raw.closedByServer());
        ASSERT_TRUE(alive(server.pid()));
    }
    EXPECT_NE(databases(bystander).find("master"), std::string::npos);
    OdbcConnection fresh(server.odbcConnectionString("sa", StandinServer::saPassword()));
    EXPECT_NE(databases(fresh).find("master"), std::string::npos);
    EXPECT_EQ(server.stop(), 0);
}

TEST(StandinRobustness, SigtermDuringABackupAbortsItAndExitsCleanly)
{
    StandinServer::Options o;
    o.progressStepMillis = 200;
    StandinServer server(o);
    const auto target = server.scratchFolder() / "interrupted.bak";
    OdbcConnection c(server.odbcConnectionString("sa", StandinServer::saPassword()));
    OdbcStatement s(c);
    // The first progress report proves the backup is under way when the server is told to stop.
    ASSERT_EQ(s.execute("BACKUP DATABASE master TO DISK = N'" + target.string() + "' WITH STATS = 10"),
              SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(server.stop(), 0);
    EXPECT_FALSE(std::filesystem::exists(target));
    for (const auto& entry : std::filesystem::directory_iterator(server.scratchFolder()))
        ADD_FAILURE() << "left behind: " << entry.path();
}
