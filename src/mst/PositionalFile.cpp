#include "PositionalFile.h"

#include <cerrno>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#ifdef _WIN32

// Shared for reading and writing, so that a rebuild can go on appending to the index.
PositionalFile::PositionalFile(const std::filesystem::path& path)
    : m_handle(CreateFileW(path.wstring().c_str(), GENERIC_READ,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr))
{
    if (m_handle == INVALID_HANDLE_VALUE)
        m_error = GetLastError() == ERROR_FILE_NOT_FOUND ? ENOENT : EACCES;
}

PositionalFile::~PositionalFile()
{
    if (isOpen())
        CloseHandle(m_handle);
}

bool PositionalFile::isOpen() const
{
    return m_handle != INVALID_HANDLE_VALUE;
}

uint64_t PositionalFile::size() const
{
    LARGE_INTEGER n{};
    return isOpen() && GetFileSizeEx(m_handle, &n) ? static_cast<uint64_t>(n.QuadPart) : 0;
}

bool PositionalFile::readAt(uint64_t offset, void* data, size_t size) const
{
    auto* out = static_cast<char*>(data);
    while (size > 0) {
        OVERLAPPED at{};
        at.Offset = static_cast<DWORD>(offset);
        at.OffsetHigh = static_cast<DWORD>(offset >> 32);
        DWORD got = 0;
        const DWORD want = size > 0x40000000 ? 0x40000000 : static_cast<DWORD>(size);
        if (!isOpen() || !ReadFile(m_handle, out, want, &got, &at) || got == 0)
            return false;
        out += got;
        offset += got;
        size -= got;
    }
    return true;
}

#else

PositionalFile::PositionalFile(const std::filesystem::path& path)
    : m_fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC))
{
    if (m_fd < 0)
        m_error = errno;
}

PositionalFile::~PositionalFile()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

bool PositionalFile::isOpen() const
{
    return m_fd >= 0;
}

uint64_t PositionalFile::size() const
{
    struct stat st {};
    return m_fd >= 0 && ::fstat(m_fd, &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
}

bool PositionalFile::readAt(uint64_t offset, void* data, size_t size) const
{
    auto* out = static_cast<char*>(data);
    while (size > 0) {
        const ssize_t got = ::pread(m_fd, out, size, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        out += got;
        offset += static_cast<uint64_t>(got);
        size -= static_cast<size_t>(got);
    }
    return true;
}

#endif
