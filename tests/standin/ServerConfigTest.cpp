#include "ServerConfig.h"

#include "TempDir.h"

#include <gtest/gtest.h>

using namespace standin::tds;

TEST(ServerConfig, ReadsInstancesFromTheFile)
{
    TempDir dir;
    const auto file = dir.write("standin.ini", "# two machines' worth\n"
                                               "[server]\n"
                                               "ssrp-port = 1434\n"
                                               "[instance VELDRIN]\n"
                                               "port = 14330\n"
                                               "data = veldrin\n"
                                               "machine = LABSRV2  # the remote one\n"
                                               "progress-step-ms = 5\n"
                                               "login = chemist Secret-1\n"
                                               "login = admin Adm-1 sysadmin\n"
                                               "[instance MSSQLSERVER]\n"
                                               "data = /tmp/default\n");
    const ServerSettings s = readConfigFile(file.string());
    EXPECT_EQ(s.resolutionPort, 1434);
    ASSERT_EQ(s.instances.size(), 2u);
    EXPECT_EQ(s.instances[0].config.instanceName, "VELDRIN");
    EXPECT_EQ(s.instances[0].port, 14330);
    EXPECT_EQ(s.instances[0].config.dataFolder, (dir.path() / "veldrin").string());
    EXPECT_EQ(s.instances[0].config.machineName, "LABSRV2");
    EXPECT_EQ(s.instances[0].config.progressStepMillis, 5);
    ASSERT_EQ(s.instances[0].logins.size(), 2u);
    EXPECT_FALSE(s.instances[0].logins[0].sysadmin);
    EXPECT_TRUE(s.instances[0].logins[1].sysadmin);
    EXPECT_EQ(s.instances[1].config.dataFolder, "/tmp/default");
    EXPECT_EQ(s.instances[1].config.machineName, ""); // the engine's to decide
}

TEST(ServerConfig, MistakesNameTheLine)
{
    TempDir dir;
    const auto bad = [&](const std::string& text, const std::string& expected) {
        const auto file = dir.write("bad.ini", text);
        try {
            readConfigFile(file.string());
            ADD_FAILURE() << "accepted: " << text;
        } catch (const ConfigError& e) {
            EXPECT_NE(std::string(e.what()).find(expected), std::string::npos) << e.what();
        }
    };
    bad("[instance A]\nport = 70000\ndata = x\n", "bad.ini:2");
    bad("[instance A]\ncolour = red\n", "unknown setting");
    bad("port = 1\n", "must follow");
    bad("[instance A;B]\ndata = x\n", "not an instance name");
    bad("[instance A]\ndata = x\n[instance a]\ndata = y\n", "configured twice");
    bad("[server]\n", "no instance");
    EXPECT_THROW(readConfigFile((dir.path() / "missing.ini").string()), ConfigError);
}

TEST(ServerConfig, CommandLineForOneInstance)
{
    const ServerSettings s =
        parseCommandLine({"--data", "/tmp/x", "--instance", "VELDRIN", "--port", "0", "--ssrp-port", "1500",
                          "--login", "chemist:Se:cret-1", "--login", "boss:B-1:sysadmin"});
    ASSERT_EQ(s.instances.size(), 1u);
    EXPECT_EQ(s.instances[0].config.instanceName, "VELDRIN");
    EXPECT_EQ(s.resolutionPort, 1500);
    EXPECT_EQ(s.instances[0].logins.at(0).password, "Se:cret-1");
    EXPECT_FALSE(s.instances[0].logins.at(0).sysadmin);
    EXPECT_EQ(s.instances[0].logins.at(1).password, "B-1");
    EXPECT_TRUE(s.instances[0].logins.at(1).sysadmin);
    EXPECT_EQ(parseCommandLine({"--data", "/tmp/x"}).instances.at(0).config.instanceName, "");
    EXPECT_THROW(parseCommandLine({}), ConfigError);
    EXPECT_THROW(parseCommandLine({"--data"}), ConfigError);
    EXPECT_THROW(parseCommandLine({"--data", "/x", "--frobnicate"}), ConfigError);
    EXPECT_THROW(parseCommandLine({"--config", "a.ini", "--port", "1"}), ConfigError);
}

TEST(ServerConfig, LoginTimeOutComesFromTheFileOrTheCommandLine)
{
    TempDir dir;
    const auto file = dir.write("standin.ini", "[instance A]\n"
                                               "data = a\n"
                                               "login-timeout-ms = 250\n"
                                               "[instance B]\n"
                                               "data = b\n");
    const ServerSettings s = readConfigFile(file.string());
    ASSERT_EQ(s.instances.size(), 2u);
    EXPECT_EQ(s.instances[0].loginTimeoutMillis, 250);
    EXPECT_EQ(s.instances[1].loginTimeoutMillis, 60000);

    const ServerSettings single = parseCommandLine({"--data", "/tmp/x", "--login-timeout-ms", "1500"});
    ASSERT_EQ(single.instances.size(), 1u);
    EXPECT_EQ(single.instances[0].loginTimeoutMillis, 1500);
    EXPECT_THROW(parseCommandLine({"--data", "/tmp/x", "--login-timeout-ms", "soon"}), ConfigError);
}
