#include "ServicePaths.h"

#include "ServiceFilesSupport.h"

#include <gtest/gtest.h>

using namespace servicefiles_test;

namespace {
constexpr const char* kSource = "Test.Names";

std::string FileNameProblem(const std::string& name)
{
    try {
        engine::CheckFileName(name, "data link file", kSource);
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.source(), kSource);
        return e.description();
    }
    return "";
}
} // namespace

TEST(ServicePathsTest, MachineSuffixGoesBeforeTheExtension)
{
    EXPECT_EQ(engine::WithMachineSuffix("Config.xml", ".xml", "SRV01"), "Config_SRV01.xml");
    EXPECT_EQ(engine::WithMachineSuffix("Config.XML", ".xml", "SRV01"), "Config_SRV01.xml");
    EXPECT_EQ(engine::WithMachineSuffix("my.xml.Config.xml", ".xml", "H"), "my.xml.Config_H.xml");
    EXPECT_EQ(engine::WithMachineSuffix("LabData", ".udl", "H"), "LabData_H.udl");
    EXPECT_EQ(engine::WithMachineSuffix("LabData.udl", ".udl", ""), "LabData.udl");
}

TEST(ServicePathsTest, BothSeparatorsSplitFolderAndName)
{
    EXPECT_EQ(engine::FileNameOf("D:\\Services\\Labfolio.mst"), "Labfolio.mst");
    EXPECT_EQ(engine::FileNameOf("/srv/lab/Config.xml"), "Config.xml");
    EXPECT_EQ(engine::FileNameOf("Config.xml"), "Config.xml");
    EXPECT_TRUE(engine::HasPathSeparator("a\\b"));
    EXPECT_FALSE(engine::HasPathSeparator("a.b"));
}

TEST(ServicePathsTest, BesideKeepsTheSeparatorOfThePath)
{
    EXPECT_EQ(engine::Beside("\\\\LABSRV\\Services\\Lab.lfsvc", "Config.xml"),
              "\\\\LABSRV\\Services\\Config.xml");
    EXPECT_EQ(engine::Beside("/mnt/lab/Lab.lfsvc", "Config.xml"), "/mnt/lab/Config.xml");
    EXPECT_EQ(engine::Beside("Lab.lfsvc", "Config.xml"), "Config.xml");
    EXPECT_EQ(engine::Beside("/mnt/lab/Lab.lfsvc", "/etc/Config.xml"), "/etc/Config.xml");
    EXPECT_EQ(engine::Beside("/mnt/lab/Lab.lfsvc", "sub\\Config.xml"), "sub\\Config.xml");
}

TEST(ServicePathsTest, PathsCompareIgnoringCase)
{
    EXPECT_TRUE(engine::SamePathText("C:\\Data\\Config.xml", "c:\\data\\CONFIG.XML"));
    EXPECT_FALSE(engine::SamePathText("C:\\Data\\Config.xml", "C:\\Data\\Config.xm"));
}

TEST(ServicePathsTest, FileNamesAFileCannotHaveAreRefused)
{
    EXPECT_EQ(FileNameProblem("LabData.udl"), "");
    EXPECT_EQ(FileNameProblem("Labor Müller.udl"), "");
    EXPECT_EQ(FileNameProblem("D:\\Services\\LabData.udl"), "") << "the drive's colon is in the folder";
    for (const std::string& bad : std::vector<std::string>{"a<b", "a>b", "a:b", "a\"b", "a|b", "a?b", "a*b",
                                                           std::string("a\x01"
                                                                       "b"),
                                                           std::string("a\0b", 3), std::string("\xC3\x28")})
        EXPECT_EQ(FileNameProblem(bad),
                  "the data link file name \"" + bad + "\" holds characters that a file name cannot hold");
    EXPECT_EQ(FileNameProblem(""), "the data link file name \"\" does not name a file");
    EXPECT_EQ(FileNameProblem("/srv/"), "the data link file name \"/srv/\" does not name a file");
    EXPECT_EQ(FileNameProblem(".."), "the data link file name \"..\" does not name a file");
    EXPECT_EQ(FileNameProblem(std::string(256, 'a')),
              "the data link file name \"" + std::string(60, 'a') + "...\" is longer than 255 characters");
    EXPECT_EQ(FileNameProblem(std::string(255, 'a')), "");
}

TEST(ServicePathsTest, ServiceNamesTheListCannotHoldAreRefused)
{
    EXPECT_NO_THROW(engine::CheckServiceName("Labor Müller: Chemistry/Biology", kSource));
    EXPECT_EQ(ErrorOf([] { engine::CheckServiceName("", kSource); }).description(),
              "the service has no name");
    EXPECT_EQ(ErrorOf([] { engine::CheckServiceName(std::string(1 << 20, 'n'), kSource); }).description(),
              "the service name \"" + std::string(60, 'n') + "...\" is longer than 255 characters");
    EXPECT_EQ(ErrorOf([] { engine::CheckServiceName("tab\there", kSource); }).description(),
              "the service name \"tab\there\" holds characters that a service name cannot hold");
}

TEST(ServicePathsTest, ShortenedNamesDoNotSplitACharacter)
{
    const std::string name = std::string(59, 'a') + "ü" + "tail";
    EXPECT_EQ(engine::ShortenedForMessage(name), std::string(59, 'a') + "...");
}
