#include "Login7.h"
#include "Login7Builder.h"
#include "PreLogin.h"

#include <gtest/gtest.h>

using namespace standin::tds;

namespace {

// A LOGIN7 record from a client named WS1.
Bytes buildLogin(uint32_t version, const std::string& user, const std::string& password,
                 const std::string& db)
{
    Login7Fields f;
    f.hostName = "WS1";
    f.userName = user;
    f.password = password;
    f.appName = "app";
    f.serverName = "srv";
    f.libraryName = "ODBC";
    f.database = db;
    f.tdsVersion = version;
    f.packetSize = 8192;
    f.processId = 1234;
    return buildLogin7(f);
}

} // namespace

TEST(Login7, DecodesNamesAndTheObfuscatedPassword)
{
    const Login7Request login = parseLogin7(buildLogin(0x74000004, "chemist",
                                                       "S\xC3\xA9"
                                                       "cret-1",
                                                       "Labfolio"));
    EXPECT_EQ(login.userName, "chemist");
    EXPECT_EQ(login.password, "S\xC3\xA9"
                              "cret-1");
    EXPECT_EQ(login.database, "Labfolio");
    EXPECT_EQ(login.hostName, "WS1");
    EXPECT_EQ(login.appName, "app");
    EXPECT_EQ(login.packetSize, 8192u);
    EXPECT_FALSE(login.integratedSecurity);
}

TEST(Login7, FieldPointingOutsideTheRecordIsRejected)
{
    Bytes login = buildLogin(0x74000004, "sa", "pw", "");
    login[36 + 4] = 0xF0; // user name offset far past the end
    login[36 + 5] = 0x7F;
    EXPECT_THROW(parseLogin7(login), ProtocolError);
    EXPECT_THROW(parseLogin7(Bytes(20, 0)), ProtocolError);
}

TEST(Login7, AnswersWithTheVersionTheClientCanTake)
{
    EXPECT_EQ(negotiateTdsVersion(0x74000004), kTds74);
    EXPECT_EQ(negotiateTdsVersion(0x730B0003), kTds73B);
    EXPECT_EQ(negotiateTdsVersion(0x72090002), kTds72);
    EXPECT_EQ(negotiateTdsVersion(0x71000001), kTds71);
    EXPECT_EQ(negotiateTdsVersion(0x01000071), kTds71); // sent the other way round
    EXPECT_EQ(negotiateTdsVersion(0x75000000), kTds74);
    EXPECT_EQ(negotiateTdsVersion(0x70000000), 0u);
}

TEST(PreLogin, AnswerSaysEncryptionIsNotSupported)
{
    const Bytes answer = buildPreLoginResponse("9.00.5000.00");
    const PreLoginRequest parsed = parsePreLogin(answer);
    EXPECT_TRUE(parsed.hasEncryption);
    EXPECT_EQ(parsed.encryption, kEncryptNotSupported);
    // VERSION option: 9.0, build 5000 (0x1388)
    ASSERT_EQ(answer[0], 0x00);
    const size_t at = (answer[1] << 8) | answer[2];
    EXPECT_EQ(answer[at], 9);
    EXPECT_EQ(answer[at + 2], 0x13);
    EXPECT_EQ(answer[at + 3], 0x88);
}

TEST(PreLogin, OptionPastTheEndIsRejected)
{
    const Bytes bad{0x01, 0x00, 0x40, 0x00, 0x01, 0xFF};
    EXPECT_THROW(parsePreLogin(bad), ProtocolError);
    EXPECT_THROW(parsePreLogin(Bytes{0x01, 0x00}), ProtocolError);
}
