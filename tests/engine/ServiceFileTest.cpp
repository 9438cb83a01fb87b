#include "ServiceFile.h"

#include "ServiceFilesSupport.h"

#include <gtest/gtest.h>

using namespace servicefiles_test;
using engine::CheckServiceFile;
using engine::ServiceEntry;
using engine::ServiceFileCheck;

namespace {
constexpr const char* kSource = "DBMigrateProgressCtl.InstallServiceConfigurationFile";
}

TEST(ServiceFileTest, WriterMatchesGoldenFileByteForByte)
{
    TempDir dir;
    const auto path = (dir.path() / "ChemistryLab.lfsvc").string();
    engine::WriteServiceFile(path, "Labor Müller", "Client/Server", "D:\\Services\\LabDataConfig.xml",
                             kSource);
    EXPECT_EQ(ReadBytes(path), Golden("ChemistryLab.lfsvc"));
}

TEST(ServiceFileTest, DesktopServiceFileHasNoConfigPath)
{
    TempDir dir;
    const auto path = (dir.path() / "Desktop.lfsvc").string();
    engine::WriteServiceFile(path, "Desktop", "Desktop", "", kSource);
    EXPECT_EQ(ReadBytes(path), Golden("Desktop.lfsvc"));
}

TEST(ServiceFileTest, WriterReplacesAnExistingFileAndLeavesNoTemporaryFile)
{
    TempDir dir;
    const auto path = dir.write("a.lfsvc", std::string(5000, 'x'));
    engine::WriteServiceFile(path.string(), "Lab", "Client/Server", "/srv/Config.xml", kSource);
    EXPECT_EQ(ReadBytes(path),
              engine::ServiceFileBytes({"Lab", "Client/Server", "Windows", "Config.xml", "0"}));
    EXPECT_EQ(Snapshot(dir.path()).size(), 1u);
}

TEST(ServiceFileTest, CheckAcceptsAFileOfTheWriter)
{
    TempDir dir;
    const auto path = (dir.path() / "s.lfsvc").string();
    engine::WriteServiceFile(path, "Lab", "Client/Server", "Config.xml", kSource);
    const ServiceFileCheck check = CheckServiceFile(path);
    EXPECT_TRUE(check);
    EXPECT_EQ(check.status, ServiceFileCheck::Status::Recognized);
    EXPECT_EQ(check.message, "");
}

TEST(ServiceFileTest, CheckRefusesAFileThatIsNotXmlWithTheParsersReason)
{
    TempDir dir;
    const auto path = dir.write("s.lfsvc", "<service><name>Lab</service>").string();
    const ServiceFileCheck check = CheckServiceFile(path);
    EXPECT_FALSE(check);
    EXPECT_EQ(check.status, ServiceFileCheck::Status::NotWellFormed);
    EXPECT_EQ(check.reason, "Start-end tags mismatch at offset 20");
    EXPECT_EQ(check.message, "The file \"" + path +
                                 "\" is not a wellformed XML file (Start-end tags mismatch at offset 20).");
}

TEST(ServiceFileTest, CheckRefusesAMissingFile)
{
    TempDir dir;
    const auto path = (dir.path() / "none.lfsvc").string();
    const ServiceFileCheck check = CheckServiceFile(path);
    EXPECT_EQ(check.status, ServiceFileCheck::Status::NotWellFormed);
    EXPECT_EQ(check.message, "The file \"" + path + "\" is not a wellformed XML file (File was not found).");
}

TEST(ServiceFileTest, CheckRefusesARootOfAnotherCase)
{
    TempDir dir;
    const auto path = dir.write("s.lfsvc", "<Service><name>Lab</name></Service>").string();
    const ServiceFileCheck check = CheckServiceFile(path);
    EXPECT_EQ(check.status, ServiceFileCheck::Status::NotRecognized);
    EXPECT_EQ(check.message, "The file \"" + path + "\" is not a recognized service file.");
}

TEST(ServiceFileTest, CheckRefusesTwoTopLevelElementsAndStrayText)
{
    TempDir dir;
    const auto two = dir.write("two.lfsvc", "<service/><service/>").string();
    EXPECT_EQ(CheckServiceFile(two).reason, "More than one top-level element");
    const auto text = dir.write("text.lfsvc", "<service/>trailing").string();
    EXPECT_EQ(CheckServiceFile(text).reason, "Text outside the document element");
}

TEST(ServiceFileTest, ReaderReadsWhatTheWriterWrote)
{
    TempDir dir;
    const auto path = (dir.path() / "s.lfsvc").string();
    engine::WriteServiceFile(path, "Labor Müller", "Client/Server", "/x/LabDataConfig.xml", kSource);
    const ServiceEntry entry = engine::ReadServiceFile(path, kSource);
    EXPECT_EQ(entry, (ServiceEntry{"Labor Müller", "Client/Server", "Windows", "LabDataConfig.xml", "0"}));
}

TEST(ServiceFileTest, ReaderAcceptsAUtf16FileWithByteOrderMark)
{
    TempDir dir;
    const std::string xml = "<service><name>Lab</name><type>Desktop</type></service>";
    std::string bytes = "\xFF\xFE";
    for (char c : xml)
        bytes += std::string{c, '\0'};
    const auto path = dir.write("u16.lfsvc", bytes).string();
    EXPECT_TRUE(CheckServiceFile(path));
    EXPECT_EQ(engine::ReadServiceFile(path, kSource).name, "Lab");
}

TEST(ServiceFileTest, ReaderNamesEachProblemOfTheContents)
{
    TempDir dir;
    struct Case {
        const char* contents;
        const char* description; // after "the service file \"<path>\" "
    };
    const Case cases[] = {
        {"<service><type>Desktop</type></service>", "does not name its service"},
        {"<service><name>Lab</name></service>", "does not give the type of its service"},
        {"<service><name>Lab</name><type>client/server</type></service>",
         "gives the service type \"client/server\", which is neither \"Client/Server\" nor \"Desktop\""},
        {"<service><name>Lab</name><type>Client/Server</type></service>",
         "does not name its server configuration file"},
        {"<service><name>Lab</name><type>Client/Server</type><configPath></configPath></service>",
         "does not name its server configuration file"},
    };
    for (const Case& c : cases) {
        const auto path = dir.write("s.lfsvc", c.contents).string();
        const LfError e = ErrorOf([&] { engine::ReadServiceFile(path, kSource); });
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), kSource);
        EXPECT_EQ(e.description(), "the service file \"" + path + "\" " + c.description) << c.contents;
    }
}

TEST(ServiceFileTest, ReaderRefusesNamesAFileCannotHold)
{
    TempDir dir;
    const auto path = dir.write("s.lfsvc", "<service><name>Lab</name><type>Client/Server</"
                                           "type><configPath>Con|fig.xml</configPath></service>")
                          .string();
    EXPECT_EQ(
        ErrorOf([&] { engine::ReadServiceFile(path, kSource); }).description(),
        "the server configuration file name \"Con|fig.xml\" holds characters that a file name cannot hold");
}
