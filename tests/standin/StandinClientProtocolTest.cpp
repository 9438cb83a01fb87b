// Requests exactly as TDS clients other than FreeTDS send them, built byte by byte, against
// lf-standin with the real engine: each answer is checked token by token, and the connection
// must stay usable afterwards.

#include "RawTdsClient.h"
#include "StandinServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using standin::tds::Bytes;
using standin::tds::ByteWriter;

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

// A time (0x29) or datetimeoffset (0x2B) parameter: the scale, then the value's length and
// bytes (none for NULL).
void temporalParameter(ByteWriter& w, const std::string& name, uint8_t type, uint8_t scale,
                       const Bytes& value, bool output = false)
{
    w.bVarChar(name);
    w.u8(output ? 1 : 0);
    w.u8(type);
    w.u8(scale);
    w.u8(static_cast<uint8_t>(value.size()));
    w.raw(value);
}

// sp_executesql called by procedure id, its statement and parameter list under the client's
// own names; the caller adds the parameters.
ByteWriter executeSqlCall(const std::string& statement, const std::string& definitions)
{
    ByteWriter w;
    allHeaders(w);
    w.u16(0xFFFF);
    w.u16(10);
    w.u16(0);
    nvarcharParameter(w, "@statement", statement);
    nvarcharParameter(w, "@parameters", definitions);
    return w;
}

// With "@a int, @out int OUTPUT"; answers @out.
Bytes executeSqlById(const std::string& statement, std::optional<int32_t> a)
{
    ByteWriter w = executeSqlCall(statement, "@a int, @out int OUTPUT");
    intParameter(w, "@a", a);
    intParameter(w, "@out", std::nullopt, true);
    return w.bytes();
}

const RawToken* find(const std::vector<RawToken>& tokens, uint8_t type)
{
    auto it = std::find_if(tokens.begin(), tokens.end(), [&](const RawToken& t) { return t.type == type; });
    return it == tokens.end() ? nullptr : &*it;
}

// A transaction-manager request: begin (5), commit (7), rollback (8) or save (9) with a name whose
// length prefix counts bytes, as Microsoft's client libraries send it.
Bytes transactionRequest(uint16_t kind, const std::string& name)
{
    ByteWriter w;
    allHeaders(w);
    w.u16(kind);
    if (kind == 5)
        w.u8(0); // isolation level: unchanged
    w.u8(static_cast<uint8_t>(name.size() * 2));
    w.ucs2(name);
    if (kind == 7 || kind == 8)
        w.u8(0); // no new transaction after it
    return w.bytes();
}

std::vector<RawToken> request(RawTdsClient& client, uint8_t type, const Bytes& payload)
{
    client.sendPacket(type, payload);
    return client.readMessage();
}

bool succeeded(const std::vector<RawToken>& tokens)
{
    return find(tokens, 0xAA) == nullptr && !tokens.empty() && tokens.back().type == 0xFD &&
           (tokens.back().status & kDoneError) == 0;
}

// Runs a statement through sp_executesql and gives the int it leaves in @out.
int64_t queryInt(RawTdsClient& client, const std::string& statement)
{
    client.sendPacket(0x03, executeSqlById(statement, 0));
    const auto tokens = client.readMessage();
    const RawToken* value = find(tokens, 0xAC);
    if (!value) {
        const RawToken* error = find(tokens, 0xAA);
        throw std::runtime_error("no output value: " +
                                 (error ? error->text : std::string("no error either")));
    }
    return value->value;
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

TEST_F(StandinClientProtocolTest, AttentionBeforeAnyOutputIsAcknowledgedAlone)
{
    m_client.sendBatch("WAITFOR DELAY '00:10:00'");
    m_client.sendAttention();
    const auto ack = m_client.readMessage();
    ASSERT_EQ(ack.size(), 1u);
    EXPECT_EQ(ack[0].type, 0xFD);
    EXPECT_EQ(ack[0].status, kDoneAttention);
    EXPECT_EQ(queryInt(m_client, "SET @out = @a + 5"), 5);
}

TEST_F(StandinClientProtocolTest, WaitforDelayWaitsThenAnswers)
{
    m_client.sendBatch("WAITFOR DELAY '00:00:00.300'; PRINT 'awake'");
    const auto tokens = m_client.readMessage();
    ASSERT_NE(find(tokens, 0xAB), nullptr);
    EXPECT_EQ(find(tokens, 0xAB)->text, "awake");
    EXPECT_TRUE(succeeded(tokens));

    m_client.sendBatch("WAITFOR DELAY '25:00'");
    const auto refused = m_client.readMessage();
    ASSERT_NE(find(refused, 0xAA), nullptr);
    EXPECT_EQ(find(refused, 0xAA)->number, 148);
}

TEST_F(StandinClientProtocolTest, NamedTransactionRequestsBeginSaveRollBackToTheSavepointAndCommit)
{
    ASSERT_TRUE(succeeded(request(m_client, 0x01, [] {
        ByteWriter w;
        allHeaders(w);
        w.ucs2("CREATE TABLE tm_probe (n int)");
        return w.bytes();
    }())));
    auto batch = [&](const std::string& sql) {
        m_client.sendBatch(sql);
        return m_client.readMessage();
    };

    const auto begun = request(m_client, 0x0E, transactionRequest(5, "outer"));
    EXPECT_TRUE(succeeded(begun));
    ASSERT_NE(find(begun, 0xE3), nullptr);
    EXPECT_EQ(find(begun, 0xE3)->value, 8); // ENVCHANGE: transaction begun
    ASSERT_TRUE(succeeded(batch("INSERT INTO tm_probe VALUES (1)")));
    EXPECT_TRUE(succeeded(request(m_client, 0x0E, transactionRequest(9, "mark"))));
    ASSERT_TRUE(succeeded(batch("INSERT INTO tm_probe VALUES (2)")));
    EXPECT_TRUE(succeeded(request(m_client, 0x0E, transactionRequest(8, "mark"))));
    EXPECT_EQ(queryInt(m_client, "SET @out = @@TRANCOUNT"), 1);
    const auto committed = request(m_client, 0x0E, transactionRequest(7, "outer"));
    EXPECT_TRUE(succeeded(committed));
    ASSERT_NE(find(committed, 0xE3), nullptr);
    EXPECT_EQ(find(committed, 0xE3)->value, 9); // ENVCHANGE: transaction committed
    EXPECT_EQ(queryInt(m_client, "SET @out = @@TRANCOUNT"), 0);
    EXPECT_EQ(queryInt(m_client, "SELECT @out = SUM(n) FROM tm_probe"), 1);

    // A named rollback of the whole transaction.
    EXPECT_TRUE(succeeded(request(m_client, 0x0E, transactionRequest(5, "second"))));
    ASSERT_TRUE(succeeded(batch("INSERT INTO tm_probe VALUES (40)")));
    const auto rolledBack = request(m_client, 0x0E, transactionRequest(8, "second"));
    EXPECT_TRUE(succeeded(rolledBack));
    ASSERT_NE(find(rolledBack, 0xE3), nullptr);
    EXPECT_EQ(find(rolledBack, 0xE3)->value, 10);
    EXPECT_EQ(queryInt(m_client, "SELECT @out = SUM(n) FROM tm_probe"), 1);
}

TEST_F(StandinClientProtocolTest, SaveTransactionInABatchMarksAPointToRollBackTo)
{
    m_client.sendBatch(
        "CREATE TABLE save_probe (n int); BEGIN TRANSACTION; INSERT INTO save_probe VALUES (1); "
        "SAVE TRANSACTION before_two; INSERT INTO save_probe VALUES (2); "
        "ROLLBACK TRANSACTION before_two; INSERT INTO save_probe VALUES (4); COMMIT TRANSACTION");
    EXPECT_TRUE(succeeded(m_client.readMessage()));
    EXPECT_EQ(queryInt(m_client, "SELECT @out = SUM(n) FROM save_probe"), 5);

    m_client.sendBatch("SAVE TRAN nowhere");
    const auto refused = m_client.readMessage();
    ASSERT_NE(find(refused, 0xAA), nullptr);
    EXPECT_EQ(find(refused, 0xAA)->number, 628);
}

TEST_F(StandinClientProtocolTest, RaiserrorFillsItsMarkersAsSqlServerDoes)
{
    m_client.sendBatch(
        "RAISERROR('n=%d i=%5i s=%s x=%x X=%X o=%o u=%u p=%.2s w=%-4d| z=%03d %% *=%*d m=%d', 10, 1, "
        "42, 7, N'abc', 255, 255, 8, 3, 'xyz', 5, 9, 6, 12)");
    const auto tokens = m_client.readMessage();
    ASSERT_NE(find(tokens, 0xAB), nullptr);
    EXPECT_EQ(find(tokens, 0xAB)->text,
              "n=42 i=    7 s=abc x=ff X=FF o=10 u=3 p=xy w=5   | z=009 % *=    12 m=(null)");

    m_client.sendBatch("RAISERROR('negative %u %x', 10, 1, -1, -2)");
    EXPECT_EQ(find(m_client.readMessage(), 0xAB)->text, "negative 4294967295 fffffffe");

    // A message stops at 2,047 characters, however wide its markers; a negative '*' width
    // left-justifies.
    m_client.sendBatch("RAISERROR('[%*d] %999999999d', 10, 1, -3, 1, 2)");
    const std::string wide = find(m_client.readMessage(), 0xAB)->text;
    EXPECT_EQ(wide.substr(0, 6), "[1  ] ");
    EXPECT_EQ(wide.size(), 2047u);

    m_client.sendBatch("RAISERROR('%d', 16, 1, 'text')");
    const auto refused = m_client.readMessage();
    ASSERT_NE(find(refused, 0xAA), nullptr);
    EXPECT_EQ(find(refused, 0xAA)->number, 2786);
}

TEST_F(StandinClientProtocolTest, TimeAndDateTimeOffsetParametersComeBackWithTheirTypesAndValues)
{
    struct Case {
        uint8_t timeScale;
        Bytes time;
        uint8_t offsetScale;
        Bytes offset;
    };
    const Case cases[] = {
        // 10:20:30.123; 2024-05-01 08:20:30.1234567 UTC at +02:00
        {3, {0x2B, 0x16, 0x38, 0x02}, 7, {0x87, 0x31, 0x59, 0xEB, 0x45, 0xBE, 0x46, 0x0B, 120, 0}},
        // 20:00:00; 2023-12-31 20:00:00 UTC at -05:00 and at +05:00 (the next day where written)
        {0, {0x40, 0x19, 0x01}, 0, {0x40, 0x19, 0x01, 0x44, 0x46, 0x0B, 0xD4, 0xFE}},
        {7, {0x80, 0x96, 0x98, 0, 0}, 0, {0x40, 0x19, 0x01, 0x44, 0x46, 0x0B, 0x2C, 0x01}},
    };
    for (const Case& c : cases) {
        const std::string t = "time(" + std::to_string(c.timeScale) + ")";
        const std::string o = "datetimeoffset(" + std::to_string(c.offsetScale) + ")";
        ByteWriter w =
            executeSqlCall("SET @tout = @t; SET @oout = @o",
                           "@t " + t + ", @o " + o + ", @tout " + t + " OUTPUT, @oout " + o + " OUTPUT");
        temporalParameter(w, "@t", 0x29, c.timeScale, c.time);
        temporalParameter(w, "@o", 0x2B, c.offsetScale, c.offset);
        temporalParameter(w, "@tout", 0x29, c.timeScale, {}, true);
        temporalParameter(w, "@oout", 0x2B, c.offsetScale, {}, true);
        const auto tokens = request(m_client, 0x03, w.bytes());
        ASSERT_EQ(find(tokens, 0xAA), nullptr) << find(tokens, 0xAA)->text;
        std::vector<const RawToken*> values;
        for (const RawToken& token : tokens)
            if (token.type == 0xAC)
                values.push_back(&token);
        ASSERT_EQ(values.size(), 2u);
        EXPECT_EQ(values[0]->wireType, 0x29);
        EXPECT_EQ(values[0]->scale, c.timeScale);
        EXPECT_EQ(values[0]->data, c.time);
        EXPECT_EQ(values[1]->wireType, 0x2B);
        EXPECT_EQ(values[1]->scale, c.offsetScale);
        EXPECT_EQ(values[1]->data, c.offset);
    }
    EXPECT_EQ(queryInt(m_client, "SET @out = @a + 1"), 1);
}

TEST_F(StandinClientProtocolTest, CastToTimeAndDateTimeOffsetRoundsToTheScale)
{
    ByteWriter w = executeSqlCall("SET @tout = CAST('10:20:30.1234' AS time(3)); "
                                  "SET @oout = CAST('2023-12-31 15:00:00.4 -05:00' AS datetimeoffset(0))",
                                  "@tout time(3) OUTPUT, @oout datetimeoffset(0) OUTPUT");
    temporalParameter(w, "@tout", 0x29, 3, {}, true);
    temporalParameter(w, "@oout", 0x2B, 0, {}, true);
    const auto tokens = request(m_client, 0x03, w.bytes());
    ASSERT_EQ(find(tokens, 0xAA), nullptr) << find(tokens, 0xAA)->text;
    std::vector<Bytes> values;
    for (const RawToken& token : tokens)
        if (token.type == 0xAC)
            values.push_back(token.data);
    EXPECT_EQ(values, (std::vector<Bytes>{{0x2B, 0x16, 0x38, 0x02},
                                          {0x40, 0x19, 0x01, 0x44, 0x46, 0x0B, 0xD4, 0xFE}}));
}

TEST_F(StandinClientProtocolTest, ClientsBeforeTds73GetTimesAsText)
{
    RawTdsClient old = RawTdsClient::connectTo(m_server.port());
    old.login("sa", StandinServer::saPassword(), {}, 0x72090002);
    ByteWriter w = executeSqlCall("SET @tout = CAST(@t AS time(3))", "@t nvarchar(20), @tout time(3) OUTPUT");
    nvarcharParameter(w, "@t", "10:20:30.1234");
    temporalParameter(w, "@tout", 0x29, 3, {}, true); // replaced by the nvarchar it answers with
    const auto tokens = request(old, 0x03, w.bytes());
    ASSERT_EQ(find(tokens, 0xAA), nullptr) << find(tokens, 0xAA)->text;
    const RawToken* out = find(tokens, 0xAC);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->wireType, 0xE7);
    ByteWriter text;
    text.ucs2("10:20:30.123");
    EXPECT_EQ(out->data, text.bytes());
}
