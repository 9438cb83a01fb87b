#include "EngineFixture.h"

#include <cstdlib>
#include <filesystem>
#include <sys/wait.h>

using namespace standin;
namespace fs = std::filesystem;

// Runs the seeding command as the demo and the end-to-end tests do, then looks at the result
// through the engine.
class SeedTest : public ::testing::Test {
protected:
    TempDir m_dir;

    int seed(const std::string& arguments)
    {
        const std::string command = std::string("'") + LF_STANDIN_SEED + "' --data '" +
                                    (m_dir.path() / "data").string() + "' " + arguments + " > '" +
                                    (m_dir.path() / "out.txt").string() + "' 2>&1";
        return std::system(command.c_str());
    }

    std::unique_ptr<Instance> open()
    {
        InstanceConfig c;
        c.dataFolder = (m_dir.path() / "data").string();
        return openInstance(c);
    }

    // The seeded desktop database, as the stand-in's sa (its password as the seed set it).
    std::unique_ptr<Session> saSession(Instance& instance)
    {
        LoginRequest r;
        r.userName = "sa";
        const char* env = std::getenv("LABFOLIO_STANDIN_SA_PASSWORD");
        r.password = env && *env ? env : "Labfolio-sa1";
        r.database = "LFDesktop10";
        ServerMessage error;
        auto s = instance.login(r, error);
        EXPECT_TRUE(s) << error.text;
        return s;
    }
};

TEST_F(SeedTest, CreatesTheDesktopDatabaseWithUsersLoginsAndStructures)
{
    m_dir.write("structures/b.cdxml", "<?xml version=\"1.0\"?>\n<CDXML><page id=\"2\"/></CDXML>\n");
    m_dir.write("structures/a.cdxml", "<?xml version=\"1.0\"?>\n<CDXML><page id=\"1\"/></CDXML>\n");
    m_dir.write("structures/notes.txt", "ignored");
    ASSERT_EQ(seed("--machine PC1 --instance VELDRIN --user 'LAB\\alice:admin' --user 'LAB\\bob' "
                   "--login 'tester:Pw-1:dbcreator' --structures '" +
                   (m_dir.path() / "structures").string() + "'"),
              0);
    auto instance = open();
    EXPECT_EQ(instance->config().machineName, "PC1");
    EXPECT_EQ(instance->config().instanceName, "VELDRIN");

    LoginRequest r;
    r.userName = "tester";
    r.password = "Pw-1";
    r.database = "LFDesktop10";
    ServerMessage error;
    auto s = instance->login(r, error);
    ASSERT_TRUE(s) << error.text;
    auto run = [&](const std::string& sql) {
        RecordingSink sink;
        s->executeBatch(sql, sink);
        for (const auto& e : sink.errors())
            ADD_FAILURE() << e.text;
        return sink.rows();
    };
    EXPECT_EQ(run("SELECT @@SERVERNAME"), (std::vector<std::vector<Value>>{{V("PC1\\VELDRIN")}}));
    EXPECT_EQ(run("SELECT COUNT(*) from ELN_people WHERE Username = 'LAB\\alice'"),
              (std::vector<std::vector<Value>>{{V(1)}}));
    EXPECT_EQ(run("SELECT Username, is_administrator FROM ELN_people ORDER BY Username"),
              (std::vector<std::vector<Value>>{{V("LAB\\alice"), V(1)}, {V("LAB\\bob"), V(0)}}));
    auto guid = run("SELECT data FROM ELN_parameters WHERE name = N'database guid'");
    ASSERT_EQ(guid.size(), 1u);
    EXPECT_EQ(std::get<std::string>(guid[0][0]).size(), 36u);
    auto structures =
        run("SELECT CDXML, MOL_ID, primary_key FROM ELN_chemical_structures ORDER by primary_key");
    ASSERT_EQ(structures.size(), 2u);
    EXPECT_NE(std::get<std::string>(structures[0][0]).find("id=\"1\""), std::string::npos);
    EXPECT_EQ(structures[1][2], V(2));
    EXPECT_EQ(run("SELECT IS_SRVROLEMEMBER('dbcreator')"), (std::vector<std::vector<Value>>{{V(1)}}));

    // The Windows users come in with integrated security; alice is a sysadmin.
    LoginRequest w;
    w.userName = "LAB\\alice";
    w.windowsAuthenticated = true;
    auto alice = instance->login(w, error);
    ASSERT_TRUE(alice) << error.text;
    RecordingSink sink;
    alice->executeBatch("SELECT IS_SRVROLEMEMBER('sysadmin'), HAS_DBACCESS('LFDesktop10')", sink);
    EXPECT_EQ(sink.rows(), (std::vector<std::vector<Value>>{{V(1), V(1)}}));
}

TEST_F(SeedTest, RefreshReplacesTheDatabaseAndBadArgumentsFail)
{
    ASSERT_EQ(seed("--user 'LAB\\alice' --user 'LAB\\bob'"), 0);
    ASSERT_EQ(seed("--user 'LAB\\carol'"), 0);
    // Arguments that cannot work are refused before anything is touched.
    EXPECT_NE(seed("--user nodomain"), 0);
    EXPECT_NE(seed("--structures '" + (m_dir.path() / "missing.txt").string() + "'"), 0);
    auto instance = open();
    auto s = saSession(*instance);
    ASSERT_TRUE(s);
    RecordingSink sink;
    s->executeBatch("SELECT Username FROM ELN_people", sink);
    EXPECT_EQ(sink.rows(), (std::vector<std::vector<Value>>{{V("LAB\\carol")}}));
}

TEST_F(SeedTest, StructuresInSeveralTransactionsAllArriveInFileOrder)
{
    // More rows than one transaction of the seeding takes, and a last one left partly filled.
    std::string lines;
    for (int i = 1; i <= 2345; ++i)
        lines += "<CDXML n=\"" + std::to_string(i) + "\"/>\n";
    m_dir.write("structures.txt", lines);
    ASSERT_EQ(seed("--structures '" + (m_dir.path() / "structures.txt").string() + "'"), 0);
    auto instance = open();
    auto s = saSession(*instance);
    ASSERT_TRUE(s);
    RecordingSink sink;
    s->executeBatch("SELECT primary_key, CDXML FROM ELN_chemical_structures ORDER BY primary_key", sink);
    const auto rows = sink.rows();
    ASSERT_EQ(rows.size(), 2345u);
    for (size_t i = 0; i < rows.size(); ++i) {
        ASSERT_EQ(rows[i][0], V(static_cast<int>(i + 1)));
        ASSERT_EQ(std::get<std::string>(rows[i][1]), "<CDXML n=\"" + std::to_string(i + 1) + "\"/>");
    }
}

TEST_F(SeedTest, ExitStatusTellsBadArgumentsFromFailures)
{
    EXPECT_EQ(WEXITSTATUS(seed("--user nodomain")), 2);
    // A password SQL Server would take but this instance's sa does not know: the seeding
    // itself fails.
    ASSERT_EQ(seed(""), 0);
    const std::string command = std::string("LABFOLIO_STANDIN_SA_PASSWORD=wrong '") + LF_STANDIN_SEED +
                                "' --data '" + (m_dir.path() / "data").string() + "' > /dev/null 2>&1";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
}
