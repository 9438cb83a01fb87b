#pragma once

#include <optional>
#include <string>
#include <vector>

namespace engine {

// The files one installation writes, written together: each is replaced atomically, in the
// order staged, and when one of them cannot be written those already written get their old
// contents back (or are removed when they were new), so the installation leaves every file as
// it found it.
class FileTransaction {
public:
    explicit FileTransaction(std::string source);

    void stage(const std::string& path, std::string bytes);
    // Writes the staged files; on a failure restores what was written and raises the failure.
    void commit();

private:
    struct Write {
        std::string path;
        std::string bytes;
        std::optional<std::string> previous; // the old contents; none when the file was new
    };
    // Puts back the first `count` staged files.
    void restore(std::size_t count) const;

    std::string m_source;
    std::vector<Write> m_writes;
};

// A whole file's bytes; raises 0x80040201 "the file \"...\" cannot be read" when it cannot be read.
std::string ReadFileBytes(const std::string& path, const std::string& source);

} // namespace engine
