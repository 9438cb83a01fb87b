#include "../FileReplace.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace sys {
namespace {

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

// Closes the descriptor and removes the temporary file unless the rename took it over.
class TemporaryFile {
public:
    explicit TemporaryFile(std::filesystem::path path) : m_path(std::move(path))
    {
        m_fd = ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_fd < 0)
            fail("create");
    }
    ~TemporaryFile()
    {
        if (m_fd >= 0)
            ::close(m_fd);
        if (!m_kept)
            ::unlink(m_path.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void write(std::string_view bytes)
    {
        while (!bytes.empty()) {
            ssize_t n = ::write(m_fd, bytes.data(), bytes.size());
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                fail("write");
            bytes.remove_prefix(static_cast<size_t>(n));
        }
    }
    void commitTo(const std::filesystem::path& target)
    {
        if (::fsync(m_fd) != 0)
            fail("fsync");
        int fd = m_fd;
        m_fd = -1;
        if (::close(fd) != 0)
            fail("close");
        if (::rename(m_path.c_str(), target.c_str()) != 0)
            fail("rename");
        m_kept = true;
    }

private:
    std::filesystem::path m_path;
    int m_fd = -1;
    bool m_kept = false;
};

} // namespace

void ReplaceFileContents(const std::filesystem::path& target, std::string_view bytes)
{
    TemporaryFile file(TemporaryNameBeside(target));
    file.write(bytes);
    file.commitTo(target);
    // The rename itself reaches the disk with the folder's entry; a folder that cannot be
    // synchronised (some network file systems) still holds the complete new file.
    std::filesystem::path folder = target.parent_path().empty() ? "." : target.parent_path();
    int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
}

} // namespace sys
