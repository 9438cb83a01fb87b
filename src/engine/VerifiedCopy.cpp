#include "VerifiedCopy.h"

#include "FileReplace.h"
#include "LfError.h"
#include "StopFlag.h"
#include "VerifiedCopyFile.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <future>
#include <limits>
#include <memory>
#include <mutex>
#include <vector>

namespace engine {
namespace {

// Large enough that the system calls cost nothing beside the bytes, small enough that a Stop is
// seen within a few milliseconds.
constexpr size_t kCopyChunk = size_t(8) << 20;
// Bytes the program handles itself (hashing, and copying where the kernel cannot) pass through a
// buffer small enough to stay in the processor's cache.
constexpr size_t kBuffer = size_t(256) << 10;

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

// Raised inside the copy with the reason; turned into the product's error at the top.
struct CopyFailure {
    std::string reason;
};

[[noreturn]] void fail(int error, const std::filesystem::path& path)
{
    throw CopyFailure{reasonFor(error, path)};
}

// How far the copy has written, for the read-back that follows it, and whether the copy has been
// given up (a failure, or the page's Stop), which ends both hashes early.
class CopyProgress {
public:
    explicit CopyProgress(const StopFlag* stop) : m_stop(stop) {}

    void advance(uint64_t written)
    {
        std::lock_guard lock(m_mutex);
        m_written = written;
        m_changed.notify_all();
    }
    void finish() { end(m_finished); }
    void abandon() { end(m_abandoned); }
    bool abandoned() const
    {
        std::lock_guard lock(m_mutex);
        return m_abandoned || (m_stop && m_stop->requested());
    }
    // How far the copy has written once it is beyond offset; offset itself when the copy has
    // ended there.
    uint64_t waitBeyond(uint64_t offset)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_written > offset || m_finished || m_abandoned; });
        return m_abandoned ? offset : m_written;
    }

private:
    void end(bool& flag)
    {
        std::lock_guard lock(m_mutex);
        flag = true;
        m_changed.notify_all();
    }

    const StopFlag* m_stop;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    uint64_t m_written = 0;
    bool m_finished = false;
    bool m_abandoned = false;
};

struct Reading {
    std::vector<unsigned char> digest;
    uint64_t bytes = 0;
    int error = 0;
};

// Reads a file from its start through its own handle and hashes what it reads. Reading the copy,
// it follows the copy and reads no further than written. It stops early when the copy is given up
// or when the file turns out longer than expected (a source still growing, or a device).
Reading hashFile(const std::filesystem::path& path, uint64_t expected, CopyProgress& progress,
                 bool followCopy)
{
    Reading r;
    VerifiedCopyFile file;
    if ((r.error = file.openForReading(path)) != 0)
        return r;
    Sha256 hash;
    std::vector<unsigned char> buffer(kBuffer);
    uint64_t readable = followCopy ? 0 : std::numeric_limits<uint64_t>::max();
    while (r.bytes <= expected && !progress.abandoned()) {
        if (r.bytes == readable && (readable = progress.waitBeyond(r.bytes)) == r.bytes)
            break;
        size_t got = 0;
        r.error = file.read(buffer.data(),
                            static_cast<size_t>(std::min<uint64_t>(kBuffer, readable - r.bytes)), got);
        if (r.error != 0 || got == 0)
            break;
        hash.update(buffer.data(), got);
        r.bytes += got;
    }
    r.digest = hash.digest();
    return r;
}

// The temporary file beside the target; removed unless it has been renamed over the target.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::filesystem::path& target) : m_path(sys::TemporaryNameBeside(target))
    {
        if (const int error = m_file.createNew(m_path)) {
            m_path.clear();
            const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
            std::error_code ec;
            if (error == ENOENT || !std::filesystem::is_directory(folder, ec))
                throw CopyFailure{"the folder " + quoted(folder) + " does not exist"};
            fail(error, target);
        }
    }
    ~TemporaryFile()
    {
        (void)m_file.close();
        std::error_code ec;
        if (!m_path.empty())
            std::filesystem::remove(m_path, ec);
    }
    VerifiedCopyFile& file() { return m_file; }
    const std::filesystem::path& path() const { return m_path; }

    void renameOver(const std::filesystem::path& target)
    {
        if (const int error = m_file.close())
            fail(error, target);
        // std::filesystem replaces an existing target on every system (MoveFileEx on Windows).
        std::error_code ec;
        std::filesystem::rename(m_path, target, ec);
        if (ec)
            fail(ec.value(), target);
        m_path.clear();
    }

private:
    VerifiedCopyFile m_file;
    std::filesystem::path m_path;
};

[[noreturn]] void sizeMismatch()
{
    throw CopyFailure{"the size of the copy does not match the size of the original"};
}

void throwIfStopped(const StopFlag* stop)
{
    if (stop && stop->requested())
        throw CopyFailure{"the copy was stopped"};
}

// The copy runs on the caller's thread while two more threads hash, one the source as it reads
// it, one the copy as it reads it back behind the writing. The second hash is of what the file
// system returns for the copy (on a local disk mostly from its cache, so it vouches for the file
// system's view of the copy, not for the platter; flush() then puts the copy on the disk). It
// catches a short or misplaced write, a copy made on a server, and a source that changes while
// it is copied.
void copyVerified(const std::filesystem::path& source, const std::filesystem::path& target,
                  const StopFlag* stop)
{
    VerifiedCopyFile in;
    if (const int error = in.openForReading(source))
        fail(error, source);
    bool folder = false;
    uint64_t expected = 0;
    if (const int error = in.isFolder(folder))
        fail(error, source);
    if (folder)
        fail(EISDIR, source);
    if (const int error = in.size(expected))
        fail(error, source);

    TemporaryFile temp(target);
    VerifiedCopyFile& out = temp.file();
    out.takePermissionsOf(in);

    CopyProgress progress(stop);
    auto sourceHash =
        std::async(std::launch::async, [&] { return hashFile(source, expected, progress, false); });
    auto copyHash =
        std::async(std::launch::async, [&] { return hashFile(temp.path(), expected, progress, true); });
    // Declared after the hashes, so that on a failure they are told to end before they are waited for.
    struct AbandonOnExit {
        CopyProgress& progress;
        ~AbandonOnExit() { progress.abandon(); }
    } abandonOnExit{progress};

    uint64_t written = 0;
    std::vector<unsigned char> buffer;
    for (;;) {
        throwIfStopped(stop);
        size_t got = 0;
        if (!out.copyInKernel(in, kCopyChunk, got)) {
            buffer.resize(kBuffer);
            if (const int error = in.read(buffer.data(), buffer.size(), got))
                fail(error, source);
            if (const int error = out.write(buffer.data(), got))
                fail(error, target);
        }
        if (got == 0)
            break;
        out.startWriteback(written, got);
        written += got;
        if (written > expected)
            sizeMismatch();
        progress.advance(written);
    }
    progress.finish();
    if (const int error = out.flush())
        fail(error, target);

    const Reading original = sourceHash.get();
    const Reading copy = copyHash.get();
    throwIfStopped(stop);
    if (original.error != 0)
        fail(original.error, source);
    if (copy.error != 0)
        fail(copy.error, target);
    uint64_t copySize = 0;
    uint64_t sourceSize = 0;
    if (const int error = out.size(copySize))
        fail(error, target);
    if (const int error = in.size(sourceSize))
        fail(error, source);
    for (const uint64_t size : {written, original.bytes, copy.bytes, copySize, sourceSize})
        if (size != expected)
            sizeMismatch();
    if (original.digest != copy.digest)
        throw CopyFailure{"the copy does not match the original"};

    temp.renameOver(target);
    // The rename itself reaches the disk with the folder's entry.
    VerifiedCopyFile::flushFolder(target.has_parent_path() ? target.parent_path() : ".");
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
