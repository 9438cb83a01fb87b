// Requests exactly as TDS clients other than FreeTDS send them, built byte by byte, against
// lf-standin with the real engine: each answer is checked token by token, and the connection
// must stay usable afterwards.

#include "RawTdsClient.h"
#include "StandinServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using standin::tds::ByteWriter;
using standin::tds::Bytes;

namespace {

constexpr uint16_t kDoneError = 0x02;
constexpr uint16_t kDoneAttention = 0x20;

// ALL_HEADERS with a transaction descriptor header, as TDS 7.2+ clients put in front of
// batches, RPCs and transaction-manager requests.
void allHeaders(ByteWriter& w)
{
    w.u32(22);
    w.u32(18);
    w.u16(2);
    w.u64(0);
    w.u32(1);
}

void nvarcharParameter(ByteWriter& w, const std::string& name, const std::string& value)
{
    w.bVarChar(name);
    w.u8(0);
    w.u8(0xE7);
    w.u16(8000);
    w.raw(Bytes{0x09, 0x04, 0xD0, 0x00, 0x34});
    const size_t start = w.size();
    w.ucs2(value);
    const size_t bytes = w.size() - start;
    w.bytes().insert(w.bytes().begin() + static_cast<std::ptrdiff_t>(start),
                     {static_cast<uint8_t>(bytes & 0xFF), static_cast<uint8_t>(bytes >> 8)});
}

void intParameter(ByteWriter& w, const std::string& name, std::optional<int32_t> value, bool output = false)
{
    w.bVarChar(name);
    w.u8(output ? 1 : 0);
    w.u8(0x26);
    w.u8(4);
    if (value) {
        w.u8(4);
        w.i32(*value);
    } else {
        w.u8(0);
    }
}

// sp_executesql called by procedure id, its statement and parameter list under the client's
// own names, with "@a int, @out int OUTPUT"; answers @out.
Bytes executeSqlById(const std::string& statement, std::optional<int32_t> a)
{
    ByteWriter w;
    allHeaders(w);
    w.u16(0xFFFF);
    w.u16(10);
    w.u16(0);
    nvarcharParameter(w, "@statement", statement);
    nvarcharParameter(w, "@parameters", "@a int, @out int OUTPUT");
    intParameter(w, "@a", a);
    intParameter(w, "@out", std::nullopt, true);
    return w.bytes();
}

const RawToken* find(const std::vector<RawToken>& tokens, uint8_t type)
{
    auto it = std::find_if(tokens.begin(), tokens.end(), [&](const RawToken& t) { return t.type == type; });
    return it == tokens.end() ? nullptr : &*it;
}

// Runs a statement through sp_executesql and gives the int it leaves in @out.
int64_t queryInt(RawTdsClient& client, const std::string& statement)
{
    client.sendPacket(0x03, executeSqlById(statement, 0));
    const auto tokens = client.readMessage();
    const RawToken* value = find(tokens, 0xAC);
    if (!value) {
        const RawToken* error = find(tokens, 0xAA);
        throw std::runtime_error("no output value: " + (error ? error->text : std::string("no error either")));
    }
    return value->value;
}

// Reads whole messages until one acknowledges the attention; returns that message.
std::vector<RawToken> readUntilAcknowledged(RawTdsClient& client)
{
    for (int i = 0; i < 100; ++i) {
        auto tokens = client.readMessage();
        if (!tokens.empty() && tokens.back().type == 0xFD && (tokens.back().status & kDoneAttention))
            return tokens;
    }
    throw std::runtime_error("no attention acknowledgement");
}

class StandinClientProtocolTest : public ::testing::Test {
protected:
    StandinClientProtocolTest() : m_client(RawTdsClient::connectTo(m_server.port()))
    {
        m_client.login("sa", StandinServer::saPassword());
    }
    StandinServer m_server;
    RawTdsClient m_client;
};

} // namespace

TEST_F(StandinClientProtocolTest, ExecuteSqlByIdBindsStatementAndParameterListByPosition)
{
    m_client.sendPacket(0x03, executeSqlById("SET @out = @a + 1", 41));
    const auto tokens = m_client.readMessage();
    EXPECT_EQ(find(tokens, 0xAA), nullptr) << find(tokens, 0xAA)->text;
    const RawToken* out = find(tokens, 0xAC);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->value, 42);
    EXPECT_EQ(tokens.back().type, 0xFE);
    EXPECT_EQ(tokens.back().status & kDoneError, 0);
    // And again: the connection carries on.
    EXPECT_EQ(queryInt(m_client, "SET @out = @a * 2"), 0);
}

TEST(StandinClientProtocol, AttentionWhileAResponseStreamsIsAcknowledgedInAMessageOfItsOwn)
{
    StandinServer::Options options;
    options.instances = {StandinServer::Instance{.seedArguments = {""}}};
    options.progressStepMillis = 200;
    StandinServer server(options);
    RawTdsClient client = RawTdsClient::connectTo(server.port());
    client.login("sa", StandinServer::saPassword());
    const std::string file = (server.scratchFolder() / "cancelled.bak").string();
    client.sendBatch("BACKUP DATABASE LFDesktop10 TO DISK = N'" + file + "' WITH INIT, STATS = 10");

    // The first progress report arrives while the backup runs, in a message still open.
    const auto first = client.readPacket();
    ASSERT_TRUE(first);
    ASSERT_FALSE(first->status & 0x01);
    client.sendAttention();

    // The interrupted response ends as a message of its own, without the acknowledgement...
    const auto rest = client.readMessage();
    ASSERT_FALSE(rest.empty());
    EXPECT_EQ(rest.back().type, 0xFD);
    for (const RawToken& t : rest)
        EXPECT_FALSE((t.type == 0xFD || t.type == 0xFE) && (t.status & kDoneAttention));
    // ...and the acknowledgement follows alone.
    const auto ack = client.readMessage();
    ASSERT_EQ(ack.size(), 1u);
    EXPECT_EQ(ack[0].type, 0xFD);
    EXPECT_EQ(ack[0].status, kDoneAttention);
    EXPECT_FALSE(std::filesystem::exists(file));

    client.sendBatch("PRINT 'still here'");
    const auto next = client.readMessage();
    ASSERT_NE(find(next, 0xAB), nullptr);
    EXPECT_EQ(find(next, 0xAB)->text, "still here");
}
