#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

// A file opened for reading only, read at given offsets. Reads do not share a file position,
// so the search's threads read one file at once without locking.
class PositionalFile {
public:
    // A file that cannot be opened leaves the object closed (isOpen() false, errorNumber() set).
    explicit PositionalFile(const std::filesystem::path& path);
    ~PositionalFile();
    PositionalFile(const PositionalFile&) = delete;
    PositionalFile& operator=(const PositionalFile&) = delete;

    bool isOpen() const;
    int errorNumber() const { return m_error; }
    // The size now; 0 when it cannot be told.
    uint64_t size() const;
    // Whether all size bytes at offset were read (false at the end of the file or on an error).
    bool readAt(uint64_t offset, void* data, size_t size) const;

private:
#ifdef _WIN32
    void* m_handle;
#else
    int m_fd = -1;
#endif
    int m_error = 0;
};
