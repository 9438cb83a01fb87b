#include "VerifiedCopyFile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace engine {
namespace {

#ifdef _WIN32

// The C runtime's calls take wide paths and set errno as their POSIX namesakes do.
constexpr int kReading = _O_RDONLY | _O_BINARY | _O_NOINHERIT | _O_SEQUENTIAL;
constexpr int kCreatingNew = _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT;
constexpr int kOwnerOnly = _S_IREAD | _S_IWRITE;
using Status = struct _stat64;

int openFile(const std::filesystem::path& path, int flags, int mode = 0)
{
    return ::_wopen(path.c_str(), flags, mode);
}
int statusOf(int fd, Status& status)
{
    return ::_fstat64(fd, &status);
}
bool isDirectory(const Status& status)
{
    return (status.st_mode & _S_IFDIR) != 0;
}
long long readSome(int fd, unsigned char* buffer, size_t size)
{
    return ::_read(fd, buffer, static_cast<unsigned>(std::min<size_t>(size, INT_MAX)));
}
long long writeSome(int fd, const unsigned char* data, size_t size)
{
    return ::_write(fd, data, static_cast<unsigned>(std::min<size_t>(size, INT_MAX)));
}
int flushFile(int fd)
{
    return ::_commit(fd);
}
int closeFile(int fd)
{
    return ::_close(fd);
}

#else

constexpr int kReading = O_RDONLY | O_CLOEXEC;
constexpr int kCreatingNew = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
constexpr int kOwnerOnly = 0600;
using Status = struct stat;

int openFile(const std::filesystem::path& path, int flags, int mode = 0)
{
    return ::open(path.c_str(), flags, mode);
}
int statusOf(int fd, Status& status)
{
    return ::fstat(fd, &status);
}
bool isDirectory(const Status& status)
{
    return S_ISDIR(status.st_mode);
}
long long readSome(int fd, unsigned char* buffer, size_t size)
{
    return ::read(fd, buffer, size);
}
long long writeSome(int fd, const unsigned char* data, size_t size)
{
    return ::write(fd, data, size);
}
int flushFile(int fd)
{
    return ::fsync(fd);
}
int closeFile(int fd)
{
    return ::close(fd);
}

#endif

} // namespace

int VerifiedCopyFile::openForReading(const std::filesystem::path& path)
{
    m_fd = openFile(path, kReading);
    return m_fd < 0 ? errno : 0;
}

int VerifiedCopyFile::createNew(const std::filesystem::path& path)
{
    m_fd = openFile(path, kCreatingNew, kOwnerOnly);
    return m_fd < 0 ? errno : 0;
}

int VerifiedCopyFile::isFolder(bool& folder) const
{
    Status status{};
    if (statusOf(m_fd, status) != 0)
        return errno;
    folder = isDirectory(status);
    return 0;
}

int VerifiedCopyFile::size(uint64_t& bytes) const
{
    Status status{};
    if (statusOf(m_fd, status) != 0)
        return errno;
    bytes = static_cast<uint64_t>(status.st_size);
    return 0;
}

void VerifiedCopyFile::takePermissionsOf([[maybe_unused]] const VerifiedCopyFile& original)
{
#ifndef _WIN32
    Status status{};
    if (statusOf(original.m_fd, status) == 0)
        (void)::fchmod(m_fd, status.st_mode & 0666);
#endif
}

int VerifiedCopyFile::read(unsigned char* buffer, size_t size, size_t& got)
{
    for (;;) {
        const long long n = readSome(m_fd, buffer, size);
        if (n >= 0) {
            got = static_cast<size_t>(n);
            return 0;
        }
        if (errno != EINTR)
            return errno;
    }
}

int VerifiedCopyFile::write(const unsigned char* data, size_t size)
{
    while (size > 0) {
        const long long n = writeSome(m_fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return errno;
        if (n == 0)
            return ENOSPC;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return 0;
}

bool VerifiedCopyFile::copyInKernel([[maybe_unused]] VerifiedCopyFile& source, [[maybe_unused]] size_t size,
                                    [[maybe_unused]] size_t& got)
{
#ifdef __linux__
    if (m_kernelCopy) {
        const ssize_t n = ::copy_file_range(source.m_fd, nullptr, m_fd, nullptr, size, 0);
        if (n > 0) {
            got = static_cast<size_t>(n);
            return true;
        }
        // Nothing was copied: folders on two file systems, a file system that cannot copy by
        // itself, a full disk or a bad sector; the caller's read() and write() tell which.
        m_kernelCopy = false;
    }
#endif
    return false;
}

void VerifiedCopyFile::startWriteback([[maybe_unused]] uint64_t offset, [[maybe_unused]] uint64_t size)
{
#ifdef __linux__
    (void)::sync_file_range(m_fd, static_cast<off_t>(offset), static_cast<off_t>(size),
                            SYNC_FILE_RANGE_WRITE);
#endif
}

int VerifiedCopyFile::flush()
{
    return flushFile(m_fd) != 0 ? errno : 0;
}

int VerifiedCopyFile::close()
{
    const int result = m_fd >= 0 && closeFile(m_fd) != 0 ? errno : 0;
    m_fd = -1;
    return result;
}

void VerifiedCopyFile::flushFolder([[maybe_unused]] const std::filesystem::path& folder)
{
    // NTFS journals a rename by itself, and the C runtime opens no folder.
#ifndef _WIN32
    const int fd = openFile(folder, kReading);
    if (fd >= 0) {
        (void)flushFile(fd);
        closeFile(fd);
    }
#endif
}

} // namespace engine
