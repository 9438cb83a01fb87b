#include "EngineFixture.h"

using namespace standin;

TEST_F(EngineTest, SaLogsInToMaster)
{
    auto s = sa();
    ASSERT_TRUE(s);
    EXPECT_EQ(s->currentDatabase(), "master");
}

TEST_F(EngineTest, WrongPasswordFailsWith18456)
{
    LoginRequest r;
    r.userName = "sa";
    r.password = "not the password";
    ServerMessage error;
    EXPECT_FALSE(m_instance->login(r, error));
    EXPECT_EQ(error.number, 18456);
    EXPECT_EQ(error.severity, 14);
    EXPECT_EQ(error.state, 1);
    EXPECT_EQ(error.text, "Login failed for user 'sa'.");
}

TEST_F(EngineTest, UnknownLoginFailsWith18456)
{
    LoginRequest r;
    r.userName = "nobody";
    r.password = "x";
    ServerMessage error;
    EXPECT_FALSE(m_instance->login(r, error));
    EXPECT_EQ(error.number, 18456);
    EXPECT_EQ(error.text, "Login failed for user 'nobody'.");
}

TEST_F(EngineTest, UnknownRequestedDatabaseFailsWith4060)
{
    LoginRequest r;
    r.userName = "sa";
    r.password = saPassword();
    r.database = "NoSuchDb";
    ServerMessage error;
    EXPECT_FALSE(m_instance->login(r, error));
    EXPECT_EQ(error.number, 4060);
    EXPECT_EQ(error.text, "Cannot open database \"NoSuchDb\" requested by the login. The login failed.");
}

TEST_F(EngineTest, DisabledLoginIsRefused)
{
    auto s = sa();
    ok(*s, "CREATE LOGIN chemist WITH PASSWORD = 'Pw-12345'");
    EXPECT_TRUE(login("chemist", "Pw-12345"));
    ok(*s, "ALTER LOGIN chemist DISABLE");
    LoginRequest r;
    r.userName = "chemist";
    r.password = "Pw-12345";
    ServerMessage error;
    EXPECT_FALSE(m_instance->login(r, error));
    EXPECT_EQ(error.number, 18456);
}

TEST_F(EngineTest, InstanceKeepsItsCatalogWhenReopened)
{
    {
        auto s = sa();
        ok(*s, "CREATE DATABASE Kept; CREATE LOGIN keeper WITH PASSWORD = 'k1'");
    }
    m_instance.reset();
    m_instance = openInstance(config());
    auto s = login("keeper", "k1");
    ASSERT_TRUE(s);
    auto s2 = sa("Kept");
    ASSERT_TRUE(s2);
    EXPECT_EQ(s2->currentDatabase(), "Kept");
}

TEST_F(EngineTest, SelectOfLiteralsAndExpressions)
{
    auto s = sa();
    auto sink = ok(
        *s, "SELECT 1, N'abc' AS name, 2 + 3 AS five, 'x' + 'y', @@SERVERNAME, HOST_NAME(), SUSER_SNAME()");
    auto cols = sink.columnsOf(0);
    ASSERT_EQ(cols.size(), 7u);
    EXPECT_EQ(cols[0].name, "");
    EXPECT_EQ(cols[0].type, SqlType::Int);
    EXPECT_EQ(cols[1].name, "name");
    EXPECT_EQ(cols[1].type, SqlType::NVarChar);
    EXPECT_EQ(cols[1].maxLength, 3);
    EXPECT_EQ(cols[2].type, SqlType::Int);
    EXPECT_EQ(cols[3].type, SqlType::VarChar);
    auto rows = sink.rows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], V(1));
    EXPECT_EQ(rows[0][1], V("abc"));
    EXPECT_EQ(rows[0][2], V(5));
    EXPECT_EQ(rows[0][3], V("xy"));
    EXPECT_EQ(rows[0][4], V("LABPC\\VELDRIN"));
    EXPECT_EQ(rows[0][5], V("WORKSTATION7"));
    EXPECT_EQ(rows[0][6], V("sa"));
    ASSERT_FALSE(sink.events.empty());
    EXPECT_EQ(sink.events.back().kind, RecordingSink::Event::Done);
    EXPECT_TRUE(sink.events.back().done.hasRowCount);
    EXPECT_EQ(sink.events.back().done.rowCount, 1u);
}
