#include "EngineFixture.h"

using namespace standin;

class ProceduresTest : public EngineTest {
protected:
    void SetUp() override
    {
        EngineTest::SetUp();
        auto s = sa();
        ok(*s, "CREATE DATABASE LFDesktop10");
        ok(*s,
           "USE LFDesktop10\n"
           "CREATE TABLE ELN_sessions (session_key int IDENTITY(1,1) PRIMARY KEY, owner_key int, "
           "client_bias int, started datetime, ended datetime NULL)\n"
           "CREATE TABLE ELN_parameters (name nvarchar(255), data nvarchar(255))\n"
           "INSERT INTO ELN_parameters VALUES (N'database guid', N'00000000-0000-0000-0000-000000000000')");
    }

    static RpcParameter intParam(const std::string& name, int64_t value, bool output = false)
    {
        RpcParameter p;
        p.name = name;
        p.type.type = SqlType::Int;
        p.type.maxLength = 4;
        p.value = output ? Value() : Value(value);
        p.output = output;
        return p;
    }
};

TEST_F(ProceduresTest, StartSessionReturnsKeyAndEndSessionMarksIt)
{
    auto s = sa("LFDesktop10");
    std::vector<RpcParameter> params{intParam(":sessionKey", 0, true), intParam(":ownerKey", 1),
                                     intParam(":clientBias", -60)};
    RecordingSink sink;
    s->executeRpc("start_session", params, sink);
    ASSERT_TRUE(sink.errors().empty()) << sink.errors()[0].text;
    ASSERT_EQ(params[0].value, V(1));
    // Output value, then return status 0, in that order.
    ASSERT_GE(sink.events.size(), 2u);
    const auto& rv = sink.events[sink.events.size() - 2];
    EXPECT_EQ(rv.kind, RecordingSink::Event::ReturnValue);
    EXPECT_EQ(rv.text, ":sessionKey");
    EXPECT_EQ(rv.value, V(1));
    EXPECT_EQ(sink.events.back().kind, RecordingSink::Event::ReturnStatus);
    EXPECT_EQ(sink.events.back().status, 0);
    auto row = ok(*s, "SELECT owner_key, client_bias, CASE WHEN started IS NULL THEN 0 ELSE 1 END, "
                      "CASE WHEN ended IS NULL THEN 0 ELSE 1 END FROM ELN_sessions WHERE session_key = 1")
                   .rows();
    EXPECT_EQ(row, (std::vector<std::vector<Value>>{{V(1), V(-60), V(1), V(0)}}));

    // The product's administrator marking runs between the two calls.
    ok(*s, "UPDATE ELN_parameters SET data = CONVERT(nvarchar(255), newid()) WHERE name = N'database guid'");
    EXPECT_NE(scalar(*s, "SELECT data FROM ELN_parameters"), V("00000000-0000-0000-0000-000000000000"));

    std::vector<RpcParameter> endParams{intParam(":sessionKey", 1)};
    RecordingSink endSink;
    s->executeRpc("end_session", endParams, endSink);
    EXPECT_TRUE(endSink.errors().empty());
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM ELN_sessions WHERE ended IS NOT NULL"), V(1));

    std::vector<RpcParameter> second{intParam(":sessionKey", 0, true), intParam(":ownerKey", 7),
                                     intParam(":clientBias", 0)};
    RecordingSink secondSink;
    s->executeRpc("dbo.start_session", second, secondSink);
    EXPECT_EQ(second[0].value, V(2));
}

TEST_F(ProceduresTest, StartSessionFromABatch)
{
    auto s = sa("LFDesktop10");
    auto sink = ok(*s, "DECLARE @k int\nEXEC start_session @k OUTPUT, 3, 120\nSELECT @k, owner_key FROM "
                       "ELN_sessions WHERE session_key = @k");
    EXPECT_EQ(sink.rows(), (std::vector<std::vector<Value>>{{V(1), V(3)}}));
}

TEST_F(ProceduresTest, ProductProceduresNeedTheProductTables)
{
    auto s = sa();
    std::vector<RpcParameter> params{intParam(":sessionKey", 0, true), intParam(":ownerKey", 1),
                                     intParam(":clientBias", 0)};
    RecordingSink sink;
    s->executeRpc("start_session", params, sink);
    ASSERT_EQ(sink.errors().size(), 1u);
    EXPECT_EQ(sink.errors()[0].number, 2812);
    EXPECT_EQ(sink.errors()[0].text, "Could not find stored procedure 'start_session'.");
}

TEST_F(ProceduresTest, ExecuteSqlWithParametersAndOutput)
{
    auto s = sa("LFDesktop10");
    std::vector<RpcParameter> params(4);
    params[0].name = "@stmt";
    params[0].value =
        std::string("SELECT @n = COUNT(*) FROM ELN_parameters WHERE name = @name; SELECT @name AS echoed");
    params[1].name = "@params";
    params[1].value = std::string("@name nvarchar(255), @n int OUTPUT");
    params[2].name = "@name";
    params[2].value = std::string("database guid");
    params[3].name = "@n";
    params[3].output = true;
    params[3].type.type = SqlType::Int;
    RecordingSink sink;
    s->executeRpc("sp_executesql", params, sink);
    ASSERT_TRUE(sink.errors().empty()) << sink.errors()[0].text;
    EXPECT_EQ(params[3].value, V(1));
    EXPECT_EQ(sink.rows(), (std::vector<std::vector<Value>>{{V("database guid")}}));
    EXPECT_EQ(sink.columnsOf(0).at(0).type, SqlType::NVarChar);
    EXPECT_EQ(sink.columnsOf(0).at(0).maxLength, 255);
    EXPECT_EQ(sink.events.back().kind, RecordingSink::Event::ReturnStatus);
}

TEST_F(ProceduresTest, SystemProceduresAsRpcCalls)
{
    auto s = sa("LFDesktop10");
    ok(*s, "CREATE ROLE OfflineUsers");
    auto call = [&](const char* proc, std::vector<std::string> args) {
        std::vector<RpcParameter> params;
        for (auto& a : args) {
            RpcParameter p;
            p.value = a;
            params.push_back(p);
        }
        RecordingSink sink;
        s->executeRpc(proc, params, sink);
        return sink;
    };
    EXPECT_TRUE(call("sp_grantlogin", {"LAB\\Chemists"}).errors().empty());
    EXPECT_TRUE(call("sp_grantdbaccess", {"LAB\\Chemists", "ChemistsUser"}).errors().empty());
    EXPECT_TRUE(call("sp_addrolemember", {"OfflineUsers", "ChemistsUser"}).errors().empty());
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM sys.database_role_members WHERE role_principal_id = "
                         "(SELECT principal_id FROM sys.database_principals WHERE name = 'OfflineUsers')"),
              V(1));
    auto bad = call("sp_grantlogin", {"nodomain"});
    ASSERT_EQ(bad.errors().size(), 1u);
    EXPECT_EQ(bad.errors()[0].number, 15407);
    EXPECT_EQ(bad.events.back().kind, RecordingSink::Event::ReturnStatus);
    EXPECT_EQ(bad.events.back().status, 1);
    auto revoke = call("sp_revokelogin", {"LAB\\Chemists"});
    EXPECT_TRUE(revoke.errors().empty());
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM sys.server_principals WHERE name = 'LAB\\Chemists'"), V(0));
    auto unknown = call("sp_no_such_thing", {});
    ASSERT_EQ(unknown.errors().size(), 1u);
    EXPECT_EQ(unknown.errors()[0].number, 2812);
}

TEST_F(ProceduresTest, UserProceduresWithOutputAndReturnStatus)
{
    auto s = sa("LFDesktop10");
    ok(*s, "CREATE PROCEDURE add_one @a int, @b int OUTPUT AS BEGIN SET @b = @a + 1; RETURN 7; END");
    // As ODBC's "{? = call add_one(?, ?)}" arrives: arguments without names.
    std::vector<RpcParameter> params{intParam("", 41), intParam("", 0, true)};
    RecordingSink sink;
    s->executeRpc("add_one", params, sink);
    ASSERT_TRUE(sink.errors().empty()) << sink.errors()[0].text;
    EXPECT_EQ(params[1].value, V(42));
    EXPECT_EQ(sink.events.back().kind, RecordingSink::Event::ReturnStatus);
    EXPECT_EQ(sink.events.back().status, 7);
    // Under names of a driver's own choosing, the arguments count by position too.
    std::vector<RpcParameter> named{intParam("@P1", 1), intParam("@P2", 0, true)};
    RecordingSink sink2;
    s->executeRpc("dbo.add_one", named, sink2);
    EXPECT_EQ(named[1].value, V(2));
    // From a batch, with EXEC @status = ...
    auto batch =
        ok(*s, "DECLARE @r int, @out int\nEXEC @r = add_one @a = 9, @b = @out OUTPUT\nSELECT @r, @out");
    EXPECT_EQ(batch.rows(), (std::vector<std::vector<Value>>{{V(7), V(10)}}));
    auto missing = run(*s, "EXEC add_one");
    ASSERT_EQ(missing.errors().size(), 1u);
    EXPECT_EQ(missing.errors()[0].number, 201);
    ok(*s, "DROP PROCEDURE add_one");
    EXPECT_EQ(run(*s, "EXEC add_one 1, 2").errors().at(0).number, 2812);
    // A body that does not parse is refused when the procedure is created.
    EXPECT_EQ(run(*s, "CREATE PROCEDURE broken AS SELECT FROM").errors().at(0).number, 156);
}

TEST_F(ProceduresTest, PreparedStatementsAsDriversSendThem)
{
    auto s = sa("LFDesktop10");
    RpcParameter handle = intParam("@handle", 0, true);
    RpcParameter defs;
    defs.name = "@params";
    defs.value = std::string("@P1 nvarchar(255)");
    RpcParameter stmt;
    stmt.name = "@stmt";
    stmt.value = std::string("SELECT COUNT(*) FROM ELN_parameters WHERE name = @P1");
    RpcParameter value;
    value.value = std::string("database guid");
    std::vector<RpcParameter> prep{handle, defs, stmt, value};
    RecordingSink sink;
    s->executeRpc("sp_prepexec", prep, sink);
    ASSERT_TRUE(sink.errors().empty()) << sink.errors()[0].text;
    EXPECT_EQ(sink.rows(), (std::vector<std::vector<Value>>{{V(1)}}));
    ASSERT_TRUE(std::holds_alternative<int64_t>(prep[0].value));
    RpcParameter again = intParam("@handle", std::get<int64_t>(prep[0].value));
    RpcParameter other;
    other.value = std::string("nothing");
    std::vector<RpcParameter> exec{again, other};
    RecordingSink sink2;
    s->executeRpc("sp_execute", exec, sink2);
    EXPECT_EQ(sink2.rows(), (std::vector<std::vector<Value>>{{V(0)}}));
}

TEST_F(ProceduresTest, DatabasesListedBySpDatabases)
{
    auto s = sa();
    auto sink = ok(*s, "EXEC sp_databases");
    auto cols = sink.columnsOf(0);
    ASSERT_EQ(cols.size(), 3u);
    EXPECT_EQ(cols[0].name, "DATABASE_NAME");
    EXPECT_EQ(cols[1].name, "DATABASE_SIZE");
    auto rows = sink.rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][0], V("master"));
    EXPECT_EQ(rows[1][0], V("LFDesktop10"));
    EXPECT_GT(std::get<int64_t>(rows[1][1]), 0);
}

TEST_F(ProceduresTest, FilesListedBySpHelpfile)
{
    auto s = sa("LFDesktop10");
    auto rows = ok(*s, "EXEC sp_helpfile").rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][0], V("LFDesktop10"));
    EXPECT_EQ(rows[0][3], V("PRIMARY"));
    EXPECT_EQ(rows[0][7], V("data only"));
    EXPECT_EQ(rows[1][0], V("LFDesktop10_log"));
    EXPECT_EQ(rows[1][7], V("log only"));
    EXPECT_EQ(ok(*s, "EXEC sp_helpfile 'LFDesktop10_log'").rows().size(), 1u);
}

TEST_F(ProceduresTest, OlderLoginProceduresInBatches)
{
    auto s = sa();
    ok(*s, "EXEC sp_addlogin 'tech', 'Tech-1', 'LFDesktop10'");
    EXPECT_EQ(scalar(*s, "SELECT default_database_name FROM sys.server_principals WHERE name = 'tech'"),
              V("LFDesktop10"));
    ok(*s, "EXEC sp_password NULL, 'Tech-2', 'tech'");
    EXPECT_TRUE(login("tech", "Tech-2", "master")); // its default database it may not enter
    ok(*s, "EXEC sp_droplogin 'tech'");
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM sys.server_principals WHERE name = 'tech'"), V(0));
    auto again = run(*s, "EXEC sp_droplogin 'tech'");
    ASSERT_EQ(again.errors().size(), 1u);
    EXPECT_EQ(again.errors()[0].number, 15151);
    ok(*s, "ALTER DATABASE LFDesktop10 SET RECOVERY FULL");
    EXPECT_EQ(scalar(*s, "SELECT recovery_model_desc FROM sys.databases WHERE name = 'LFDesktop10'"),
              V("FULL"));
    ok(*s, "ALTER DATABASE LFDesktop10 SET SINGLE_USER WITH ROLLBACK IMMEDIATE");
    EXPECT_EQ(scalar(*s, "SELECT user_access_desc FROM sys.databases WHERE name = 'LFDesktop10'"),
              V("SINGLE_USER"));
    auto unknown = run(*s, "ALTER DATABASE LFDesktop10 SET OFFLINE");
    ASSERT_EQ(unknown.errors().size(), 1u);
    EXPECT_EQ(unknown.errors()[0].number, 50000);
}
