#include "ServiceList.h"

#include "ServiceFilesSupport.h"

#include <gtest/gtest.h>

using namespace servicefiles_test;
using engine::ServiceEntry;
using engine::ServiceList;

namespace {
constexpr const char* kSource = "Test.ServiceList";
}

TEST(ServiceListTest, ListMatchesGoldenFileByteForByte)
{
    TempDir dir;
    auto list = ServiceList::Load((dir.path() / "LFClientConfig.xml").string(), kSource);
    list.append(ServiceEntry::Desktop());
    list.append({"Labor Müller_SRV01", "Client/Server", "Windows", "LabDataConfig_SRV01.xml", "0"});
    EXPECT_EQ(list.bytes(), Golden("LFClientConfig.xml"));
}

TEST(ServiceListTest, MissingFileGivesAnEmptyServicesRoot)
{
    TempDir dir;
    const auto list = ServiceList::Load((dir.path() / "LFClientConfig.xml").string(), kSource);
    EXPECT_TRUE(list.entries().empty());
    EXPECT_EQ(list.bytes(), "<services/>");
    EXPECT_TRUE(Snapshot(dir.path()).empty()) << "loading writes nothing";
}

TEST(ServiceListTest, EntriesReadBackInOrderOfInstallation)
{
    TempDir dir;
    const auto path = dir.write("LFClientConfig.xml", Golden("LFClientConfig.xml"));
    const auto entries = ServiceList::Load(path.string(), kSource).entries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0], ServiceEntry::Desktop());
    EXPECT_EQ(entries[1].name, "Labor Müller_SRV01");
    EXPECT_EQ(entries[1].configPath, "LabDataConfig_SRV01.xml");
}

TEST(ServiceListTest, AppendingKeepsWhatTheListHeld)
{
    TempDir dir;
    const auto path =
        dir.write("LFClientConfig.xml", "<services><!-- lab services -->\r\n  <service><name>A</name>"
                                        "<custom>kept</custom></service>\r\n</services>");
    auto list = ServiceList::Load(path.string(), kSource);
    list.append(ServiceEntry::Desktop());
    EXPECT_EQ(list.bytes(),
              "<services><!-- lab services --><service><name>A</name><custom>kept</custom></service>"
              "<service><name>Desktop</name><type>Desktop</type><authentication>Windows"
              "</authentication><LoggingFlags>0</LoggingFlags></service></services>");
}

TEST(ServiceListTest, DamagedListIsRefusedWithTheReason)
{
    TempDir dir;
    const auto path = dir.write("LFClientConfig.xml", "<services><service><name>A</name></service>").string();
    const LfError e = ErrorOf([&] { ServiceList::Load(path, kSource); });
    EXPECT_EQ(e.number(), 0x80040201u);
    EXPECT_EQ(e.source(), kSource);
    EXPECT_EQ(e.description(),
              "the service list \"" + path +
                  "\" cannot be read (Start-end tags mismatch at offset 42); it has been left as "
                  "it is, repair or remove it and try again");
}

TEST(ServiceListTest, ListWithAnotherRootIsRefused)
{
    TempDir dir;
    const auto path = dir.write("LFClientConfig.xml", "<service><name>A</name></service>").string();
    EXPECT_EQ(ErrorOf([&] { ServiceList::Load(path, kSource); }).description(),
              "the file \"" + path +
                  "\" is not a service list; it has been left as it is, repair or remove it and try again");
}
