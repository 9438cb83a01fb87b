#include "RegFileRegistry.h"
#include "RegistryFixture.h"

#include <gtest/gtest.h>

namespace {

std::string utf16le(const std::string& ascii)
{
    std::string out = "\xFF\xFE";
    for (char c : ascii) {
        out += c;
        out += '\0';
    }
    return out;
}

std::optional<std::string> query(reg::Registry& r, reg::Hive hive, const std::string& key, const std::string& value,
                                 uint32_t* type = nullptr)
{
    reg::KeyHandle h = 0;
    if (r.openKey(hive, key, 0, reg::kKeyRead, h) != reg::kSuccess)
        return std::nullopt;
    unsigned char buffer[512] = {};
    uint32_t size = sizeof buffer;
    if (r.queryValue(h, value, type, buffer, &size) != reg::kSuccess)
        return std::nullopt;
    return std::string(reinterpret_cast<char*>(buffer), size);
}

const std::string kInstancesText = std::string(regtext::kHeader) + regtext::kInstancesMssqlVeldrin;

}  // namespace

TEST(RegFileRegistry, ReadsMultiStringWrittenByRegeditInUtf16)
{
    auto r = reg::RegFileRegistry::fromBytes(utf16le(kInstancesText));
    uint32_t type = 0;
    auto v = query(*r, reg::Hive::LocalMachine, "SOFTWARE\\Microsoft\\Microsoft SQL Server", "InstalledInstances", &type);
    ASSERT_TRUE(v.has_value());
    EXPECT_EQ(type, reg::kTypeMultiSz);
    EXPECT_EQ(*v, std::string("MSSQLSERVER\0VELDRIN\0\0", 21));
}

TEST(RegFileRegistry, ReadsTheSameFileInUtf8WithAndWithoutBom)
{
    for (const std::string& bytes : {kInstancesText, "\xEF\xBB\xBF" + kInstancesText}) {
        auto r = reg::RegFileRegistry::fromBytes(bytes);
        auto v = query(*r, reg::Hive::LocalMachine, "SOFTWARE\\Microsoft\\Microsoft SQL Server", "InstalledInstances");
        ASSERT_TRUE(v.has_value());
        EXPECT_EQ(*v, std::string("MSSQLSERVER\0VELDRIN\0\0", 21));
    }
}

TEST(RegFileRegistry, StringsCarryTheirTerminatorAndUnescapeBackslashesAndQuotes)
{
    auto r = reg::RegFileRegistry::fromBytes(
        "Windows Registry Editor Version 5.00\n\n"
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders]\n"
        "\"Common AppData\"=\"C:\\\\ProgramData\"\n"
        "\"Quoted\"=\"say \\\"hi\\\"\"\n"
        "@=\"default\"\n");
    const std::string key = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";
    EXPECT_EQ(query(*r, reg::Hive::LocalMachine, key, "Common AppData"), std::string("C:\\ProgramData\0", 15));
    EXPECT_EQ(query(*r, reg::Hive::LocalMachine, key, "Quoted"), std::string("say \"hi\"\0", 9));
    EXPECT_EQ(query(*r, reg::Hive::LocalMachine, key, ""), std::string("default\0", 8));
}

TEST(RegFileRegistry, KeysAndValueNamesIgnoreCaseAndParentsExist)
{
    auto r = reg::RegFileRegistry::fromBytes(kInstancesText);
    reg::KeyHandle h = 0;
    EXPECT_EQ(r->openKey(reg::Hive::LocalMachine, "software\\MICROSOFT\\microsoft sql server", 0, reg::kKeyRead, h), reg::kSuccess);
    EXPECT_EQ(r->openKey(reg::Hive::LocalMachine, "SOFTWARE\\Microsoft", 0, reg::kKeyRead, h), reg::kSuccess);
    EXPECT_TRUE(query(*r, reg::Hive::LocalMachine, "SOFTWARE\\Microsoft\\Microsoft SQL Server", "installedinstances"));
}

TEST(RegFileRegistry, MissingKeyMissingValueAndOtherHive)
{
    auto r = reg::RegFileRegistry::fromBytes(kInstancesText);
    reg::KeyHandle h = 0;
    EXPECT_EQ(r->openKey(reg::Hive::LocalMachine, "SOFTWARE\\Veldrin\\Labfolio\\10.0", 0, reg::kKeyRead, h),
              reg::kFileNotFound);
    EXPECT_EQ(r->openKey(reg::Hive::ClassesRoot, "SOFTWARE\\Microsoft\\Microsoft SQL Server", 0, reg::kKeyRead, h),
              reg::kFileNotFound);
    EXPECT_FALSE(query(*r, reg::Hive::LocalMachine, "SOFTWARE\\Microsoft\\Microsoft SQL Server", "NoSuchValue"));
    // A prefix of a key's last part is not that key.
    EXPECT_EQ(r->openKey(reg::Hive::LocalMachine, "SOFTWARE\\Microsoft\\Microsoft SQL", 0, reg::kKeyRead, h),
              reg::kFileNotFound);
}

TEST(RegFileRegistry, DeletionLinesAndCommentsAreIgnored)
{
    auto r = reg::RegFileRegistry::fromBytes(
        "Windows Registry Editor Version 5.00\r\n"
        "; a comment\r\n"
        "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Gone]\r\n"
        "\"Orphan\"=\"not in any key\"\r\n"
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Kept]\r\n"
        "\"Removed\"=-\r\n"
        "  ; indented comment\r\n"
        "\"Value\"=dword:0000002a\r\n");
    reg::KeyHandle h = 0;
    EXPECT_EQ(r->openKey(reg::Hive::LocalMachine, "SOFTWARE\\Gone", 0, reg::kKeyRead, h), reg::kFileNotFound);
    EXPECT_FALSE(query(*r, reg::Hive::LocalMachine, "SOFTWARE\\Kept", "Removed"));
    uint32_t type = 0;
    auto v = query(*r, reg::Hive::LocalMachine, "SOFTWARE\\Kept", "Value", &type);
    ASSERT_TRUE(v);
    EXPECT_EQ(type, reg::kTypeDword);
    EXPECT_EQ(*v, std::string("\x2a\0\0\0", 4));
}

TEST(RegFileRegistry, ExpandStringsAndRegedit4Files)
{
    auto v5 = reg::RegFileRegistry::fromBytes(
        "Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\K]\n\"E\"=hex(2):25,00,41,00,25,00,00,00\n");
    uint32_t type = 0;
    EXPECT_EQ(query(*v5, reg::Hive::LocalMachine, "K", "E", &type), std::string("%A%\0", 4));
    EXPECT_EQ(type, reg::kTypeExpandSz);
    auto v4 = reg::RegFileRegistry::fromBytes("REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\K]\n\"M\"=hex(7):41,00,42,00,00\n");
    EXPECT_EQ(query(*v4, reg::Hive::LocalMachine, "K", "M"), std::string("A\0B\0\0", 5));
}

TEST(RegFileRegistry, SmallBufferGetsMoreDataAndTheNeededSize)
{
    auto r = reg::RegFileRegistry::fromBytes(kInstancesText);
    reg::KeyHandle h = 0;
    ASSERT_EQ(r->openKey(reg::Hive::LocalMachine, "SOFTWARE\\Microsoft\\Microsoft SQL Server", 0, reg::kKeyRead, h),
              reg::kSuccess);
    unsigned char small[4];
    uint32_t size = sizeof small;
    EXPECT_EQ(r->queryValue(h, "InstalledInstances", nullptr, small, &size), reg::kMoreData);
    EXPECT_EQ(size, 21u);
}

TEST(RegFileRegistry, MissingFileIsAnEmptyRegistry)
{
    reg::RegFileRegistry r("/nonexistent/labfolio/registry.reg");
    reg::KeyHandle h = 0;
    EXPECT_EQ(r.openKey(reg::Hive::LocalMachine, "SOFTWARE", 0, reg::kKeyRead, h), reg::kFileNotFound);
}

std::string fromHex(const std::string& hex)
{
    std::string out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return out;
}

TEST(RegFileRegistry, DamagedFilesFoundByFuzzingReadWithoutThrowing)
{
    const std::string inputs[] = {
        fromHex("5b0a22223d6865783a3830303030303030"), // hex:80000000
        fromHex("5b0a22223d64776f72643a7a"),           // dword:z
        "[\n\"\"=dword:12345678901234567\n",
        fromHex("5b0a22223d686578287a293a"), // hex(z):
        fromHex("fffe5b000a00220022003d006800650078003a0064003000430045006500630064006500"),
    };
    for (const std::string& bytes : inputs) {
        std::unique_ptr<reg::RegFileRegistry> r;
        EXPECT_NO_THROW(r = reg::RegFileRegistry::fromBytes(bytes));
        ASSERT_TRUE(r);
        EXPECT_FALSE(query(*r, reg::Hive::LocalMachine, "", ""));
    }
}

TEST(RegFileRegistry, DamagedValuesAreSkippedAndTheRestOfTheFileIsRead)
{
    auto r = reg::RegFileRegistry::fromBytes("Windows Registry Editor Version 5.00\n"
                                             "[HKEY_LOCAL_MACHINE\\K]\n"
                                             "\"A\"=dword:z\n"
                                             "\"B\"=dword:123456789\n"
                                             "\"C\"=hex:80000000\n"
                                             "\"D\"=hex(z):41,00\n"
                                             "\"E\"=hex:4g,00\n"
                                             "\"F\"=hex(2):\n"
                                             "\"Good\"=dword:0000002a\n"
                                             "[HKEY_LOCAL_MACHINE\\L]\n"
                                             "\"Bin\"=hex:01, 02,ff\n");
    for (const char* damaged : {"A", "B", "C", "D", "E"})
        EXPECT_FALSE(query(*r, reg::Hive::LocalMachine, "K", damaged)) << damaged;
    uint32_t type = 0;
    EXPECT_EQ(query(*r, reg::Hive::LocalMachine, "K", "F", &type), std::string());
    EXPECT_EQ(type, reg::kTypeExpandSz);
    EXPECT_EQ(query(*r, reg::Hive::LocalMachine, "K", "Good"), std::string("\x2a\0\0\0", 4));
    EXPECT_EQ(query(*r, reg::Hive::LocalMachine, "L", "Bin"), std::string("\x01\x02\xff"));
}

TEST(RegFileRegistry, FolderInsteadOfAFileIsAnEmptyRegistry)
{
    TempDir dir;
    reg::RegFileRegistry r(dir.path().string());
    reg::KeyHandle h = 0;
    EXPECT_EQ(r.openKey(reg::Hive::LocalMachine, "SOFTWARE", 0, reg::kKeyRead, h), reg::kFileNotFound);
}

TEST(RegistryRead, KeepsReturnedSizeMinusOneAndFailsOnOversizedValues)
{
    const std::string big(600, 'x');
    RegistryFixture fixture(kInstancesText + "[HKEY_LOCAL_MACHINE\\Big]\r\n\"V\"=\"" + big + "\"\r\n");
    EXPECT_EQ(reg::readValue512(reg::Hive::LocalMachine, "SOFTWARE\\Microsoft\\Microsoft SQL Server",
                                "InstalledInstances"),
              std::string("MSSQLSERVER\0VELDRIN\0", 20));
    EXPECT_FALSE(reg::readValue512(reg::Hive::LocalMachine, "Big", "V"));
    EXPECT_TRUE(reg::keyExists(reg::Hive::LocalMachine, "Big"));
    EXPECT_FALSE(reg::keyExists(reg::Hive::LocalMachine, "Small"));
}

TEST(RegistryRead, MachineRegistryComesFromTheFileNamedInTheEnvironment)
{
    TempDir dir;
    const auto file = dir.write("machine.reg", std::string(regtext::kHeader) + regtext::kProductKey);
    setenv("LABFOLIO_REGISTRY", file.c_str(), 1);
    reg::ScopedRegistryOverride fresh(nullptr);   // the next use builds the machine registry anew
    EXPECT_TRUE(reg::keyExists(reg::Hive::LocalMachine, "SOFTWARE\\Veldrin\\Labfolio\\10.0"));
    unsetenv("LABFOLIO_REGISTRY");
}
