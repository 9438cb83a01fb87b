#include "VerifiedCopy.h"

#include "FileReplace.h"
#include "LfError.h"
#include "StopFlag.h"

#include <openssl/evp.h>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#ifdef _WIN32
#include <io.h>
#define fsync _commit
#define fchmod(fd, mode) 0
constexpr int kOpenFlags = O_BINARY;
#else
constexpr int kOpenFlags = O_CLOEXEC;
#endif

namespace engine {
namespace {

// Large enough that the system calls cost nothing beside the bytes, small enough that a Stop is
// seen within a few milliseconds.
constexpr size_t kChunkSize = size_t(4) << 20;
constexpr int kChunks = 3;

std::string quoted(const std::filesystem::path& p)
{
    return "\"" + p.string() + "\"";
}

// The reason after "while copying ...: " for a failed system call on a path.
std::string reasonFor(int error, const std::filesystem::path& path)
{
    switch (error) {
    case ENOSPC:
#ifdef EDQUOT
    case EDQUOT:
#endif
        return "there is not enough space on the disk";
    case EFBIG:
        return "the file is too large for the disk";
    case EACCES:
    case EPERM:
    case EROFS:
        return "access to " + quoted(path) + " is denied";
    case ENOENT:
        return "the file " + quoted(path) + " does not exist";
    default: {
        std::string text = std::strerror(error);
        if (!text.empty())
            text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
        return text + " (" + quoted(path) + ")";
    }
    }
}

class Sha256 {
public:
    Sha256() : m_ctx(EVP_MD_CTX_new())
    {
        if (!m_ctx || EVP_DigestInit_ex(m_ctx.get(), EVP_sha256(), nullptr) != 1)
            throw std::bad_alloc();
    }
    void update(const unsigned char* data, size_t size) { EVP_DigestUpdate(m_ctx.get(), data, size); }
    std::vector<unsigned char> digest()
    {
        std::vector<unsigned char> out(EVP_MAX_MD_SIZE);
        unsigned int size = 0;
        EVP_DigestFinal_ex(m_ctx.get(), out.data(), &size);
        out.resize(size);
        return out;
    }

private:
    struct Free {
        void operator()(EVP_MD_CTX* c) const { EVP_MD_CTX_free(c); }
    };
    std::unique_ptr<EVP_MD_CTX, Free> m_ctx;
};

class Fd {
public:
    explicit Fd(int fd = -1) : m_fd(fd) {}
    ~Fd() { close(); }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    int get() const { return m_fd; }
    int close()
    {
        const int r = m_fd >= 0 ? ::close(m_fd) : 0;
        m_fd = -1;
        return r;
    }

private:
    int m_fd;
};

// Raised inside the copy with the reason; turned into the product's error at the top.
struct CopyFailure {
    std::string reason;
};

[[noreturn]] void fail(int error, const std::filesystem::path& path)
{
    throw CopyFailure{reasonFor(error, path)};
}

// Reads the source on its own thread, hashing what it reads, while the caller writes and hashes
// what it writes: the two hashes cost one core each and overlap with the disk.
class ChunkPipe {
public:
    struct Chunk {
        std::vector<unsigned char> bytes;
        size_t size = 0;
    };

    ChunkPipe()
    {
        for (int i = 0; i < kChunks; ++i)
            m_free.push_back(std::make_unique<Chunk>());
    }

    std::unique_ptr<Chunk> takeFree()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return !m_free.empty() || m_cancelled; });
        if (m_cancelled)
            return nullptr;
        auto c = std::move(m_free.front());
        m_free.pop_front();
        return c;
    }
    void giveFree(std::unique_ptr<Chunk> c)
    {
        std::lock_guard lock(m_mutex);
        m_free.push_back(std::move(c));
        m_changed.notify_all();
    }
    // nullptr marks the end of the source (or a read failure, kept in readError).
    void giveFull(std::unique_ptr<Chunk> c)
    {
        std::lock_guard lock(m_mutex);
        m_full.push_back(std::move(c));
        m_changed.notify_all();
    }
    std::unique_ptr<Chunk> takeFull()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return !m_full.empty(); });
        auto c = std::move(m_full.front());
        m_full.pop_front();
        return c;
    }
    void cancel()
    {
        std::lock_guard lock(m_mutex);
        m_cancelled = true;
        m_changed.notify_all();
    }

    int readError = 0;
    uint64_t bytesRead = 0;

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::unique_ptr<Chunk>> m_free;
    std::deque<std::unique_ptr<Chunk>> m_full;
    bool m_cancelled = false;
};

void readAll(int fd, ChunkPipe& pipe, Sha256& hash)
{
    while (auto chunk = pipe.takeFree()) {
        chunk->bytes.resize(kChunkSize);
        chunk->size = 0;
        while (chunk->size < kChunkSize) {
            const ssize_t n = ::read(fd, chunk->bytes.data() + chunk->size, kChunkSize - chunk->size);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                pipe.readError = errno;
                pipe.giveFull(nullptr);
                return;
            }
            if (n == 0)
                break;
            chunk->size += static_cast<size_t>(n);
        }
        hash.update(chunk->bytes.data(), chunk->size);
        pipe.bytesRead += chunk->size;
        const bool last = chunk->size < kChunkSize;
        pipe.giveFull(std::move(chunk));
        if (last) {
            pipe.giveFull(nullptr);
            return;
        }
    }
}

void writeAll(int fd, const unsigned char* data, size_t size, const std::filesystem::path& target)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            fail(errno, target);
        if (n == 0)
            fail(ENOSPC, target);
        data += n;
        size -= static_cast<size_t>(n);
    }
}

// The temporary file beside the target; removed unless it has been renamed over the target.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::filesystem::path& target)
    {
        const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
        const std::filesystem::path name = sys::TemporaryNameBeside(target);
        const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | kOpenFlags, 0600);
        if (fd < 0) {
            std::error_code ec;
            if (errno == ENOENT || !std::filesystem::is_directory(folder, ec))
                throw CopyFailure{"the folder " + quoted(folder) + " does not exist"};
            fail(errno, target);
        }
        m_fd = std::make_unique<Fd>(fd);
        m_path = name;
    }
    ~TemporaryFile()
    {
        m_fd.reset();
        if (!m_path.empty())
            ::unlink(m_path.c_str());
    }
    int fd() const { return m_fd->get(); }

    void renameOver(const std::filesystem::path& target)
    {
        if (m_fd->close() != 0)
            fail(errno, target);
        // std::filesystem replaces an existing target on every system (MoveFileEx on Windows).
        std::error_code ec;
        std::filesystem::rename(m_path, target, ec);
        if (ec)
            fail(ec.value(), target);
        m_path.clear();
    }

private:
    std::unique_ptr<Fd> m_fd;
    std::filesystem::path m_path;
};

void copyVerified(const std::filesystem::path& source, const std::filesystem::path& target,
                  const StopFlag* stop)
{
    Fd in(::open(source.c_str(), O_RDONLY | kOpenFlags));
    if (in.get() < 0)
        fail(errno, source);
    struct stat sourceInfo {};
    if (::fstat(in.get(), &sourceInfo) != 0)
        fail(errno, source);
    if (S_ISDIR(sourceInfo.st_mode))
        fail(EISDIR, source);

    TemporaryFile temp(target);
    ::fchmod(temp.fd(), sourceInfo.st_mode & 0666);

    Sha256 readHash;
    Sha256 writtenHash;
    ChunkPipe pipe;
    uint64_t written = 0;
    std::thread reader([&] { readAll(in.get(), pipe, readHash); });
    try {
        while (auto chunk = pipe.takeFull()) {
            if (stop && stop->requested())
                throw CopyFailure{"the copy was stopped"};
            writeAll(temp.fd(), chunk->bytes.data(), chunk->size, target);
            writtenHash.update(chunk->bytes.data(), chunk->size);
            written += chunk->size;
            pipe.giveFree(std::move(chunk));
        }
    } catch (...) {
        pipe.cancel();
        reader.join();
        throw;
    }
    reader.join();
    if (pipe.readError != 0)
        fail(pipe.readError, source);

    if (::fsync(temp.fd()) != 0)
        fail(errno, target);
    struct stat copyInfo {};
    struct stat sourceAfter {};
    if (::fstat(temp.fd(), &copyInfo) != 0 || ::fstat(in.get(), &sourceAfter) != 0)
        fail(errno, target);
    const auto expected = static_cast<uint64_t>(sourceInfo.st_size);
    if (pipe.bytesRead != expected || written != expected ||
        static_cast<uint64_t>(copyInfo.st_size) != expected || sourceAfter.st_size != sourceInfo.st_size)
        throw CopyFailure{"the size of the copy does not match the size of the original"};
    if (readHash.digest() != writtenHash.digest())
        throw CopyFailure{"the copy does not match the original"};
    if (stop && stop->requested())
        throw CopyFailure{"the copy was stopped"};

    temp.renameOver(target);
    // The rename itself reaches the disk with the folder's entry.
    const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
    Fd dir(::open(folder.c_str(), O_RDONLY | kOpenFlags));
    if (dir.get() >= 0)
        ::fsync(dir.get());
}

} // namespace

void CopyFileVerified(const std::filesystem::path& source, const std::filesystem::path& target,
                      const StopFlag* stop, const std::string& errorSource)
{
    try {
        copyVerified(source, target, stop);
    } catch (const CopyFailure& f) {
        throw LfError(LfError::kObjectError513, errorSource,
                      "while copying the file " + quoted(source) + " to " + quoted(target) + ": " + f.reason);
    }
}

} // namespace engine
