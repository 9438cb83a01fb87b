#include "NetworkDrive.h"

#include "DriveConnection.h"
#include "ScopedEnv.h"
#include "TempDir.h"

#include <gtest/gtest.h>

namespace {

const char* kMounts = "/dev/vda / ext4 rw,relatime 0 0\n"
                      "//fileserver/labshare /mnt/lab cifs rw,vers=3.0 0 0\n"
                      "nas01:/export/eln /mnt/eln nfs4 rw,vers=4.2 0 0\n"
                      "/dev/vdb /mnt/lab/local ext4 rw 0 0\n"
                      "//pc\\040two/share /mnt/with\\040blank cifs rw 0 0\n";

TEST(NetworkDriveTest, UncPathGivesItsHost)
{
    engine::NetworkDrive drive;
    EXPECT_EQ(drive.GetUNCPathofNetworkDrive("\\\\LABSERVER\\Services\\eln.lfsvc"), "LABSERVER");
    EXPECT_EQ(drive.GetUNCPathofNetworkDrive("\\\\LABSERVER"), "LABSERVER");
}

TEST(NetworkDriveTest, MountTableNamesTheRemoteOfTheLongestContainingMount)
{
    EXPECT_EQ(sys::RemoteNameFromMountTable(kMounts, "/mnt/lab/svc/eln.lfsvc"), "\\\\fileserver\\labshare");
    EXPECT_EQ(sys::RemoteNameFromMountTable(kMounts, "/mnt/eln/a"), "\\\\nas01\\export\\eln");
    EXPECT_EQ(sys::RemoteNameFromMountTable(kMounts, "/mnt/lab/local/a"), "");
    EXPECT_EQ(sys::RemoteNameFromMountTable(kMounts, "/mnt/laboratory/a"), "") << "a prefix is not a folder";
    EXPECT_EQ(sys::RemoteNameFromMountTable(kMounts, "/home/a"), "");
    EXPECT_EQ(sys::RemoteNameFromMountTable(kMounts, "/mnt/with blank/x"), "\\\\pc two\\share");
    EXPECT_EQ(sys::RemoteNameFromMountTable("garbage\n\n  \n", "/x"), "");
}

TEST(NetworkDriveTest, FileOnANetworkMountGivesTheHostAndALocalFileNone)
{
    TempDir dir;
    const auto table =
        dir.write("mounts", std::string(kMounts) + "//srv2/eln " + dir.str() + "/share cifs rw 0 0\n");
    ScopedEnv env("LABFOLIO_MOUNT_TABLE", table.string());
    engine::NetworkDrive drive;
    EXPECT_EQ(drive.GetUNCPathofNetworkDrive(dir.str() + "/share/eln.lfsvc"), "srv2");
    EXPECT_EQ(drive.GetUNCPathofNetworkDrive(dir.str() + "/eln.lfsvc"), "");
    EXPECT_EQ(drive.GetUNCPathofNetworkDrive("/mnt/eln/eln.lfsvc"), "nas01");
}

TEST(NetworkDriveTest, UnreadableMountTableMeansLocal)
{
    ScopedEnv env("LABFOLIO_MOUNT_TABLE", "/nonexistent/mounts");
    engine::NetworkDrive drive;
    EXPECT_EQ(drive.GetUNCPathofNetworkDrive("/mnt/eln/eln.lfsvc"), "");
}

} // namespace
