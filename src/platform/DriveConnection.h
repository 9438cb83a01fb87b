#pragma once

#include <string>

namespace sys {

// The remote name, in UNC form ("\\host\share"), of the network connection that holds the path,
// or "" when the path is on a local disk or the system cannot tell. On Windows this asks
// WNetGetConnectionA about the drive named by the path's first character, into buffer, always
// passing a length of 255 whatever the buffer's size. On POSIX it reads the mount table
// (/proc/self/mounts, or the file named by LABFOLIO_MOUNT_TABLE) and buffer is not used.
std::string DriveRemoteName(const std::string& path, std::string& buffer);

// The UNC form of the network mount that holds absolutePath in a mount table's text (lines of
// "device mountpoint type options ..." with octal escapes such as \040): a cifs or smb mount
// "//host/share" gives "\\host\share", an nfs mount "host:/path" gives "\\host\path"; the mount
// with the longest mount point that contains the path decides; "" when that mount is local.
std::string RemoteNameFromMountTable(const std::string& mountTable, const std::string& absolutePath);

} // namespace sys
