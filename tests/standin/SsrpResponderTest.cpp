#include "SsrpResponder.h"

#include <gtest/gtest.h>

using namespace standin::tds;

namespace {
const std::vector<SsrpInstance> kInstances{
    {"LABSRV2", "VELDRIN", "9.00.5000.00", 40001},
    {"LABSRV2", "MSSQLSERVER", "9.00.5000.00", 40002},
};

std::string text(const Bytes& b)
{
    return std::string(b.begin() + 3, b.end());
}
} // namespace

TEST(SsrpResponder, UnicastInstanceAnswersForThatInstanceOnly)
{
    const std::string request = std::string("\x04") + "veldrin" + '\0';
    const auto answer =
        answerResolutionRequest(reinterpret_cast<const uint8_t*>(request.data()), request.size(), kInstances);
    ASSERT_TRUE(answer);
    EXPECT_EQ((*answer)[0], 0x05);
    const std::string expected =
        "ServerName;LABSRV2;InstanceName;VELDRIN;IsClustered;No;Version;9.00.5000.00;tcp;40001;;";
    EXPECT_EQ(text(*answer), expected);
    EXPECT_EQ((*answer)[1] | ((*answer)[2] << 8), static_cast<int>(expected.size()));
}

TEST(SsrpResponder, BroadcastAndUnicastListEveryInstance)
{
    for (uint8_t type : {uint8_t{0x02}, uint8_t{0x03}}) {
        const auto answer = answerResolutionRequest(&type, 1, kInstances);
        ASSERT_TRUE(answer);
        EXPECT_EQ(text(*answer), describeInstance(kInstances[0]) + describeInstance(kInstances[1]));
    }
}

TEST(SsrpResponder, UnknownInstanceOrGarbageGetsNoAnswer)
{
    const std::string unknown = std::string("\x04") + "NOPE";
    EXPECT_FALSE(answerResolutionRequest(reinterpret_cast<const uint8_t*>(unknown.data()), unknown.size(),
                                         kInstances));
    const uint8_t garbage[] = {0x7E, 1, 2};
    EXPECT_FALSE(answerResolutionRequest(garbage, sizeof garbage, kInstances));
    EXPECT_FALSE(answerResolutionRequest(garbage, 0, kInstances));
}
