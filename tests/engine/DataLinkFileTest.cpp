#include "DataLinkFile.h"

#include "LfError.h"
#include "TempDir.h"

#include <gtest/gtest.h>

namespace {

std::string readAll(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string utf16(const std::string& ascii)
{
    std::string out;
    for (char c : ascii) {
        out += c;
        out += '\0';
    }
    return out;
}

TEST(DataLinkFileTest, BytesAreTheThreePartsInUtf16WithoutAFinalLineBreak)
{
    const std::string expected =
        "\xFF\xFE" + utf16("[oledb]\r\n; Everything after this line is an OLE DB initstring\r\n"
                           "Provider=SQLOLEDB.1;Data Source=S");
    EXPECT_EQ(engine::DataLinkFileBytes("Provider=SQLOLEDB.1;Data Source=S"), expected);
}

TEST(DataLinkFileTest, FileForADatabaseHoldsTheTrustedStringAndEndsWithItsLastCharacter)
{
    TempDir dir;
    const auto path = dir.path() / "LFDesktop10.udl";
    engine::WriteDataLinkFileFor(path, "HOST\\VELDRIN", "LFDesktop10", "Test");
    const std::string bytes = readAll(path);
    ASSERT_GE(bytes.size(), 4u);
    EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE");
    EXPECT_EQ(bytes.substr(bytes.size() - 2), utf16("N"));
    EXPECT_EQ(
        engine::ReadDataLinkFileLines(path, "Test"),
        (std::vector<std::string>{"[oledb]", "; Everything after this line is an OLE DB initstring",
                                  "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;"
                                  "Initial Catalog=LFDesktop10;Data Source=HOST\\VELDRIN"}));
}

TEST(DataLinkFileTest, NonAsciiNamesRoundTrip)
{
    TempDir dir;
    const auto path = dir.path() / "x.udl";
    engine::WriteDataLinkFile(path, "Data Source=Labor-Müller\\Ω", "Test");
    EXPECT_EQ(engine::ReadDataLinkFileLines(path, "Test").back(), "Data Source=Labor-Müller\\Ω");
}

TEST(DataLinkFileTest, Utf8FileWithoutMarkIsReadAsItStands)
{
    TempDir dir;
    const auto path = dir.write("x.udl", "[oledb]\nData Source=S1\n");
    EXPECT_EQ(engine::ReadDataLinkFileLines(path, "Test"),
              (std::vector<std::string>{"[oledb]", "Data Source=S1"}));
}

TEST(DataLinkFileTest, EmptyFileHasNoLines)
{
    TempDir dir;
    EXPECT_TRUE(engine::ReadDataLinkFileLines(dir.write("x.udl", ""), "Test").empty());
}

TEST(DataLinkFileTest, MissingFileOrFolderRaisesAClearError)
{
    TempDir dir;
    for (const auto& path : {dir.path() / "none.udl", dir.path()}) {
        try {
            engine::ReadDataLinkFileLines(path, "Src");
            FAIL() << path;
        } catch (const LfError& e) {
            EXPECT_EQ(e.number(), 0x80040201u);
            EXPECT_EQ(e.source(), "Src");
            EXPECT_EQ(
                e.description().rfind("while reading the data link file \"" + path.string() + "\": ", 0), 0u)
                << e.description();
        }
    }
}

} // namespace
