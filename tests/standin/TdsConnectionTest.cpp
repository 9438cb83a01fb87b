// The connection's packet handling against an in-test engine whose steps the test controls, so
// that "flushed before the statement ends" and "cancelled mid-way" are shown without timing.

#include "RawTdsClient.h"
#include "TdsConnection.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <sys/socket.h>

using namespace standin;
using namespace standin::tds;

namespace {

struct Script {
    std::mutex mutex;
    std::condition_variable changed;
    bool released = false;
    bool started = false;
    bool finished = false;
    bool sawCancel = false;

    void set(bool Script::*flag)
    {
        std::lock_guard lock(mutex);
        this->*flag = true;
        changed.notify_all();
    }
    bool waitFor(bool Script::*flag)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(10), [&] { return this->*flag; });
    }
};

ServerMessage info(int32_t number, const std::string& text, uint8_t severity = 10)
{
    ServerMessage m;
    m.number = number;
    m.severity = severity;
    m.text = text;
    return m;
}

class ScriptedSession : public Session {
public:
    explicit ScriptedSession(Script& s) : m_script(s) {}
    std::string currentDatabase() const override { return "master"; }

    void executeBatch(const std::string& sql, ResultSink& sink) override
    {
        DoneInfo done;
        if (sql == "progress") {
            sink.message(info(3211, "10 percent processed."));
            m_script.waitFor(&Script::released);
            sink.message(info(3211, "100 percent processed."));
        } else if (sql == "spin") {
            m_script.set(&Script::started);
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
            while (!sink.cancelRequested() && std::chrono::steady_clock::now() < deadline)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            if (sink.cancelRequested())
                m_script.set(&Script::sawCancel);
            sink.message(info(3204, "BACKUP DATABASE is terminating abnormally.", 16));
            done.error = true;
        } else if (sql == "two") {
            sink.statementDone({true, 1, false, 0xC3});
            done = {true, 2, false, 0xC3};
        }
        sink.statementDone(done);
        m_script.set(&Script::finished);
    }

    void executeRpc(const std::string&, std::vector<RpcParameter>& parameters, ResultSink& sink) override
    {
        for (RpcParameter& p : parameters)
            if (p.output)
                p.value = int64_t{42};
        sink.returnStatus(3);
    }

private:
    Script& m_script;
};

class ScriptedInstance : public Instance {
public:
    explicit ScriptedInstance(Script& s) : m_script(s)
    {
        m_config.instanceName = "VELDRIN";
        m_config.machineName = "LABSRV2";
    }
    const InstanceConfig& config() const override { return m_config; }
    std::unique_ptr<Session> login(const LoginRequest& request, ServerMessage& error) override
    {
        if (request.password != "right") {
            error = info(18456, "Login failed for user '" + request.userName + "'.", 14);
            return nullptr;
        }
        return std::make_unique<ScriptedSession>(m_script);
    }

private:
    Script& m_script;
    InstanceConfig m_config;
};

class TdsConnectionTest : public ::testing::Test {
protected:
    TdsConnectionTest() : m_instance(m_script)
    {
        int fds[2];
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds);
        m_connection = std::make_unique<TdsConnection>(fds[0], m_instance, 55);
        m_connection->start();
        m_client = std::make_unique<RawTdsClient>(fds[1]);
    }

    RawTdsClient& client() { return *m_client; }
    Script m_script;
    ScriptedInstance m_instance;
    std::unique_ptr<TdsConnection> m_connection;
    std::unique_ptr<RawTdsClient> m_client;
};

const RawToken& last(const std::vector<RawToken>& tokens)
{
    return tokens.back();
}

} // namespace

TEST_F(TdsConnectionTest, LoginAnswersLikeSqlServer)
{
    const auto tokens = client().login("sa", "right");
    std::vector<int32_t> infos;
    for (const RawToken& t : tokens)
        if (t.type == 0xAB)
            infos.push_back(t.number);
    EXPECT_EQ(infos, (std::vector<int32_t>{5701, 5703}));
    EXPECT_TRUE(std::any_of(tokens.begin(), tokens.end(), [](const RawToken& t) { return t.type == 0xAD; }));
    EXPECT_EQ(last(tokens).type, 0xFD);
    EXPECT_EQ(last(tokens).status, 0);
}

TEST_F(TdsConnectionTest, BadLoginSends18456ThenAnErrorDoneAndCloses)
{
    const auto tokens = client().login("sa", "wrong");
    ASSERT_GE(tokens.size(), 2u);
    EXPECT_EQ(tokens[0].type, 0xAA);
    EXPECT_EQ(tokens[0].number, 18456);
    EXPECT_EQ(tokens[0].text, "Login failed for user 'sa'.");
    EXPECT_EQ(last(tokens).type, 0xFD);
    EXPECT_TRUE(last(tokens).status & 0x02);
    EXPECT_TRUE(client().closedByServer());
}

TEST_F(TdsConnectionTest, ProgressMessageIsFlushedWhileTheStatementStillRuns)
{
    client().login("sa", "right");
    client().sendBatch("progress");
    // The engine now waits for the test: whatever arrives was sent before the statement ended.
    const auto first = client().readPacket();
    ASSERT_TRUE(first);
    EXPECT_FALSE(first->status & 0x01) << "the partial response must not end the message";
    const auto tokens = RawTdsClient::parseTokens(first->payload);
    ASSERT_EQ(tokens.size(), 2u);
    EXPECT_EQ(tokens[0].text, "10 percent processed.");
    EXPECT_EQ(tokens[1].type, 0xFD);
    EXPECT_EQ(tokens[1].status, 0x01); // more results follow
    EXPECT_FALSE(m_script.finished);

    m_script.set(&Script::released);
    const auto rest = client().readMessage();
    ASSERT_EQ(rest.size(), 3u);
    EXPECT_EQ(rest[0].text, "100 percent processed.");
    EXPECT_EQ(rest[1].status, 0x01);
    EXPECT_EQ(rest[2].type, 0xFD);
    EXPECT_EQ(rest[2].status, 0x00);
}

TEST_F(TdsConnectionTest, AttentionDuringARequestCancelsItAndIsAcknowledged)
{
    client().login("sa", "right");
    client().sendBatch("spin");
    ASSERT_TRUE(m_script.waitFor(&Script::started));
    client().sendAttention();
    // The engine's abort message went out at once, so the response is finished first (its DONE
    // says error, not attention); the acknowledgement comes as the next message, alone.
    const auto tokens = client().readMessage();
    EXPECT_TRUE(m_script.sawCancel);
    EXPECT_EQ(last(tokens).type, 0xFD);
    EXPECT_EQ(last(tokens).status, 0x02);
    const auto ack = client().readMessage();
    ASSERT_EQ(ack.size(), 1u);
    EXPECT_EQ(ack[0].type, 0xFD);
    EXPECT_EQ(ack[0].status, 0x20);
    // The connection is usable afterwards, and the flag is down again.
    client().sendBatch("two");
    const auto next = client().readMessage();
    EXPECT_EQ(last(next).status & 0x20, 0);
}

TEST_F(TdsConnectionTest, AttentionAfterTheRequestEndedIsStillAcknowledged)
{
    client().login("sa", "right");
    client().sendBatch("quick");
    client().readMessage();
    client().sendAttention();
    const auto tokens = client().readMessage();
    ASSERT_EQ(tokens.size(), 1u);
    EXPECT_EQ(tokens[0].type, 0xFD);
    EXPECT_EQ(tokens[0].status, 0x20);
}

TEST_F(TdsConnectionTest, EveryDoneButTheLastSaysMore)
{
    client().login("sa", "right");
    client().sendBatch("two");
    const auto tokens = client().readMessage();
    ASSERT_EQ(tokens.size(), 2u);
    EXPECT_EQ(tokens[0].status, 0x01 | 0x10);
    EXPECT_EQ(tokens[0].rowCount, 1u);
    EXPECT_EQ(tokens[1].status, 0x10);
    EXPECT_EQ(tokens[1].rowCount, 2u);
}

TEST_F(TdsConnectionTest, RpcReturnsStatusThenOutputParameterThenDoneProc)
{
    client().login("sa", "right");
    ByteWriter w;
    w.u32(22);
    w.u32(18);
    w.u16(2);
    w.u64(0);
    w.u32(1);
    w.usVarChar("start_session");
    w.u16(0);
    w.bVarChar("@in");
    w.u8(0);
    w.u8(0x26);
    w.u8(4);
    w.u8(4);
    w.i32(7);
    w.bVarChar("@out");
    w.u8(1);
    w.u8(0x26);
    w.u8(4);
    w.u8(0);
    client().sendPacket(0x03, w.bytes());
    const auto tokens = client().readMessage();
    ASSERT_EQ(tokens.size(), 3u);
    EXPECT_EQ(tokens[0].type, 0x79);
    EXPECT_EQ(tokens[0].value, 3);
    EXPECT_EQ(tokens[1].type, 0xAC);
    EXPECT_EQ(tokens[1].value, 42);
    EXPECT_EQ(tokens[2].type, 0xFE);
    EXPECT_EQ(tokens[2].status, 0);
}

TEST_F(TdsConnectionTest, MalformedHeaderClosesTheConnection)
{
    client().login("sa", "right");
    client().sendRaw(Bytes{0x01, 0x01, 0x00, 0x03, 0, 0, 1, 0});
    EXPECT_TRUE(client().closedByServer());
    EXPECT_TRUE(m_connection->finished() || client().closedByServer());
}

TEST_F(TdsConnectionTest, RequestBeforeLoginClosesTheConnection)
{
    client().sendBatch("quick");
    EXPECT_TRUE(client().closedByServer());
}

TEST_F(TdsConnectionTest, TruncatedLoginClosesTheConnection)
{
    client().sendPacket(0x10, Bytes{0x40, 0, 0, 0, 4, 0, 0, 0x74});
    EXPECT_TRUE(client().closedByServer());
}

TEST(TdsConnectionLogin, LoginTimeOutClosesAStalledLoginButNotALoggedInClient)
{
    Script script;
    ScriptedInstance instance(script);
    auto connect = [&](std::unique_ptr<TdsConnection>& connection) {
        int fds[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0)
            throw std::runtime_error("socketpair failed");
        connection = std::make_unique<TdsConnection>(fds[0], instance, 55, std::chrono::milliseconds(300));
        connection->start();
        return RawTdsClient(fds[1]);
    };
    std::unique_ptr<TdsConnection> stalledConnection;
    RawTdsClient stalled = connect(stalledConnection);
    // A PRELOGIN header announcing 47 bytes, and only the first three of them.
    stalled.sendRaw(Bytes{0x12, 0x01, 0x00, 0x2F, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x15});

    std::unique_ptr<TdsConnection> loggedInConnection;
    RawTdsClient loggedIn = connect(loggedInConnection);
    loggedIn.login("sa", "right");

    EXPECT_TRUE(stalled.closedByServer(5000));
    // Well past the time-out, the client that logged in is still served.
    EXPECT_FALSE(loggedIn.closedByServer(500));
    loggedIn.sendBatch("two");
    EXPECT_EQ(last(loggedIn.readMessage()).rowCount, 2u);
}
