#include "ServerEndpoint.h"

#include <gtest/gtest.h>

using sqlserver::parseServerName;

TEST(ServerEndpoint, LocalNamesMeanThisComputersDefaultInstance)
{
    for (const char* name : {"(local)", ".", "", "localhost", "PC1", "pc1", " (local) "}) {
        const auto a = parseServerName(name, "PC1");
        ASSERT_TRUE(a) << name;
        EXPECT_TRUE(a->local) << name;
        EXPECT_EQ(a->host, "127.0.0.1") << name;
        EXPECT_EQ(a->instance, "") << name;
        EXPECT_FALSE(a->port) << name;
    }
}

TEST(ServerEndpoint, NamedInstanceOfThisComputer)
{
    const auto a = parseServerName("PC1\\VELDRIN", "PC1");
    ASSERT_TRUE(a);
    EXPECT_TRUE(a->local);
    EXPECT_EQ(a->host, "127.0.0.1");
    EXPECT_EQ(a->instance, "VELDRIN");
    const auto dot = parseServerName(".\\SQLEXPRESS", "PC1");
    ASSERT_TRUE(dot);
    EXPECT_TRUE(dot->local);
    EXPECT_EQ(dot->instance, "SQLEXPRESS");
}

TEST(ServerEndpoint, RemoteHostAndInstance)
{
    const auto a = parseServerName("LABSRV\\LABFOLIO", "PC1");
    ASSERT_TRUE(a);
    EXPECT_FALSE(a->local);
    EXPECT_EQ(a->host, "LABSRV");
    EXPECT_EQ(a->instance, "LABFOLIO");
    const auto b = parseServerName("labsrv.example.org", "PC1");
    ASSERT_TRUE(b);
    EXPECT_EQ(b->host, "labsrv.example.org");
    EXPECT_EQ(b->instance, "");
}

TEST(ServerEndpoint, HostCommaPort)
{
    const auto a = parseServerName("labsrv,1533", "PC1");
    ASSERT_TRUE(a);
    EXPECT_EQ(a->host, "labsrv");
    ASSERT_TRUE(a->port);
    EXPECT_EQ(*a->port, 1533);
    const auto b = parseServerName("tcp:127.0.0.1, 40001", "PC1");
    ASSERT_TRUE(b);
    EXPECT_EQ(b->host, "127.0.0.1");
    EXPECT_EQ(*b->port, 40001);
}

TEST(ServerEndpoint, UnreadableNames)
{
    EXPECT_FALSE(parseServerName("host,", "PC1"));
    EXPECT_FALSE(parseServerName("host,abc", "PC1"));
    EXPECT_FALSE(parseServerName("host,70000", "PC1"));
    EXPECT_FALSE(parseServerName("host\\", "PC1"));
}

TEST(ServerEndpoint, AnExplicitPortNeedsNoBrowser)
{
    const auto e = sqlserver::resolveServer("somewhere.invalid,1555");
    EXPECT_EQ(e.host, "somewhere.invalid");
    EXPECT_EQ(e.port, 1555);
}
