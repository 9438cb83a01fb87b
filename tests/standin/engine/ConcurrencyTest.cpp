#include "EngineFixture.h"

#include <thread>

using namespace standin;

class ConcurrencyTest : public EngineTest {};

// Several client connections on several threads write to the same table and run catalog
// statements at the same time; every insert must land and every session must stay usable.
TEST_F(ConcurrencyTest, SessionsOnThreadsWriteTheSameDatabase)
{
    {
        auto s = sa();
        ok(*s, "CREATE DATABASE Busy; USE Busy; CREATE TABLE log (id int IDENTITY(1,1) PRIMARY KEY, "
               "worker int, n int)");
    }
    constexpr int kThreads = 6;
    constexpr int kInserts = 40;
    std::vector<std::thread> threads;
    std::vector<std::string> failures(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            LoginRequest r;
            r.userName = "sa";
            r.password = saPassword();
            r.database = "Busy";
            ServerMessage error;
            auto s = m_instance->login(r, error);
            if (!s) {
                failures[t] = error.text;
                return;
            }
            for (int i = 0; i < kInserts; ++i) {
                RecordingSink sink;
                s->executeBatch("INSERT INTO log (worker, n) VALUES (" + std::to_string(t) + ", " +
                                    std::to_string(i) + "); SELECT COUNT(*) FROM sys.databases",
                                sink);
                if (!sink.errors().empty()) {
                    failures[t] = sink.errors()[0].text;
                    return;
                }
            }
        });
    }
    for (auto& th : threads)
        th.join();
    for (const auto& f : failures)
        EXPECT_EQ(f, "");
    auto s = sa("Busy");
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM log"), V(kThreads * kInserts));
    EXPECT_EQ(scalar(*s, "SELECT COUNT(DISTINCT worker) FROM log"), V(kThreads));
}

TEST_F(ConcurrencyTest, BackupWhileAnotherSessionWrites)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Live; USE Live; CREATE TABLE t (x int); INSERT INTO t VALUES (1)");
    const std::string bak = (m_dir.path() / "live.bak").string();
    std::thread writer([&] {
        auto w = sa("Live");
        for (int i = 0; i < 20; ++i)
            ok(*w, "INSERT INTO t VALUES (2)");
    });
    auto backup = ok(*s, "BACKUP DATABASE Live TO DISK = '" + bak + "' WITH INIT, STATS = 20");
    writer.join();
    ok(*s, "RESTORE VERIFYONLY FROM DISK = '" + bak + "'");
    ok(*s, "USE master; RESTORE DATABASE LiveCopy FROM DISK = '" + bak + "' WITH MOVE 'Live' TO '" +
               (m_dir.path() / "copy.mdf").string() + "', MOVE 'Live_log' TO '" +
               (m_dir.path() / "copy.ldf").string() + "'");
    auto copy = sa("LiveCopy");
    const int64_t rows = std::get<int64_t>(scalar(*copy, "SELECT COUNT(*) FROM t"));
    EXPECT_GE(rows, 1);
    EXPECT_LE(rows, 21);
}

// An attention during a long result stops the rows; the session stays usable.
TEST_F(ConcurrencyTest, CancelStopsALongResult)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Long; USE Long; CREATE TABLE n (x int); INSERT INTO n VALUES (0)");
    for (int i = 0; i < 10; ++i)
        ok(*s, "INSERT INTO n SELECT x + 1 FROM n"); // 1024 rows
    class CancellingSink : public RecordingSink {
    public:
        void row(const std::vector<Value>& r) override
        {
            RecordingSink::row(r);
            cancel = true;
        }
    } sink;
    s->executeBatch("SELECT x FROM n; SELECT 1", sink);
    EXPECT_GE(sink.rows().size(), 1u);
    EXPECT_LT(sink.rows().size(), 1024u);
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM n"), V(1024));
}
