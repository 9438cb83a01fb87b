#include "ServiceInstallerFixture.h"

using namespace servicefiles_test;
using engine::ServerConfigFile;
using engine::ServiceEntry;

namespace {
constexpr const char* kDesktopEntry =
    "<service><name>Desktop</name><type>Desktop</type><authentication>Windows"
    "</authentication><LoggingFlags>0</LoggingFlags></service>";
}

class ServiceInstallerTest : public ServiceInstallerFixture {};

TEST_F(ServiceInstallerTest, FirstDesktopInstallationCreatesTheListWithOneEntry)
{
    m_installer.InstallDesktopService();
    EXPECT_EQ(ReadBytes(local("LFClientConfig.xml")),
              std::string("<services>") + kDesktopEntry + "</services>");
    EXPECT_EQ(Snapshot(m_appData).size(), 1u);
    EXPECT_TRUE(m_prompter.shown().empty());
}

TEST_F(ServiceInstallerTest, TwoDesktopInstallationsLeaveTwoIdenticalEntries)
{
    m_installer.InstallDesktopService();
    m_installer.InstallDesktopService();
    EXPECT_EQ(ReadBytes(local("LFClientConfig.xml")),
              std::string("<services>") + kDesktopEntry + kDesktopEntry + "</services>");
}

TEST_F(ServiceInstallerTest, ClientServerServiceFromALocalFolder)
{
    const auto folder = m_dir.path() / "svc";
    const std::string servicePath = makeService(folder);
    ASSERT_TRUE(engine::CheckServiceFile(servicePath));

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    EXPECT_EQ(listEntries(), (std::vector<ServiceEntry>{
                                 {"Chemistry Lab", "Client/Server", "Windows", "LabDataConfig.xml", "0"}}));
    const auto config = ServerConfigFile::Load(local("LabDataConfig.xml").string(), "Test");
    EXPECT_EQ(config.authenticator(), "LabfolioSQL9.SQLServerAuthenticator");
    EXPECT_EQ(config.connectionString(), "LabData.udl");
    EXPECT_EQ(config.mstFile(), (folder / "Labfolio.mst").string());
    EXPECT_EQ(config.version(), "10.0.109");
    EXPECT_EQ(ReadBytes(local("LabData.udl")), ReadBytes(folder / "LabData.udl"));
    EXPECT_EQ(engine::ReadDataLinkFileLines(local("LabData.udl"), "Test").back(), kTrusted);
    EXPECT_EQ(Snapshot(m_appData).size(), 3u) << "no temporary file is left";
    EXPECT_TRUE(m_prompter.shown().empty());
}

TEST_F(ServiceInstallerTest, ServiceOnACifsMountGetsTheHostSuffix)
{
    const auto share = m_dir.path() / "share";
    addMount("//SRV01/services", share, "cifs");
    const std::string servicePath = makeService(share / "lab");

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    EXPECT_EQ(listEntries(), (std::vector<ServiceEntry>{{"Chemistry Lab_SRV01", "Client/Server", "Windows",
                                                         "LabDataConfig_SRV01.xml", "0"}}));
    const auto config = ServerConfigFile::Load(local("LabDataConfig_SRV01.xml").string(), "Test");
    EXPECT_EQ(config.connectionString(), "LabData_SRV01.udl");
    EXPECT_EQ(config.mstFile(), (share / "lab" / "Labfolio.mst").string());
    EXPECT_EQ(ReadBytes(local("LabData_SRV01.udl")), ReadBytes(share / "lab" / "LabData.udl"));
    EXPECT_FALSE(std::filesystem::exists(local("LabDataConfig.xml")));
}

// A UNC path on this system is a relative name with backslashes in it: the service file and its
// neighbours are files of such names in the working folder, just as the share holds them.
TEST_F(ServiceInstallerTest, ServiceFromAUncPathGetsTheHostSuffix)
{
    const auto previous = std::filesystem::current_path();
    std::filesystem::current_path(m_dir.path());
    const std::string share = "\\\\LABSRV\\Services\\";
    engine::WriteServiceFile(share + "Lab.lfsvc", "Chemistry Lab", "Client/Server",
                             share + "LabDataConfig.xml", "T");
    engine::WriteServerConfigFile(share + "LabDataConfig.xml", share + "LabData.udl",
                                  "E:\\Index\\Labfolio.mst", "T");
    engine::WriteDataLinkFileFor(share + "LabData.udl", "LABSRV", "LabData", "T");

    m_installer.InstallServiceConfigurationFile(share + "Lab.lfsvc", "", "");
    std::filesystem::current_path(previous);

    EXPECT_EQ(listEntries(), (std::vector<ServiceEntry>{{"Chemistry Lab_LABSRV", "Client/Server", "Windows",
                                                         "LabDataConfig_LABSRV.xml", "0"}}));
    const auto config = ServerConfigFile::Load(local("LabDataConfig_LABSRV.xml").string(), "Test");
    EXPECT_EQ(config.connectionString(), "LabData_LABSRV.udl");
    EXPECT_EQ(config.mstFile(), share + "Labfolio.mst");
    EXPECT_EQ(ReadBytes(local("LabData_LABSRV.udl")), ReadBytes(m_dir.path() / (share + "LabData.udl")));
}

TEST_F(ServiceInstallerTest, ServicesOfTwoMachinesLiveSideBySide)
{
    addMount("//SRV01/services", m_dir.path() / "a", "cifs");
    addMount("srv02.lab:/export/services", m_dir.path() / "b", "nfs");
    m_installer.InstallServiceConfigurationFile(makeService(m_dir.path() / "a"), "", "");
    m_installer.InstallServiceConfigurationFile(makeService(m_dir.path() / "b"), "", "");

    const auto entries = listEntries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].name, "Chemistry Lab_SRV01");
    EXPECT_EQ(entries[1].name, "Chemistry Lab_srv02.lab");
    EXPECT_EQ(entries[1].configPath, "LabDataConfig_srv02.lab.xml");
    EXPECT_TRUE(std::filesystem::exists(local("LabData_SRV01.udl")));
    EXPECT_TRUE(std::filesystem::exists(local("LabData_srv02.lab.udl")));
    EXPECT_TRUE(m_prompter.shown().empty());
}

TEST_F(ServiceInstallerTest, OverwriteQuestionsAnsweredYesReplaceTheLocalCopies)
{
    const std::string servicePath = makeService(m_dir.path() / "svc");
    m_dir.write("Labfolio 10.0/LabDataConfig.xml",
                "<lfserver><connectionString>Old.udl</connectionString></lfserver>");
    m_dir.write("Labfolio 10.0/LabData.udl", "old data link");
    m_prompter.queueAnswer(MsgAnswer::Yes);
    m_prompter.queueAnswer(MsgAnswer::Yes);

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    ASSERT_EQ(m_prompter.shown().size(), 2u);
    EXPECT_EQ(m_prompter.shown()[0].title, "Confirm Replace Server Configuration File");
    EXPECT_EQ(m_prompter.shown()[0].text, "Overwrite the server configuration file \"LabDataConfig.xml\"?");
    EXPECT_EQ(m_prompter.shown()[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(m_prompter.shown()[1].title, "Confirm Replace Data Link File");
    EXPECT_EQ(m_prompter.shown()[1].text, "Overwrite the data link file \"LabData.udl\"?");
    EXPECT_EQ(m_prompter.shown()[1].buttons, MsgButtons::YesNo);
    EXPECT_EQ(ServerConfigFile::Load(local("LabDataConfig.xml").string(), "Test").connectionString(),
              "LabData.udl");
    EXPECT_EQ(ReadBytes(local("LabData.udl")), ReadBytes(m_dir.path() / "svc" / "LabData.udl"));
    EXPECT_EQ(listEntries().size(), 1u);
}

TEST_F(ServiceInstallerTest, OverwriteQuestionsAnsweredNoKeepTheLocalCopies)
{
    const std::string servicePath = makeService(m_dir.path() / "svc");
    const std::string oldConfig = "<lfserver><connectionString>Old.udl</connectionString><authenticator>Mine"
                                  "</authenticator><MSTFile>C:\\Mine.mst</MSTFile></lfserver>";
    m_dir.write("Labfolio 10.0/LabDataConfig.xml", oldConfig);
    m_dir.write("Labfolio 10.0/LabData.udl", "old data link");
    m_prompter.queueAnswer(MsgAnswer::No);
    m_prompter.queueAnswer(MsgAnswer::No);

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    EXPECT_EQ(m_prompter.shown().size(), 2u);
    // Only the authenticator is rewritten in the kept file.
    EXPECT_EQ(ReadBytes(local("LabDataConfig.xml")),
              "<lfserver><connectionString>Old.udl</connectionString><authenticator>LabfolioSQL9.SQLServer"
              "Authenticator</authenticator><MSTFile>C:\\Mine.mst</MSTFile></lfserver>");
    EXPECT_EQ(ReadBytes(local("LabData.udl")), "old data link");
    EXPECT_EQ(listEntries(), (std::vector<ServiceEntry>{
                                 {"Chemistry Lab", "Client/Server", "Windows", "LabDataConfig.xml", "0"}}));
}

TEST_F(ServiceInstallerTest, NoToTheServerConfigurationYesToTheDataLink)
{
    const std::string servicePath = makeService(m_dir.path() / "svc");
    m_dir.write("Labfolio 10.0/LabDataConfig.xml",
                "<lfserver><connectionString>LabData.udl</connectionString></lfserver>");
    m_dir.write("Labfolio 10.0/LabData.udl", "old data link");
    m_prompter.queueAnswer(MsgAnswer::No);
    m_prompter.queueAnswer(MsgAnswer::Yes);

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    EXPECT_EQ(ReadBytes(local("LabDataConfig.xml")),
              "<lfserver><connectionString>LabData.udl</connectionString>"
              "<authenticator>LabfolioSQL9.SQLServerAuthenticator</authenticator></lfserver>");
    EXPECT_EQ(ReadBytes(local("LabData.udl")), ReadBytes(m_dir.path() / "svc" / "LabData.udl"));
}

TEST_F(ServiceInstallerTest, PrefixedConnectionStringNamesTheSameDataLinkFile)
{
    const auto folder = m_dir.path() / "svc";
    const std::string servicePath = makeService(folder);
    m_dir.write("svc/LabDataConfig.xml",
                "<lfserver><connectionString>file name=LabData.udl</connectionString>"
                "<MSTFile>D:\\Lab\\Index.mst</MSTFile></lfserver>");

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    EXPECT_EQ(ReadBytes(local("LabData.udl")), ReadBytes(folder / "LabData.udl"));
    const auto config = ServerConfigFile::Load(local("LabDataConfig.xml").string(), "Test");
    EXPECT_EQ(config.connectionString(), "LabData.udl");
    EXPECT_EQ(config.mstFile(), (folder / "Index.mst").string());
}

TEST_F(ServiceInstallerTest, ExplicitServerConfigurationAndDataLinkPaths)
{
    const auto elsewhere = m_dir.path() / "elsewhere";
    makeService(elsewhere, "Other", "OtherConfig.xml", "Other.udl");
    const std::string servicePath = makeService(m_dir.path() / "svc");

    m_installer.InstallServiceConfigurationFile(servicePath, (elsewhere / "OtherConfig.xml").string(),
                                                (elsewhere / "Other.udl").string());

    // The local names come from the service file and the server configuration file read.
    EXPECT_EQ(listEntries()[0].configPath, "LabDataConfig.xml");
    EXPECT_EQ(ServerConfigFile::Load(local("LabDataConfig.xml").string(), "Test").mstFile(),
              (elsewhere / "Labfolio.mst").string());
    EXPECT_EQ(ReadBytes(local("Other.udl")), ReadBytes(elsewhere / "Other.udl"));
}

TEST_F(ServiceInstallerTest, ServiceInstalledFromTheApplicationDataFolderItself)
{
    const std::string servicePath = makeService(m_appData);
    const std::string configBefore = ReadBytes(local("LabDataConfig.xml"));
    const std::string dataLinkBefore = ReadBytes(local("LabData.udl"));

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    ASSERT_EQ(m_prompter.shown().size(), 2u) << "both local files exist already";
    std::string expected = configBefore;
    const std::string created = "LabfolioSQL9.SqlServerAuthenticator";
    expected.replace(expected.find(created), created.size(), "LabfolioSQL9.SQLServerAuthenticator");
    EXPECT_EQ(ReadBytes(local("LabDataConfig.xml")), expected) << "only the authenticator changes in place";
    EXPECT_EQ(ReadBytes(local("LabData.udl")), dataLinkBefore);
    EXPECT_EQ(listEntries().size(), 1u);
}

TEST_F(ServiceInstallerTest, DesktopServiceFileAddsAnEntryWithoutFiles)
{
    const auto servicePath = (m_dir.path() / "Desktop.lfsvc").string();
    engine::WriteServiceFile(servicePath, "Desktop", "Desktop", "", "Test");

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    EXPECT_EQ(ReadBytes(local("LFClientConfig.xml")),
              std::string("<services>") + kDesktopEntry + "</services>");
}

TEST_F(ServiceInstallerTest, NamesWithTheirOwnPathAreUsedAsTheyStandWithoutAsking)
{
    const auto folder = m_dir.path() / "svc";
    const std::string servicePath = makeService(folder);
    const std::string configPath = (folder / "LabDataConfig.xml").string();
    // configPath and connectionString hold full paths: the local copies are the files themselves.
    m_dir.write("svc/Chemistry Lab.lfsvc", "<service><name>Lab</name><type>Client/Server</type><configPath>" +
                                               configPath + "</configPath></service>");
    m_dir.write("svc/LabDataConfig.xml", "<lfserver><connectionString>" + (folder / "LabData.udl").string() +
                                             "</connectionString></lfserver>");

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    EXPECT_TRUE(m_prompter.shown().empty());
    EXPECT_EQ(listEntries()[0].configPath, configPath);
    EXPECT_EQ(ServerConfigFile::Load(configPath, "Test").authenticator(),
              "LabfolioSQL9.SQLServerAuthenticator");
    EXPECT_EQ(Snapshot(m_appData).size(), 1u) << "only the list is written locally";
}

TEST_F(ServiceInstallerTest, MissingServerConfigurationFileIsAnErrorAndNothingIsWritten)
{
    const std::string servicePath = makeService(m_dir.path() / "svc");
    std::filesystem::remove(m_dir.path() / "svc" / "LabDataConfig.xml");
    m_installer.InstallDesktopService();
    const auto before = Snapshot(m_appData);

    const LfError e = ErrorOf([&] { m_installer.InstallServiceConfigurationFile(servicePath, "", ""); });

    EXPECT_EQ(e.number(), 0x80040201u);
    EXPECT_EQ(e.source(), kSource);
    EXPECT_EQ(e.description(), "the server configuration file \"" +
                                   (m_dir.path() / "svc" / "LabDataConfig.xml").string() +
                                   "\" does not exist");
    EXPECT_EQ(Snapshot(m_appData), before);
}

TEST_F(ServiceInstallerTest, MissingDataLinkFileIsAnErrorAndNothingIsWritten)
{
    const std::string servicePath = makeService(m_dir.path() / "svc");
    std::filesystem::remove(m_dir.path() / "svc" / "LabData.udl");

    const LfError e = ErrorOf([&] { m_installer.InstallServiceConfigurationFile(servicePath, "", ""); });

    EXPECT_EQ(e.number(), 0x80040201u);
    EXPECT_EQ(e.source(), kSource);
    EXPECT_EQ(e.description(), "the data link file \"" + (m_dir.path() / "svc" / "LabData.udl").string() +
                                   "\" does not exist");
    EXPECT_FALSE(std::filesystem::exists(m_appData));
}

TEST_F(ServiceInstallerTest, InstalledFilesReadBackToTheWrittenValues)
{
    const auto folder = m_dir.path() / "svc";
    std::filesystem::create_directories(folder);
    const auto servicePath = (folder / "Round.lfsvc").string();
    engine::WriteServiceFile(servicePath, "Labor Müller", "Client/Server",
                             (folder / "RoundConfig.xml").string(), "T");
    engine::WriteServerConfigFile((folder / "RoundConfig.xml").string(), (folder / "Round.udl").string(),
                                  "Z:\\Index\\Round.mst", "T");
    engine::WriteDataLinkFile(folder / "Round.udl", kTrusted, "T");
    ASSERT_TRUE(engine::CheckServiceFile(servicePath));

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    EXPECT_EQ(listEntries(), (std::vector<ServiceEntry>{
                                 {"Labor Müller", "Client/Server", "Windows", "RoundConfig.xml", "0"}}));
    const auto config = ServerConfigFile::Load(local("RoundConfig.xml").string(), "T");
    EXPECT_EQ(config.dataLinkFileName(), "Round.udl");
    EXPECT_EQ(config.mstFile(), (folder / "Round.mst").string());
    const auto lines = engine::ReadDataLinkFileLines(local("Round.udl"), "Test");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "[oledb]");
    EXPECT_EQ(lines[2], kTrusted);
}

TEST_F(ServiceInstallerTest, DataLinkFilesMatchTheGoldenFileByteForByte)
{
    const auto folder = m_dir.path() / "svc";
    const std::string servicePath = makeService(folder);
    engine::WriteDataLinkFileFor(folder / "LabData.udl", "LABSRV\\VELDRIN", "LabData", "Test");

    m_installer.InstallServiceConfigurationFile(servicePath, "", "");

    const std::string golden = Golden("LabData.udl");
    EXPECT_EQ(ReadBytes(folder / "LabData.udl"), golden);
    EXPECT_EQ(ReadBytes(local("LabData.udl")), golden);
    EXPECT_EQ(golden.substr(0, 2), "\xFF\xFE");
    EXPECT_EQ(golden.substr(golden.size() - 2), std::string("N\0", 2)) << "ends with the last character";
}
