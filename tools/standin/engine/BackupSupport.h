#pragma once

// What BACKUP and RESTORE share: files written under a temporary name, progress steps, and
// SQL Server's wording of operating-system errors and throughput.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace standin::backup {

namespace fs = std::filesystem;

inline constexpr uint64_t kPage = 8192;

inline std::string osErrorText(int error, bool reading)
{
    switch (error) {
    case ENOENT:
        return reading ? "2(The system cannot find the file specified.)"
                       : "3(The system cannot find the path specified.)";
    case ENOTDIR:
        return "3(The system cannot find the path specified.)";
    case EACCES:
    case EPERM:
    case EISDIR:
        return "5(Access is denied.)";
    case ENOSPC:
        return "112(There is not enough space on the disk.)";
    default:
        return "1117(The request could not be performed because of an I/O device error.)";
    }
}

inline std::string upper(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

inline uint64_t pages(uint64_t bytes)
{
    return (bytes + kPage - 1) / kPage;
}

inline std::string rateText(uint64_t totalPages, double seconds)
{
    if (seconds < 0.001)
        seconds = 0.001;
    const double mb = static_cast<double>(totalPages * kPage) / (1024.0 * 1024.0);
    char buf[160];
    std::snprintf(buf, sizeof buf, "%llu pages in %.3f seconds (%.3f MB/sec).",
                  static_cast<unsigned long long>(totalPages), seconds, mb / seconds);
    return buf;
}

// A file written under a temporary name beside its target and renamed at the end; removed
// if it is abandoned.
class PendingFile {
public:
    explicit PendingFile(std::string target) : m_target(std::move(target))
    {
        m_temp = m_target + ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(++s_counter);
        m_fd = ::open(m_temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        m_error = m_fd < 0 ? errno : 0;
    }
    ~PendingFile() { abandon(); }
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    int openError() const { return m_error; }
    void write(const void* data, size_t size)
    {
        const auto* p = static_cast<const char*>(data);
        while (size > 0) {
            const ssize_t n = ::write(m_fd, p, size);
            if (n < 0) {
                if (errno == EINTR)
                    continue;
                throw std::system_error(errno, std::generic_category(), m_target);
            }
            p += n;
            size -= static_cast<size_t>(n);
        }
    }
    void commit()
    {
        if (::fsync(m_fd) != 0 || ::close(m_fd) != 0) {
            m_fd = -1;
            throw std::system_error(errno, std::generic_category(), m_target);
        }
        m_fd = -1;
        std::error_code ec;
        fs::rename(m_temp, m_target, ec);
        if (ec)
            throw std::system_error(ec, m_target);
        m_committed = true;
    }
    void abandon()
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
        if (!m_committed)
            ::unlink(m_temp.c_str());
    }

private:
    static inline std::atomic<int> s_counter{0};
    std::string m_target;
    std::string m_temp;
    int m_fd = -1;
    int m_error = 0;
    bool m_committed = false;
};

// Percent marks at which progress is reported: STATS = n gives n, 2n, ... and always 100.
inline std::vector<int> progressMarks(int stats)
{
    std::vector<int> marks;
    const int step = stats > 0 ? std::min(stats, 100) : 10;
    for (int p = step; p < 100; p += step)
        marks.push_back(p);
    marks.push_back(100);
    return marks;
}

} // namespace standin::backup
