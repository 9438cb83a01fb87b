#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace engine {

// An open file as the verified copy uses it: the one place that knows the system's calls. POSIX
// descriptors here; on Windows the C runtime's wide-character calls, so that a path in any
// language opens. Every call returns 0 or the C library's error number (errno), which the copy
// turns into its reason; the file is closed when the object goes.
class VerifiedCopyFile {
public:
    VerifiedCopyFile() = default;
    ~VerifiedCopyFile() { (void)close(); }
    VerifiedCopyFile(const VerifiedCopyFile&) = delete;
    VerifiedCopyFile& operator=(const VerifiedCopyFile&) = delete;

    [[nodiscard]] int openForReading(const std::filesystem::path& path);
    // Creates the file, which must not exist yet, for writing.
    [[nodiscard]] int createNew(const std::filesystem::path& path);

    [[nodiscard]] int isFolder(bool& folder) const;
    [[nodiscard]] int size(uint64_t& bytes) const;
    // The copy may be read by whoever may read the original (POSIX permission bits; nothing to do
    // on Windows, where the folder's permissions apply).
    void takePermissionsOf(const VerifiedCopyFile& original);

    // Reads up to size bytes at the current position; got is 0 only at the end of the file.
    [[nodiscard]] int read(unsigned char* buffer, size_t size, size_t& got);
    [[nodiscard]] int write(const unsigned char* data, size_t size);

    // Appends up to size bytes from source's current position without passing them through the
    // program, where the system can (a file system that shares blocks or copies on its server
    // does so). False when it cannot, or did not this time: the caller copies the bytes itself
    // from then on, so that read() or write() says which file failed and the end of the source is
    // confirmed by read().
    [[nodiscard]] bool copyInKernel(VerifiedCopyFile& source, size_t size, size_t& got);

    // Lets the system start writing the range to the disk now, so that flush() has little left
    // to wait for; a hint only.
    void startWriteback(uint64_t offset, uint64_t size);
    [[nodiscard]] int flush();
    [[nodiscard]] int close();

    // Makes a rename in the folder reach the disk, where the system lets a folder be flushed.
    static void flushFolder(const std::filesystem::path& folder);

private:
    int m_fd = -1;
    bool m_kernelCopy = true;
};

} // namespace engine
