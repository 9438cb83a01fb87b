// lf-standin with the real engine, through the FreeTDS ODBC driver over unixODBC: the way the
// product talks to SQL Server.

#include "OdbcTestClient.h"
#include "StandinServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

namespace {

using Rows = std::vector<std::vector<std::optional<std::string>>>;

std::vector<std::string> firstColumn(const Rows& rows)
{
    std::vector<std::string> out;
    for (const auto& r : rows)
        out.push_back(r.at(0).value_or("NULL"));
    return out;
}

bool contains(const std::vector<std::string>& v, const std::string& s)
{
    return std::find(v.begin(), v.end(), s) != v.end();
}

std::vector<std::string> messagesOf(const std::vector<OdbcDiag>& diags)
{
    std::vector<std::string> out;
    for (const OdbcDiag& d : diags)
        out.push_back(d.text);
    return out;
}

std::string sqlPath(const fs::path& p)
{
    return "N'" + p.string() + "'";
}

class StandinOdbcTest : public ::testing::Test {
protected:
    static StandinServer::Options options(int stepMillis = 50)
    {
        StandinServer::Options o;
        o.instances = {StandinServer::Instance{"MSSQLSERVER", "LABHOST", {{"chemist", "Secret-1"}}, {}}};
        o.progressStepMillis = stepMillis;
        return o;
    }
    std::string sa(const std::string& database = {}) const
    {
        return m_server->odbcConnectionString("sa", StandinServer::saPassword(), database);
    }
    void SetUp() override { m_server = std::make_unique<StandinServer>(options()); }

    // A database with one table of a few rows, for backup and restore.
    void createLabDatabase(OdbcConnection& c)
    {
        OdbcStatement s(c);
        s.execute("CREATE DATABASE Lab1");
        s.execute("CREATE TABLE Lab1.dbo.samples (id int PRIMARY KEY, name nvarchar(50))");
        s.execute("INSERT INTO Lab1.dbo.samples (id, name) VALUES (1, N'benzene'), (2, N'toluene'), (3, "
                  "N'xylene')");
    }

    std::unique_ptr<StandinServer> m_server;
};

} // namespace

TEST_F(StandinOdbcTest, SaLogsInAndListsDatabases)
{
    OdbcConnection c(sa());
    OdbcStatement s(c);
    s.execute("CREATE DATABASE Inventory");
    const auto names = firstColumn(s.query("SELECT name FROM sys.databases"));
    EXPECT_TRUE(contains(names, "master"));
    EXPECT_TRUE(contains(names, "Inventory"));
}

TEST_F(StandinOdbcTest, ClientsOfTds71To74AllGetLongTextAndDatabaseChanges)
{
    {
        OdbcConnection c(sa());
        OdbcStatement s(c);
        s.execute("CREATE DATABASE Notes");
        s.execute("CREATE TABLE Notes.dbo.n (id int, body ntext)");
        s.execute("INSERT INTO Notes.dbo.n VALUES (1, N'" + std::string(6000, 'z') + "'), (2, NULL)");
    }
    const std::string base = sa();
    for (const std::string version : {"7.1", "7.2", "7.3", "7.4"}) {
        SCOPED_TRACE("TDS " + version);
        std::string cs = base;
        cs.replace(cs.find("TDS_Version=7.4"), 15, "TDS_Version=" + version);
        OdbcConnection c(cs);
        OdbcStatement s(c);
        // Long text travels as ntext before 7.2 and as nvarchar(max) from 7.2 on.
        const auto rows = s.query("SELECT id, body FROM Notes.dbo.n ORDER BY id");
        ASSERT_EQ(rows.size(), 2u);
        EXPECT_EQ(rows[0][1], std::string(6000, 'z'));
        EXPECT_FALSE(rows[1][1].has_value());
        // USE reaches the driver as an ENVCHANGE: it then knows the current database.
        s.query("USE Notes");
        SQLCHAR catalog[128] = {};
        SQLINTEGER length = 0;
        ASSERT_TRUE(SQL_SUCCEEDED(
            SQLGetConnectAttr(c.handle(), SQL_ATTR_CURRENT_CATALOG, catalog, sizeof catalog, &length)));
        EXPECT_EQ(std::string(reinterpret_cast<char*>(catalog)), "Notes");
    }
}

TEST(StandinSeeded, ServesTheSeededDesktopDatabase)
{
    StandinServer::Options o;
    o.instances = {StandinServer::Instance{"VELDRIN", "LABSRV2", {}, {"--login", "chemist:Secret-1"}}};
    StandinServer server(o);
    OdbcConnection c(server.odbcConnectionString("chemist", "Secret-1", "LFDesktop10"));
    OdbcStatement s(c);
    const auto rows = s.query("SELECT name FROM ELN_parameters");
    EXPECT_EQ(firstColumn(rows), std::vector<std::string>{"database guid"});
    EXPECT_EQ(firstColumn(s.query("SELECT @@SERVERNAME")), std::vector<std::string>{"LABSRV2\\VELDRIN"});
}

TEST_F(StandinOdbcTest, ConfiguredLoginLogsIn)
{
    OdbcConnection c(m_server->odbcConnectionString("chemist", "Secret-1"));
    OdbcStatement s(c);
    EXPECT_EQ(firstColumn(s.query("SELECT SUSER_SNAME()")), std::vector<std::string>{"chemist"});
}

TEST_F(StandinOdbcTest, WrongPasswordShowsLoginFailed18456)
{
    try {
        OdbcConnection c(m_server->odbcConnectionString("sa", "not-the-password"));
        FAIL() << "the login succeeded";
    } catch (const OdbcError& e) {
        const bool found = std::any_of(e.diags.begin(), e.diags.end(), [](const OdbcDiag& d) {
            return d.native == 18456 && d.text.find("Login failed for user 'sa'") != std::string::npos;
        });
        EXPECT_TRUE(found) << e.what();
    }
}

TEST_F(StandinOdbcTest, EveryColumnTypeRoundTripsThroughLiteralsAndParameters)
{
    OdbcConnection c(sa());
    OdbcStatement s(c);
    s.execute("CREATE DATABASE Types");
    s.execute("CREATE TABLE Types.dbo.t (k int, i int, b bigint, sm smallint, ti tinyint, bt bit, f float, "
              "nv nvarchar(50), nvm ntext, v varchar(50), vm text, dt datetime, "
              "g uniqueidentifier, vb varbinary(100))");
    const std::string longText(9000, 'q');
    s.execute("INSERT INTO Types.dbo.t VALUES (1, -2147483648, 9223372036854775807, -32768, 255, 1, 2.5, "
              "N'caf\xC3\xA9', N'" +
              longText + "', 'plain', '" + longText +
              "', '2024-02-29 13:45:12.123', "
              "'6F9619FF-8B86-D011-B42D-00C04FC964FF', 0xDEADBEEF)");
    s.execute("INSERT INTO Types.dbo.t (k) VALUES (2)");

    // The same values again, as typed parameters (FreeTDS sends them through sp_executesql).
    OdbcStatement p(c);
    SQLINTEGER k = 3, i = -2147483647 - 1;
    SQLBIGINT b = 9223372036854775807LL;
    SQLSMALLINT sm = -32768;
    unsigned char ti = 255, bt = 1;
    double f = 2.5;
    SQLWCHAR nv[] = {'c', 'a', 'f', 0xE9, 0};
    std::u16string nvmText(longText.begin(), longText.end());
    char v[] = "plain";
    SQL_TIMESTAMP_STRUCT dt{2024, 2, 29, 13, 45, 12, 123000000};
    SQLGUID g{0x6F9619FF, 0x8B86, 0xD011, {0xB4, 0x2D, 0x00, 0xC0, 0x4F, 0xC9, 0x64, 0xFF}};
    unsigned char vb[] = {0xDE, 0xAD, 0xBE, 0xEF};
    SQLLEN nts = SQL_NTS, vbLen = 4, nvmLen = static_cast<SQLLEN>(nvmText.size() * 2), vmLen = 9000;
    SQLLEN zero = 0;
    int n = 0;
    auto bind = [&](SQLSMALLINT cType, SQLSMALLINT sqlType, SQLULEN size, SQLSMALLINT digits, void* value,
                    SQLLEN bufLen, SQLLEN* ind) {
        p.check(SQLBindParameter(p.handle(), static_cast<SQLUSMALLINT>(++n), SQL_PARAM_INPUT, cType, sqlType,
                                 size, digits, value, bufLen, ind),
                "SQLBindParameter");
    };
    bind(SQL_C_SLONG, SQL_INTEGER, 0, 0, &k, 0, &zero);
    bind(SQL_C_SLONG, SQL_INTEGER, 0, 0, &i, 0, &zero);
    bind(SQL_C_SBIGINT, SQL_BIGINT, 0, 0, &b, 0, &zero);
    bind(SQL_C_SSHORT, SQL_SMALLINT, 0, 0, &sm, 0, &zero);
    bind(SQL_C_UTINYINT, SQL_TINYINT, 0, 0, &ti, 0, &zero);
    bind(SQL_C_BIT, SQL_BIT, 0, 0, &bt, 0, &zero);
    bind(SQL_C_DOUBLE, SQL_DOUBLE, 0, 0, &f, 0, &zero);
    bind(SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, nv, sizeof nv, &nts);
    bind(SQL_C_WCHAR, SQL_WLONGVARCHAR, nvmText.size(), 0, nvmText.data(), nvmLen, &nvmLen);
    bind(SQL_C_CHAR, SQL_VARCHAR, 50, 0, v, sizeof v, &nts);
    bind(SQL_C_CHAR, SQL_LONGVARCHAR, longText.size(), 0, const_cast<char*>(longText.data()), vmLen, &vmLen);
    bind(SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 23, 3, &dt, 0, &zero);
    bind(SQL_C_GUID, SQL_GUID, 16, 0, &g, 0, &zero);
    bind(SQL_C_BINARY, SQL_VARBINARY, 100, 0, vb, 4, &vbLen);
    p.execute("INSERT INTO Types.dbo.t VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");

    const Rows rows =
        s.query("SELECT k, i, b, sm, ti, bt, f, nv, nvm, v, vm, dt, g, vb FROM Types.dbo.t ORDER BY k");
    ASSERT_EQ(rows.size(), 3u);
    for (size_t r : {size_t{0}, size_t{2}}) {
        SCOPED_TRACE("row " + std::to_string(r + 1));
        const auto& row = rows[r];
        EXPECT_EQ(row[1], "-2147483648");
        EXPECT_EQ(row[2], "9223372036854775807");
        EXPECT_EQ(row[3], "-32768");
        EXPECT_EQ(row[4], "255");
        EXPECT_EQ(row[5], "1");
        EXPECT_EQ(std::stod(row[6].value_or("0")), 2.5);
        EXPECT_EQ(row[7], "caf\xC3\xA9");
        EXPECT_EQ(row[8], longText);
        EXPECT_EQ(row[9], "plain");
        EXPECT_EQ(row[10], longText);
        EXPECT_EQ(row[11], "2024-02-29 13:45:12.123");
        EXPECT_EQ(row[12], "6F9619FF-8B86-D011-B42D-00C04FC964FF");
        EXPECT_EQ(row[13], "deadbeef");
    }
    // (max) values computed in a query rather than stored in a column, in several chunks each.
    std::string hex;
    for (int n = 0; n < 9000; ++n)
        hex += "a5";
    const Rows computed = s.query("SELECT CAST(N'" + longText + "' AS nvarchar(max)), CAST('" + longText +
                                  "' AS varchar(max)), CAST(0x" + hex + " AS varbinary(max))");
    ASSERT_EQ(computed.size(), 1u);
    EXPECT_EQ(computed[0][0], longText);
    EXPECT_EQ(computed[0][1], longText);
    EXPECT_EQ(computed[0][2], hex);
    // One character, not the two bytes of its UTF-8 form.
    EXPECT_EQ(firstColumn(s.query("SELECT LEN(nv) FROM Types.dbo.t WHERE k = 3")),
              std::vector<std::string>{"4"});
    for (size_t col = 1; col < rows[1].size(); ++col)
        EXPECT_FALSE(rows[1][col].has_value()) << "column " << col << " of the row of NULLs";
}

TEST_F(StandinOdbcTest, ProcedureCallReturnsStatusAndOutputParameter)
{
    OdbcConnection setup(sa());
    OdbcStatement s(setup);
    s.execute("CREATE DATABASE Desk");
    s.execute("CREATE TABLE Desk.dbo.ELN_sessions (session_key int, owner_key int, client_bias int, "
              "started datetime, ended datetime)");

    // The product's own session procedure: the new key comes back in an output parameter.
    OdbcConnection c(sa("Desk"));
    for (SQLINTEGER expectedKey : {1, 2}) {
        OdbcStatement call(c);
        SQLINTEGER status = -99, key = -1, owner = 12, bias = -60;
        SQLLEN statusInd = 0, keyInd = 0, ownerInd = 0, biasInd = 0;
        auto bind = [&](SQLUSMALLINT n, SQLSMALLINT io, SQLINTEGER* v, SQLLEN* ind) {
            call.check(SQLBindParameter(call.handle(), n, io, SQL_C_SLONG, SQL_INTEGER, 0, 0, v, 0, ind),
                       "bind");
        };
        bind(1, SQL_PARAM_OUTPUT, &status, &statusInd);
        bind(2, SQL_PARAM_OUTPUT, &key, &keyInd);
        bind(3, SQL_PARAM_INPUT, &owner, &ownerInd);
        bind(4, SQL_PARAM_INPUT, &bias, &biasInd);
        call.execute("{? = call start_session(?, ?, ?)}");
        while (SQLMoreResults(call.handle()) == SQL_SUCCESS) {
        }
        EXPECT_EQ(status, 0);
        EXPECT_EQ(key, expectedKey);
    }
    OdbcStatement check(c);
    const auto rows =
        check.query("SELECT session_key, owner_key, client_bias FROM ELN_sessions ORDER BY session_key");
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1], (std::vector<std::optional<std::string>>{"2", "12", "-60"}));
}

TEST_F(StandinOdbcTest, UserProcedureReturnsStatusAndOutputParameter)
{
    OdbcConnection c(sa());
    OdbcStatement s(c);
    s.execute("CREATE PROCEDURE add_one @a int, @b int OUTPUT AS BEGIN SET @b = @a + 1; RETURN 7; END");
    OdbcStatement call(c);
    SQLINTEGER status = 0, a = 41, b = 0;
    SQLLEN statusInd = 0, aInd = 0, bInd = 0;
    call.check(SQLBindParameter(call.handle(), 1, SQL_PARAM_OUTPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &status,
                                0, &statusInd),
               "bind status");
    call.check(
        SQLBindParameter(call.handle(), 2, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &a, 0, &aInd),
        "bind a");
    call.check(
        SQLBindParameter(call.handle(), 3, SQL_PARAM_OUTPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &b, 0, &bInd),
        "bind b");
    call.execute("{? = call add_one(?, ?)}");
    while (SQLMoreResults(call.handle()) == SQL_SUCCESS) {
    }
    EXPECT_EQ(status, 7);
    EXPECT_EQ(b, 42);
}

TEST_F(StandinOdbcTest, UnknownProcedureGivesError2812)
{
    OdbcConnection c(sa());
    OdbcStatement call(c);
    try {
        call.execute("{call no_such_procedure}");
        FAIL() << "the call succeeded";
    } catch (const OdbcError& e) {
        ASSERT_FALSE(e.diags.empty());
        EXPECT_EQ(e.diags[0].native, 2812) << e.what();
    }
}

TEST_F(StandinOdbcTest, ManualCommitModeRollsBackAndCommits)
{
    OdbcConnection c(sa());
    {
        OdbcStatement s(c);
        s.execute("CREATE DATABASE Ledger");
        s.execute("CREATE TABLE Ledger.dbo.entries (id int)");
    }
    // With autocommit off the driver begins, commits and rolls back through transaction-manager
    // requests rather than T-SQL.
    ASSERT_TRUE(SQL_SUCCEEDED(SQLSetConnectAttr(c.handle(), SQL_ATTR_AUTOCOMMIT,
                                                reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0)))
        << OdbcError("autocommit off", odbcDiagnostics(SQL_HANDLE_DBC, c.handle())).what();
    {
        OdbcStatement s(c);
        s.execute("INSERT INTO Ledger.dbo.entries VALUES (1)");
        EXPECT_EQ(firstColumn(s.query("SELECT @@TRANCOUNT")), std::vector<std::string>{"1"});
    }
    ASSERT_TRUE(SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, c.handle(), SQL_ROLLBACK)));
    {
        OdbcStatement s(c);
        EXPECT_EQ(firstColumn(s.query("SELECT COUNT(*) FROM Ledger.dbo.entries")),
                  std::vector<std::string>{"0"});
        s.execute("INSERT INTO Ledger.dbo.entries VALUES (2)");
    }
    ASSERT_TRUE(SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, c.handle(), SQL_COMMIT)));
    OdbcConnection other(sa("Ledger"));
    OdbcStatement s(other);
    EXPECT_EQ(firstColumn(s.query("SELECT id FROM entries")), std::vector<std::string>{"2"});

    ASSERT_TRUE(SQL_SUCCEEDED(SQLSetConnectAttr(c.handle(), SQL_ATTR_AUTOCOMMIT,
                                                reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), 0)));
    OdbcStatement after(c);
    EXPECT_EQ(firstColumn(after.query("SELECT @@TRANCOUNT")), std::vector<std::string>{"0"});
}

TEST_F(StandinOdbcTest, BackupProgressArrivesMessageByMessageBeforeTheBackupEnds)
{
    // Steps long enough that a busy machine still checks the file before the backup ends.
    m_server = std::make_unique<StandinServer>(options(200));
    OdbcConnection c(sa());
    createLabDatabase(c);
    const fs::path target = m_server->scratchFolder() / "lab1.bak";
    OdbcStatement s(c);
    SQLRETURN rc = s.execute("BACKUP DATABASE Lab1 TO DISK = " + sqlPath(target) + " WITH STATS = 10");
    // The driver hands back control at the first progress report. The backup file appears only
    // when the backup completes, so its absence now shows the report came first.
    ASSERT_EQ(rc, SQL_SUCCESS_WITH_INFO);
    std::vector<std::string> first = messagesOf(s.diagnostics());
    ASSERT_EQ(first, std::vector<std::string>{"[FreeTDS][SQL Server]10 percent processed."});
    EXPECT_FALSE(fs::exists(target));

    std::vector<std::string> later;
    while ((rc = SQLMoreResults(s.handle())) != SQL_NO_DATA) {
        s.check(rc, "SQLMoreResults");
        const auto m = messagesOf(s.diagnostics());
        const auto reports = std::count_if(m.begin(), m.end(), [](const std::string& text) {
            return text.find("percent processed.") != std::string::npos;
        });
        EXPECT_LE(reports, 1) << "progress reports should come one at a time";
        later.insert(later.end(), m.begin(), m.end());
    }
    ASSERT_FALSE(later.empty());
    EXPECT_NE(std::find(later.begin(), later.end(), "[FreeTDS][SQL Server]100 percent processed."),
              later.end());
    EXPECT_NE(later.back().find("BACKUP DATABASE successfully processed"), std::string::npos) << later.back();
    EXPECT_TRUE(fs::exists(target));
}

TEST_F(StandinOdbcTest, CancelFromAnotherThreadStopsABackupAndLeavesNoFile)
{
    m_server = std::make_unique<StandinServer>(options(200));
    OdbcConnection c(sa());
    createLabDatabase(c);
    const fs::path target = m_server->scratchFolder() / "cancelled.bak";
    OdbcStatement s(c);
    ASSERT_EQ(s.execute("BACKUP DATABASE Lab1 TO DISK = " + sqlPath(target) + " WITH STATS = 10"),
              SQL_SUCCESS_WITH_INFO);
    // The product's Stop button: SQLCancel from another thread while this one waits for the
    // next result. Should the cancel land between two calls instead, the driver processes it
    // inside SQLCancel: either way the diagnostics tell of the abort.
    std::atomic<bool> waiting{false};
    std::atomic<SQLRETURN> cancelled{SQL_SUCCESS};
    std::thread stopper([&] {
        while (!waiting)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        cancelled = SQLCancel(s.handle());
    });
    std::vector<std::string> messages;
    SQLRETURN rc;
    for (;;) {
        waiting = true;
        rc = SQLMoreResults(s.handle());
        const auto m = messagesOf(s.diagnostics());
        messages.insert(messages.end(), m.begin(), m.end());
        if (rc == SQL_NO_DATA || rc == SQL_ERROR)
            break;
    }
    stopper.join();
    for (const std::string& text : messages)
        EXPECT_EQ(text.find("successfully processed"), std::string::npos) << "the backup completed: " << text;
    const bool toldAborted = std::any_of(messages.begin(), messages.end(), [](const std::string& text) {
        return text.find("Operation was cancelled") != std::string::npos ||
               text.find("terminating abnormally") != std::string::npos;
    });
    // (SQL_ERROR from SQLCancel itself: it processed the abort between two calls.)
    EXPECT_TRUE(toldAborted || cancelled.load() == SQL_ERROR);
    EXPECT_FALSE(fs::exists(target));
    for (const auto& entry : fs::directory_iterator(m_server->scratchFolder()))
        ADD_FAILURE() << "left behind: " << entry.path();
    // The connection stays usable.
    OdbcStatement again(c);
    EXPECT_EQ(firstColumn(again.query("SELECT COUNT(*) FROM Lab1.dbo.samples")),
              std::vector<std::string>{"3"});
}

TEST_F(StandinOdbcTest, RestoreFileListAndRestoreWithMoveThenQuery)
{
    OdbcConnection c(sa());
    createLabDatabase(c);
    const fs::path backup = m_server->scratchFolder() / "lab1.bak";
    OdbcStatement s(c);
    s.query("BACKUP DATABASE Lab1 TO DISK = " + sqlPath(backup));

    const Rows files = s.query("RESTORE FILELISTONLY FROM DISK = " + sqlPath(backup));
    ASSERT_EQ(files.size(), 2u);
    std::vector<std::string> logical = firstColumn(files);
    EXPECT_TRUE(contains(logical, "Lab1"));
    EXPECT_TRUE(contains(logical, "Lab1_log"));

    const fs::path data = m_server->scratchFolder() / "Lab2.mdf";
    const fs::path log = m_server->scratchFolder() / "Lab2_log.ldf";
    s.query("RESTORE DATABASE Lab2 FROM DISK = " + sqlPath(backup) + " WITH MOVE N'Lab1' TO " +
            sqlPath(data) + ", MOVE N'Lab1_log' TO " + sqlPath(log) + ", STATS = 25");
    EXPECT_EQ(firstColumn(s.query("SELECT name FROM Lab2.dbo.samples ORDER BY id")),
              (std::vector<std::string>{"benzene", "toluene", "xylene"}));
    EXPECT_TRUE(contains(firstColumn(s.query("SELECT name FROM sys.databases")), "Lab2"));
}

TEST_F(StandinOdbcTest, TwentyClientsAtOnce)
{
    {
        OdbcConnection c(sa());
        OdbcStatement s(c);
        s.execute("CREATE DATABASE Busy");
        s.execute("CREATE TABLE Busy.dbo.hits (client int, n int)");
    }
    constexpr int kClients = 20;
    std::vector<std::thread> threads;
    std::atomic<int> succeeded{0};
    std::vector<std::string> failures(kClients);
    for (int t = 0; t < kClients; ++t)
        threads.emplace_back([&, t] {
            try {
                OdbcConnection c(sa("Busy"));
                OdbcStatement s(c);
                for (int n = 0; n < 5; ++n)
                    s.execute("INSERT INTO hits (client, n) VALUES (" + std::to_string(t) + ", " +
                              std::to_string(n) + ")");
                const auto rows = s.query("SELECT COUNT(*) FROM hits WHERE client = " + std::to_string(t));
                if (rows.at(0).at(0) == "5")
                    ++succeeded;
                else
                    failures[t] = "count " + rows.at(0).at(0).value_or("NULL");
            } catch (const std::exception& e) {
                failures[t] = e.what();
            }
        });
    for (auto& th : threads)
        th.join();
    for (int t = 0; t < kClients; ++t)
        EXPECT_EQ(failures[t], "") << "client " << t;
    EXPECT_EQ(succeeded.load(), kClients);
    OdbcConnection c(sa("Busy"));
    OdbcStatement s(c);
    EXPECT_EQ(firstColumn(s.query("SELECT COUNT(*) FROM hits")), std::vector<std::string>{"100"});
}

TEST_F(StandinOdbcTest, SigtermEndsOpenSessionsAndExitsCleanly)
{
    OdbcConnection c(sa());
    OdbcStatement s(c);
    s.query("SELECT name FROM sys.databases");
    EXPECT_EQ(m_server->stop(), 0);
    EXPECT_NE(m_server->output().find("stopped"), std::string::npos);
}
