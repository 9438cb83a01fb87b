#include "ServiceInstallerFixture.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace servicefiles_test;

// Bad input, damaged lists and failing disks: each a clear error, and every file as it was.
class ServiceInstallerFailureTest : public ServiceInstallerFixture {
protected:
    // Installs and expects an error whose description contains `expected`; nothing may change
    // anywhere under the test's folder.
    void expectRefused(const std::string& servicePath, const std::string& expected)
    {
        const auto before = Snapshot(m_dir.path());
        const LfError e = ErrorOf([&] { m_installer.InstallServiceConfigurationFile(servicePath, "", ""); });
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), kSource);
        EXPECT_NE(e.description().find(expected), std::string::npos) << e.description();
        EXPECT_LT(e.description().size(), 400u) << "the message stays readable";
        EXPECT_EQ(Snapshot(m_dir.path()), before);
    }

    // Runs the installation in a child whose files may not grow beyond `limit` bytes, as on a
    // full disk; returns the child's exit status: 0 installed, 1 refused with an error.
    int installWithFileSizeLimit(const std::string& servicePath, rlim_t limit)
    {
        const pid_t child = fork();
        if (child == 0) {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit rl{limit, limit};
            setrlimit(RLIMIT_FSIZE, &rl);
            try {
                m_installer.InstallServiceConfigurationFile(servicePath, "", "");
            } catch (const LfError&) {
                _exit(1);
            }
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST_F(ServiceInstallerFailureTest, DamagedServiceFilesAreRefused)
{
    struct Case {
        std::string contents;
        std::string expected;
    };
    const std::string big(1 << 20, 'n');
    const std::string u16Truncated("\xFF\xFE<\0s\0e\0r\0", 10);
    const std::string u16OddLength("\xFF\xFE<\0s\0/\0>", 9);
    const Case cases[] = {
        {"", "is not a wellformed XML file (No document element found)"},
        {"<service><name>Lab</name><type>Client/Ser", "is not a wellformed XML file ("},
        {"<service><name>Lab</name>", "is not a wellformed XML file"},
        {"not xml at all", "is not a wellformed XML file"},
        {u16Truncated, "is not a wellformed XML file"},
        {u16OddLength, "is not a wellformed XML file"},
        {"<services><service><name>Lab</name></service></services>", "is not a recognized service file"},
        {"<Service><name>Lab</name><type>Desktop</type></Service>", "is not a recognized service file"},
        {"<lfserver><connectionString>x.udl</connectionString></lfserver>",
         "is not a recognized service file"},
        {"<service/>", "does not name its service"},
        {"<service><name></name><type>Desktop</type></service>", "the service has no name"},
        {"<service><name>Lab</name><type></type></service>",
         "which is neither \"Client/Server\" nor \"Desktop\""},
        {"<service><name>Lab</name><type>Client/Server</type><configPath/></service>",
         "does not name its server configuration file"},
        {"<service><name>" + big + "</name><type>Desktop</type></service>", "is longer than 255 characters"},
        {"<service><name>Lab</name><type>" + big + "</type></service>", "which is neither"},
        {"<service><name>Lab</name><type>Client/Server</type><configPath>" + big +
             ".xml</configPath></service>",
         "is longer than 255 characters"},
        {"<service><name>Lab&#1;</name><type>Desktop</type></service>",
         "holds characters that a service name cannot hold"},
        {"<service><name>Lab</name><type>Client/Server</type><configPath>a?.xml</configPath></service>",
         "holds characters that a file name cannot hold"},
        {"<service><name>Lab</name><type>Client/Server</type><configPath>LFClientConfig.xml</configPath></"
         "service>",
         "the server configuration file name \"LFClientConfig.xml\" would replace the service list"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.contents.substr(0, 80));
        const auto path = m_dir.write("bad.lfsvc", c.contents).string();
        expectRefused(path, c.expected);
    }
    EXPECT_TRUE(m_prompter.shown().empty());
}

TEST_F(ServiceInstallerFailureTest, DamagedServerConfigurationFilesAreRefused)
{
    const std::string servicePath = makeService(m_dir.path() / "svc");
    const std::string cases[][2] = {
        {"", "is not a wellformed XML file (No document element found)"},
        {"<lfserver><connectionString>LabData.udl</connection", "is not a wellformed XML file"},
        {"<config><connectionString>LabData.udl</connectionString></config>",
         "is not a recognized server configuration file"},
        {"<lfserver><authenticator>x</authenticator></lfserver>", "does not name its data link file"},
        {"<lfserver><connectionString/></lfserver>", "does not name its data link file"},
        {"<lfserver><connectionString>file name=</connectionString></lfserver>",
         "does not name its data link file"},
        {"<lfserver><connectionString>Lab\"Data.udl</connectionString></lfserver>",
         "holds characters that a file name cannot hold"},
        {"<lfserver><connectionString>" + std::string(300, 'd') + ".udl</connectionString></lfserver>",
         "is longer than 255 characters"},
        {"<lfserver><connectionString>LabDataConfig.xml</connectionString></lfserver>",
         "the data link file name \"LabDataConfig.xml\" would replace the server configuration file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c[0].substr(0, 80));
        m_dir.write("svc/LabDataConfig.xml", c[0]);
        expectRefused(servicePath, c[1]);
    }
}

TEST_F(ServiceInstallerFailureTest, DamagedServiceListIsRefusedAndKept)
{
    const std::string damaged = "<services><service><name>Mine</name></service";
    m_dir.write("Labfolio 10.0/LFClientConfig.xml", damaged);
    expectRefused(makeService(m_dir.path() / "svc"), "cannot be read (");
    const LfError e = ErrorOf([&] { m_installer.InstallDesktopService(); });
    EXPECT_EQ(e.source(), "DBMigrateProgressCtl.InstallDesktopService");
    EXPECT_EQ(ReadBytes(local("LFClientConfig.xml")), damaged);
}

TEST_F(ServiceInstallerFailureTest, FullDiskDuringTheListsSaveLeavesEverythingAsItWas)
{
    const std::string servicePath = makeService(m_dir.path() / "svc");
    // A list far longer than the other files: the data link and server configuration files fit
    // under the limit, the list does not.
    std::string list = "<services>";
    for (int i = 0; i < 200; ++i)
        list += "<service><name>Service " + std::to_string(i) + "</name><type>Desktop</type></service>";
    list += "</services>";
    m_dir.write("Labfolio 10.0/LFClientConfig.xml", list);
    m_dir.write("Labfolio 10.0/LabData.udl", "old data link");
    const auto before = Snapshot(m_dir.path());

    EXPECT_EQ(installWithFileSizeLimit(servicePath, 4096), 1);

    EXPECT_EQ(Snapshot(m_dir.path()), before)
        << "list, data link kept, new configuration removed, no temporary file";
    EXPECT_EQ(installWithFileSizeLimit(servicePath, RLIM_INFINITY), 0)
        << "the same installation fits without a limit";
    EXPECT_EQ(listEntries().size(), 201u);
}

TEST_F(ServiceInstallerFailureTest, FullDiskDuringTheDesktopListsSave)
{
    std::string list = "<services>";
    for (int i = 0; i < 200; ++i)
        list += "<service><name>Service " + std::to_string(i) + "</name><type>Desktop</type></service>";
    list += "</services>";
    m_dir.write("Labfolio 10.0/LFClientConfig.xml", list);
    const auto before = Snapshot(m_dir.path());

    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit rl{1024, 1024};
        setrlimit(RLIMIT_FSIZE, &rl);
        try {
            m_installer.InstallDesktopService();
        } catch (const LfError& e) {
            _exit(e.source() == "DBMigrateProgressCtl.InstallDesktopService" ? 1 : 2);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(Snapshot(m_dir.path()), before);
}

TEST_F(ServiceInstallerFailureTest, ApplicationDataFolderThatIsAFile)
{
    m_dir.write("Labfolio 10.0", "a file, not a folder");
    const auto before = Snapshot(m_dir.path());
    const LfError e = ErrorOf([&] { m_installer.InstallDesktopService(); });
    EXPECT_EQ(e.number(), 0x80040201u);
    EXPECT_EQ(e.description().rfind("while creating the folder \"" + m_appData + "\"", 0), 0u)
        << e.description();
    EXPECT_EQ(Snapshot(m_dir.path()), before);
}
