#include "ServerConfigFile.h"

#include "ServiceFilesSupport.h"

#include <gtest/gtest.h>

using namespace servicefiles_test;
using engine::ServerConfigFile;

namespace {
constexpr const char* kSource = "Test.ServerConfig";
}

TEST(ServerConfigFileTest, WriterMatchesGoldenFileByteForByte)
{
    TempDir dir;
    const auto path = (dir.path() / "LabDataConfig.xml").string();
    engine::WriteServerConfigFile(path, "D:\\Services\\LabData.udl", "D:\\Services\\Labfolio.mst", kSource);
    EXPECT_EQ(ReadBytes(path), Golden("LabDataConfig.xml"));
}

TEST(ServerConfigFileTest, NewFileCarriesTheCreatedAuthenticatorSpelling)
{
    const auto file = ServerConfigFile::Create("/srv/LabData.udl", "/srv/Labfolio.mst");
    EXPECT_EQ(file.authenticator(), "LabfolioSQL9.SqlServerAuthenticator");
    EXPECT_EQ(file.connectionString(), "LabData.udl");
    EXPECT_EQ(file.mstFile(), "/srv/Labfolio.mst");
    EXPECT_EQ(file.version(), "10.0.109");
}

TEST(ServerConfigFileTest, FileNamePrefixIsStrippedOnlyWhenExact)
{
    EXPECT_EQ(engine::StripFileNamePrefix("file name=LabData.udl"), "LabData.udl");
    EXPECT_EQ(engine::StripFileNamePrefix("LabData.udl"), "LabData.udl");
    EXPECT_EQ(engine::StripFileNamePrefix("File Name=LabData.udl"), "File Name=LabData.udl");
    EXPECT_EQ(engine::StripFileNamePrefix("file name="), "");
    EXPECT_EQ(engine::StripFileNamePrefix("file nam"), "file nam");
}

TEST(ServerConfigFileTest, PrefixedAndBareConnectionStringsNameTheSameDataLinkFile)
{
    TempDir dir;
    const auto prefixed =
        dir.write("a.xml", "<lfserver><connectionString>file name=LabData.udl</connectionString></lfserver>");
    const auto bare =
        dir.write("b.xml", "<lfserver><connectionString>LabData.udl</connectionString></lfserver>");
    EXPECT_EQ(ServerConfigFile::Load(prefixed.string(), kSource).dataLinkFileName(), "LabData.udl");
    EXPECT_EQ(ServerConfigFile::Load(bare.string(), kSource).dataLinkFileName(), "LabData.udl");
}

TEST(ServerConfigFileTest, RewritesKeepTheElementOrder)
{
    TempDir dir;
    const auto path = (dir.path() / "c.xml").string();
    engine::WriteServerConfigFile(path, "LabData.udl", "/srv/Labfolio.mst", kSource);
    auto file = ServerConfigFile::Load(path, kSource);
    file.setAuthenticator(ServerConfigFile::kInstalledAuthenticator);
    file.setMSTFile("/mnt/lab/Labfolio.mst");
    file.setConnectionString("LabData_SRV01.udl");
    EXPECT_EQ(file.bytes(), "<lfserver><connectionString>LabData_SRV01.udl</connectionString>"
                            "<authenticator>LabfolioSQL9.SQLServerAuthenticator</authenticator><schemaName/>"
                            "<LoggingFlags>0</LoggingFlags><webLogging>0</webLogging>"
                            "<MSTFile>/mnt/lab/Labfolio.mst</MSTFile><version>10.0.109</version></lfserver>");
}

TEST(ServerConfigFileTest, MissingElementsAreAddedInTheirPlace)
{
    TempDir dir;
    const auto path = dir.write(
        "c.xml", "<lfserver><connectionString>x.udl</connectionString><version>1</version></lfserver>");
    auto file = ServerConfigFile::Load(path.string(), kSource);
    file.setMSTFile("m.mst");
    file.setAuthenticator("A");
    EXPECT_EQ(file.bytes(),
              "<lfserver><connectionString>x.udl</connectionString><authenticator>A</authenticator>"
              "<MSTFile>m.mst</MSTFile><version>1</version></lfserver>");
}

TEST(ServerConfigFileTest, OtherContentSurvivesARewrite)
{
    TempDir dir;
    const auto path =
        dir.write("c.xml", "<lfserver><connectionString>x.udl</connectionString><extra>keep &amp; "
                           "this</extra><authenticator>old</authenticator></lfserver>");
    auto file = ServerConfigFile::Load(path.string(), kSource);
    file.setAuthenticator("new");
    EXPECT_EQ(file.bytes(),
              "<lfserver><connectionString>x.udl</connectionString><extra>keep &amp; this</extra>"
              "<authenticator>new</authenticator></lfserver>");
}

TEST(ServerConfigFileTest, LoadNamesEachProblem)
{
    TempDir dir;
    struct Case {
        const char* contents;
        const char* description; // %s stands for the path
    };
    const Case cases[] = {
        {"<lfserver><connectionString>x.udl</connectionString>",
         "the server configuration file \"%s\" is not a wellformed XML file (Start-end tags mismatch at "
         "offset 51)"},
        {"<lfServer><connectionString>x.udl</connectionString></lfServer>",
         "the file \"%s\" is not a recognized server configuration file"},
        {"<lfserver><authenticator>x</authenticator></lfserver>",
         "the server configuration file \"%s\" does not name its data link file"},
        {"<lfserver><connectionString>file name=</connectionString></lfserver>",
         "the server configuration file \"%s\" does not name its data link file"},
        {"<lfserver><connectionString>Lab*.udl</connectionString></lfserver>",
         "the data link file name \"Lab*.udl\" holds characters that a file name cannot hold"},
    };
    for (const Case& c : cases) {
        const auto path = dir.write("c.xml", c.contents).string();
        std::string expected = c.description;
        if (auto at = expected.find("%s"); at != std::string::npos)
            expected.replace(at, 2, path);
        const LfError e = ErrorOf([&] { ServerConfigFile::Load(path, kSource); });
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), kSource);
        EXPECT_EQ(e.description(), expected) << c.contents;
    }
}
