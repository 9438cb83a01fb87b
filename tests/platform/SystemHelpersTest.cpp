#include "DateUtils.h"
#include "FakeSystemInfo.h"
#include "LanguageUtils.h"
#include "LfError.h"
#include "SystemInfo.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

struct WithFakeSystem : ::testing::Test {
    std::shared_ptr<FakeSystemInfo> fake = std::make_shared<FakeSystemInfo>();
    sys::ScopedSystemOverride override{fake};
};

size_t codePoints(const std::string& utf8)
{
    size_t n = 0;
    for (unsigned char c : utf8)
        n += (c & 0xC0) != 0x80;
    return n;
}

}  // namespace

using TimeZoneBias = WithFakeSystem;

TEST_F(TimeZoneBias, WithoutDaylightRulesTheBiasAlone)
{
    fake->tzResult = sys::kTimeZoneIdUnknown;
    fake->tz = {-60, 7, -60};
    EXPECT_EQ(DateUtils::GetTimeZoneBias(), -60);
}

TEST_F(TimeZoneBias, StandardAndDaylightTimeAddTheirBias)
{
    fake->tz = {-60, 0, -60};
    fake->tzResult = sys::kTimeZoneIdStandard;
    EXPECT_EQ(DateUtils::GetTimeZoneBias(), -60);   // Central Europe in winter
    fake->tzResult = sys::kTimeZoneIdDaylight;
    EXPECT_EQ(DateUtils::GetTimeZoneBias(), -120);
    fake->tzResult = sys::kTimeZoneIdInvalid;
    EXPECT_EQ(DateUtils::GetTimeZoneBias(), -60);
}

TEST_F(TimeZoneBias, OverflowIsAnError)
{
    fake->tz = {INT32_MAX, 0, 1};
    fake->tzResult = sys::kTimeZoneIdDaylight;
    EXPECT_THROW(DateUtils::GetTimeZoneBias(), LfError);
}

TEST(LanguageFont, JapaneseGetsItsCharsetAndAnEightCharacterFaceWithOneSpace)
{
    auto f = LanguageUtils::LanguageFontFor(1041, false, 0);
    EXPECT_EQ(f.charset, 128);
    EXPECT_EQ(codePoints(f.faceName), 8u);
    EXPECT_EQ(std::count(f.faceName.begin(), f.faceName.end(), ' '), 1);
    EXPECT_EQ(f.size, 9);
}

TEST(LanguageFont, EastAsianLocalesTakeBasePlusNine)
{
    struct Case { uint32_t lcid; int charset; size_t faceLength; };
    for (const Case c : {Case{1042, 129, 2}, Case{1028, 136, 4}, Case{2052, 134, 2}}) {
        auto f = LanguageUtils::LanguageFontFor(c.lcid, true, 2);
        EXPECT_EQ(f.charset, c.charset) << c.lcid;
        EXPECT_EQ(codePoints(f.faceName), c.faceLength) << c.lcid;
        EXPECT_EQ(f.size, 11) << c.lcid;
        EXPECT_TRUE(f.bold);
    }
}

TEST(LanguageFont, FrenchGetsTheDefaultRow)
{
    auto f = LanguageUtils::LanguageFontFor(1036, false, 0);
    EXPECT_EQ(f.charset, 1);
    EXPECT_TRUE(f.faceName.empty());
    EXPECT_EQ(f.size, 8);
    EXPECT_FALSE(f.bold);
}

TEST(EnglishLocale, ElevenEnglishLocalesAndNoOthers)
{
    for (uint32_t lcid : {1033u, 2057u, 3081u, 4105u, 5129u, 6153u, 7177u, 8201u, 9225u, 10249u, 11273u})
        EXPECT_TRUE(LanguageUtils::IsEnglishLcid(lcid)) << lcid;
    for (uint32_t lcid : {16393u, 1031u, 1036u, 1041u, 12297u, 0u})
        EXPECT_FALSE(LanguageUtils::IsEnglishLcid(lcid)) << lcid;
}

TEST_F(WithFakeSystem, IsEnglishLocaleReadsTheUserLocale)
{
    fake->lcid = 2057;
    EXPECT_TRUE(LanguageUtils::IsEnglishLocale());
    fake->lcid = 1031;
    EXPECT_FALSE(LanguageUtils::IsEnglishLocale());
    fake->lcid = 16393;
    EXPECT_FALSE(LanguageUtils::IsEnglishLocale());
}

TEST(LocaleMapping, PosixLocaleNamesGiveWindowsLocaleIdentifiers)
{
    struct Case { const char* name; uint32_t lcid; };
    for (const Case c : {Case{"en_US.UTF-8", 1033}, Case{"en_GB", 2057}, Case{"en_IN.UTF-8", 16393},
                         Case{"de_DE.UTF-8", 1031}, Case{"fr_FR@euro", 1036}, Case{"ja_JP.eucJP", 1041},
                         Case{"ko_KR.UTF-8", 1042}, Case{"zh_TW.UTF-8", 1028}, Case{"zh_CN.GB18030", 2052},
                         Case{"C", 1033}, Case{"POSIX", 1033}, Case{"de", 1031}})
        EXPECT_EQ(sys::lcidFromLocaleName(c.name), c.lcid) << c.name;
}

TEST(MachineSystemInfo, LocaleFollowsLcAllBeforeLang)
{
    setenv("LANG", "en_US.UTF-8", 1);
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    EXPECT_EQ(sys::machine().userDefaultLcid(), 1031u);
    unsetenv("LC_ALL");
    unsetenv("LC_MESSAGES");
    EXPECT_EQ(sys::machine().userDefaultLcid(), 1033u);
}

TEST(MachineSystemInfo, ComputerNameIsTheShortHostName)
{
    char host[256] = {};
    ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
    std::string expected = host;
    expected = expected.substr(0, expected.find('.'));
    std::string name;
    ASSERT_TRUE(sys::machine().computerName(name));
    EXPECT_EQ(name, expected);
    std::string user;
    ASSERT_TRUE(sys::machine().userNameDownLevel(user));
    EXPECT_EQ(user.rfind(expected + "\\", 0), 0u);
}

TEST(MachineSystemInfo, TimeZoneFollowsTz)
{
    setenv("TZ", "UTC0", 1);
    sys::TimeZoneInfo tz;
    EXPECT_EQ(sys::machine().timeZoneInformation(tz), sys::kTimeZoneIdUnknown);
    EXPECT_EQ(DateUtils::GetTimeZoneBias(), 0);
    setenv("TZ", "JST-9", 1);   // no daylight saving, nine hours east
    EXPECT_EQ(sys::machine().timeZoneInformation(tz), sys::kTimeZoneIdUnknown);
    EXPECT_EQ(DateUtils::GetTimeZoneBias(), -540);
    unsetenv("TZ");
}
