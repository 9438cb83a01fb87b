// Database connections opened from the wizard's connection strings, against the stand-in.
#include <thread>

#include <gtest/gtest.h>

#include "Connection.h"
#include "SQLServerUtils.h"
#include "ServerManager.h"
#include "sqlserver_E2eSupport.h"

using namespace sqlserver;

namespace {

struct Desktop {
    Desktop() : m({StandinMachine::instance("VELDRIN")})
    {
        m.sa("VELDRIN")->Execute("CREATE DATABASE LFDesktop10");
        auto c = m.sa("VELDRIN", "LFDesktop10");
        c->Execute("CREATE TABLE ELN_chemical_structures (primary_key int NOT NULL PRIMARY KEY, CDXML "
                   "nvarchar(max) NULL, "
                   "MOL_ID int NULL)");
        for (int i = 1; i <= 25; ++i)
            c->Execute("INSERT INTO ELN_chemical_structures (primary_key, CDXML, MOL_ID) VALUES (" +
                       std::to_string(i) + ", " +
                       (i % 5 ? "N'<CDXML>" + std::to_string(i) + "</CDXML>'" : std::string("NULL")) +
                       ", 0)");
    }
    std::unique_ptr<Connection> open()
    {
        return OpenConnection(SQLServerUtils::BuildTrustedConnectionString("PC1\\VELDRIN", "LFDesktop10"));
    }
    StandinMachine m;
};

} // namespace

TEST(SessionE2e, TrustedStringOpensTheCatalogItNames)
{
    Desktop d;
    auto c = d.open();
    auto rs = c->OpenStatic("SELECT DB_NAME(), SUSER_SNAME()");
    ASSERT_FALSE(rs->IsEOF());
    EXPECT_EQ(rs->Field(0).toText(), "LFDesktop10");
    EXPECT_EQ(rs->Field(1).toText(), kWizardLogin);
}

TEST(SessionE2e, LoginFormAuthenticatesWithTheWindowsIdentity)
{
    Desktop d;
    auto c = OpenConnection(
        SQLServerUtils::BuildLoginConnectionString("PC1\\VELDRIN", "LFDesktop10", "chemist", ""));
    auto rs = c->OpenStatic("SELECT SUSER_SNAME()");
    EXPECT_EQ(rs->Field(0).toText(), kWizardLogin);
}

TEST(SessionE2e, ExecuteReturnsRowsAffected)
{
    Desktop d;
    auto c = d.open();
    EXPECT_EQ(c->Execute("UPDATE ELN_chemical_structures SET MOL_ID = 1 WHERE primary_key <= 3"), 3);
    EXPECT_THROW(c->Execute("SELECT * FROM no_such_table"), LfError);
}

TEST(SessionE2e, ServerErrorsCarryTheServersNumberAndText)
{
    Desktop d;
    auto c = d.open();
    try {
        c->Execute("SELECT * FROM no_such_table");
        FAIL();
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u + 208u);
        EXPECT_NE(e.description().find("no_such_table"), std::string::npos) << e.description();
        EXPECT_EQ(e.description().find("[FreeTDS]"), std::string::npos);
    }
}

TEST(SessionE2e, ForwardRecordSetWalksTheRows)
{
    Desktop d;
    auto c = d.open();
    auto rs = c->OpenForward("SELECT primary_key, CDXML FROM ELN_chemical_structures ORDER by primary_key");
    int n = 0, nulls = 0;
    for (; !rs->IsEOF(); rs->MoveNext()) {
        ++n;
        EXPECT_EQ(rs->Field("primary_key").toInt(), n);
        if (rs->Field("cdxml").isNull())
            ++nulls;
    }
    EXPECT_EQ(n, 25);
    EXPECT_EQ(nulls, 5);
    EXPECT_EQ(rs->RecordCount(), -1);
}

TEST(SessionE2e, StaticRecordSetUpdatedRowByRowAndSavedInOneBatch)
{
    Desktop d;
    auto c = d.open();
    auto count = c->OpenStatic("SELECT COUNT(*) FROM ELN_chemical_structures");
    EXPECT_EQ(count->Field(0).toInt(), 25);
    count->Close();

    auto rs =
        c->OpenStatic("SELECT CDXML, MOL_ID, primary_key FROM ELN_chemical_structures ORDER by primary_key",
                      UpdateTarget{"ELN_chemical_structures", "primary_key"});
    EXPECT_EQ(rs->RecordCount(), 25);
    int id = 100;
    for (; !rs->IsEOF(); rs->MoveNext())
        rs->SetField("MOL_ID", ++id);
    // Nothing reaches the server before the batch update.
    EXPECT_EQ(
        d.m.sa("VELDRIN", "LFDesktop10")->scalar("SELECT SUM(MOL_ID) FROM ELN_chemical_structures").toInt(),
        0);
    EXPECT_EQ(rs->UpdateBatch(), 25);
    auto check = d.m.sa("VELDRIN", "LFDesktop10")
                     ->query("SELECT primary_key, MOL_ID FROM ELN_chemical_structures ORDER BY primary_key");
    ASSERT_EQ(check.size(), 25u);
    for (const auto& row : check)
        EXPECT_EQ(row[1].toInt(), 100 + row[0].toInt());
}

TEST(SessionE2e, StoredProcedureWithAnIntegerOutputParameter)
{
    Desktop d;
    // The product's session table; the stand-in runs start_session and end_session itself.
    d.m.sa("VELDRIN", "LFDesktop10")
        ->Execute("CREATE TABLE ELN_sessions (session_key int NOT NULL, owner_key int NOT NULL, client_bias "
                  "int NULL, "
                  "started datetime NULL, ended datetime NULL)");
    auto c = d.open();
    std::vector<IntParam> first{
        {":sessionKey", true, 0}, {":ownerKey", false, 1}, {":clientBias", false, -60}};
    c->CallProcedure("start_session", first);
    std::vector<IntParam> second{
        {":sessionKey", true, 0}, {":ownerKey", false, 7}, {":clientBias", false, 120}};
    c->CallProcedure("start_session", second);
    EXPECT_EQ(first[0].value, 1);
    EXPECT_EQ(second[0].value, 2);
    EXPECT_EQ(second[1].value, 7); // inputs stay as they were
    std::vector<IntParam> end{{":sessionKey", false, second[0].value}};
    c->CallProcedure("end_session", end);

    const auto rows =
        d.m.sa("VELDRIN", "LFDesktop10")
            ->query(
                "SELECT session_key, owner_key, client_bias, ended FROM ELN_sessions ORDER BY session_key");
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][1].toInt(), 1);
    EXPECT_EQ(rows[0][2].toInt(), -60);
    EXPECT_TRUE(rows[0][3].isNull());
    EXPECT_EQ(rows[1][1].toInt(), 7);
    EXPECT_FALSE(rows[1][3].isNull());
}

TEST(SessionE2e, UnknownProcedureIsTheServersError)
{
    Desktop d;
    auto c = d.open();
    std::vector<IntParam> params{{":sessionKey", true, 0}};
    try {
        c->CallProcedure("no_such_procedure", params);
        FAIL();
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u + 2812u);
        EXPECT_NE(e.description().find("no_such_procedure"), std::string::npos) << e.description();
    }
}

TEST(SessionE2e, InformationalMessagesArriveOneByOneInOrder)
{
    Desktop d;
    auto c = d.open();
    std::vector<std::string> texts;
    c->SetMessageHandler([&](const ServerMessage& m) { texts.push_back(m.text); });
    c->Execute("PRINT 'first'\nPRINT 'second'\nSELECT 1\nPRINT 'third'");
    EXPECT_EQ(texts, (std::vector<std::string>{"first", "second", "third"}));
}

TEST(SessionE2e, CancelFromAnotherThreadStopsARunningStatement)
{
    Desktop d;
    auto c = d.open();
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        c->Cancel();
    });
    // A wait that ran to its end would not raise.
    EXPECT_THROW(c->Execute("WAITFOR DELAY '00:00:20'"), LfError);
    canceller.join();
    EXPECT_EQ(c->OpenStatic("SELECT 5")->Field(0).toInt(), 5); // the connection goes on
}

TEST(SessionE2e, DatabaseOpenedWithASqlServerLogin)
{
    Desktop d;
    d.m.sa("VELDRIN", "LFDesktop10")->Execute("EXEC sp_grantdbaccess 'chemist'");
    ConnectOptions o;
    o.server = "PC1\\VELDRIN";
    o.loginSecure = false;
    o.user = "chemist";
    o.password = "Chemist-pw1";
    o.loginTimeoutSeconds = 10;
    auto c = OpenDatabase(o, "LFDesktop10");
    auto rs = c->OpenStatic("SELECT SUSER_SNAME(), DB_NAME()");
    EXPECT_EQ(rs->Field(0).toText(), "chemist");
    EXPECT_EQ(rs->Field(1).toText(), "LFDesktop10");

    o.password = "wrong";
    try {
        OpenDatabase(o, "LFDesktop10");
        FAIL() << "connected";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u + 18456u);
    }
}

TEST(SessionE2e, UpdateThatTouchesNothingCountsZeroAndLaterRowsStillCome)
{
    Desktop d;
    auto c = d.open();
    EXPECT_EQ(c->Execute("UPDATE ELN_chemical_structures SET MOL_ID = 1 WHERE primary_key < 0"), 0);
    auto rs = c->OpenForward("UPDATE ELN_chemical_structures SET MOL_ID = 1 WHERE primary_key < 0\n"
                             "SELECT COUNT(*) AS n FROM ELN_chemical_structures");
    ASSERT_FALSE(rs->IsEOF());
    EXPECT_EQ(rs->Field("n").toInt(), 25);
}

TEST(SessionE2e, LongTextComesWhole)
{
    Desktop d;
    std::string big = "<CDXML>";
    for (int i = 0; big.size() < 70000; ++i)
        big += "<n id=\"" + std::to_string(i) + "\" p=\"1.5 2.5\" Element=\"6\"/>";
    big += "</CDXML>";
    d.m.sa("VELDRIN", "LFDesktop10")
        ->Execute("UPDATE ELN_chemical_structures SET CDXML = N'" + big + "' WHERE primary_key = 2");
    auto c = d.open();
    auto rs = c->OpenStatic("SELECT CDXML FROM ELN_chemical_structures WHERE primary_key = 2");
    ASSERT_FALSE(rs->IsEOF());
    EXPECT_EQ(rs->Field("CDXML").actualSize(), big.size());
    EXPECT_EQ(rs->Field("CDXML").toText(), big);
}

TEST(SessionE2e, ClosedConnectionAndDisconnectedServerRefuseWork)
{
    Desktop d;
    auto c = d.open();
    c->Close();
    try {
        c->Execute("SELECT 1");
        FAIL();
    } catch (const LfError& e) {
        EXPECT_EQ(e.description(), "the operation is not allowed when the connection is closed");
    }
    ConnectOptions o;
    o.server = "PC1\\VELDRIN";
    auto s = serverManager().Connect(o);
    s->DisConnect();
    s->DisConnect(); // twice is harmless
    EXPECT_THROW(s->Databases(), LfError);
}
