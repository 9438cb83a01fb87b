// lf-standin through FreeTDS's own command-line client, tsql, driven over pipes.

#include "StandinServer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;
namespace fs = std::filesystem;

namespace {

// tsql with its input and (merged) output on pipes, read as it is produced.
class Tsql {
public:
    explicit Tsql(const std::vector<std::string>& args)
    {
        int in[2], out[2];
        EXPECT_EQ(pipe2(in, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(out, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], 0);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_adddup2(&actions, out[1], 2);
        std::vector<std::string> all{"/usr/bin/tsql"};
        all.insert(all.end(), args.begin(), args.end());
        std::vector<char*> argv;
        for (auto& a : all)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        const int rc = posix_spawn(&m_pid, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(in[0]);
        close(out[1]);
        m_in = in[1];
        m_out = out[0];
        if (rc != 0)
            throw std::runtime_error("cannot start tsql");
    }
    ~Tsql()
    {
        if (m_in >= 0)
            close(m_in);
        if (m_pid > 0) {
            kill(m_pid, SIGTERM);
            waitpid(m_pid, nullptr, 0);
        }
        close(m_out);
    }

    void send(const std::string& text)
    {
        ASSERT_EQ(write(m_in, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void closeInput()
    {
        close(m_in);
        m_in = -1;
    }
    // Reads until the output contains needle; false on end of output or after 30 s.
    bool readUntil(const std::string& needle)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (m_output.find(needle) == std::string::npos) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                                  deadline - std::chrono::steady_clock::now())
                                  .count();
            pollfd p{m_out, POLLIN, 0};
            if (left <= 0 || poll(&p, 1, static_cast<int>(left)) <= 0)
                return false;
            char buf[4096];
            const ssize_t n = read(m_out, buf, sizeof buf);
            if (n <= 0)
                return false;
            m_output.append(buf, static_cast<size_t>(n));
        }
        return true;
    }
    // Waits for tsql to exit; returns its exit code.
    int wait()
    {
        readUntil("\x01never");
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    const std::string& output() const { return m_output; }

private:
    pid_t m_pid = -1;
    int m_in = -1;
    int m_out = -1;
    std::string m_output;
};

std::vector<std::string> connect(const StandinServer& server, const std::string& user,
                                 const std::string& password)
{
    return {"-H", server.host(), "-p", std::to_string(server.port()), "-U", user, "-P", password};
}

} // namespace

TEST(StandinTsql, ListsDatabasesAsInTheDemo)
{
    StandinServer server;
    Tsql tsql(connect(server, "sa", StandinServer::saPassword()));
    // tsql buffers its result output on a pipe: read it once tsql has exited.
    tsql.send("CREATE DATABASE Inventory\ngo\nSELECT name FROM sys.databases\ngo\nexit\n");
    EXPECT_EQ(tsql.wait(), 0);
    EXPECT_NE(tsql.output().find("\nmaster\n"), std::string::npos) << tsql.output();
    EXPECT_NE(tsql.output().find("\nInventory\n"), std::string::npos) << tsql.output();
    EXPECT_NE(tsql.output().find("(2 rows affected)"), std::string::npos) << tsql.output();
}

TEST(StandinTsql, BadPasswordShowsLoginFailed)
{
    StandinServer server;
    Tsql tsql(connect(server, "sa", "wrong-password"));
    tsql.closeInput();
    EXPECT_NE(tsql.wait(), 0);
    EXPECT_NE(tsql.output().find("Msg 18456"), std::string::npos) << tsql.output();
    EXPECT_NE(tsql.output().find("Login failed for user 'sa'."), std::string::npos) << tsql.output();
}

TEST(StandinTsql, BackupProgressIsPrintedWhileTheBackupRuns)
{
    StandinServer::Options o;
    o.progressStepMillis = 200;
    StandinServer server(o);
    const fs::path target = server.scratchFolder() / "master.bak";
    Tsql tsql(connect(server, "sa", StandinServer::saPassword()));
    tsql.send("BACKUP DATABASE master TO DISK = N'" + target.string() + "' WITH STATS = 10\ngo\n");
    ASSERT_TRUE(tsql.readUntil("10 percent processed.")) << tsql.output();
    // The file is renamed into place only when the backup completes.
    EXPECT_FALSE(fs::exists(target)) << "the first report came only after the backup ended";
    ASSERT_TRUE(tsql.readUntil("BACKUP DATABASE successfully processed")) << tsql.output();
    EXPECT_NE(tsql.output().find("50 percent processed."), std::string::npos);
    tsql.send("exit\n");
    EXPECT_EQ(tsql.wait(), 0);
    EXPECT_TRUE(fs::exists(target));
}
