#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

// The bytes libFuzzer (or the corpus replay) hands to a harness, in the shapes the parsers take.
namespace fuzzinput {

inline std::string text(const uint8_t* data, size_t size)
{
    return std::string(reinterpret_cast<const char*>(data), size);
}

inline std::vector<uint8_t> bytes(const uint8_t* data, size_t size)
{
    return std::vector<uint8_t>(data, data + size);
}

// The input cut at each NUL: one command-line argument, or one field, per piece.
inline std::vector<std::string> fields(const uint8_t* data, size_t size)
{
    std::vector<std::string> out(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0)
            out.emplace_back();
        else
            out.back() += static_cast<char>(data[i]);
    }
    return out;
}

// For readers that take a path: one file per process, rewritten with each input (a new file per
// input would spend the run in the file system) and removed when the process ends.
class InputFile {
public:
    explicit InputFile(const std::string& name)
        : m_path(std::filesystem::temp_directory_path() /
                 ("labfolio-fuzz-" + std::to_string(::getpid()) + "-" + name))
    {
    }
    ~InputFile() { remove(); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    // Replaces the file's contents with the input and returns its path.
    const std::filesystem::path& write(const uint8_t* data, size_t size)
    {
        std::FILE* file = std::fopen(m_path.c_str(), "wb");
        if (!file || (size && std::fwrite(data, 1, size, file) != size) || std::fclose(file) != 0) {
            std::perror(m_path.c_str());
            std::abort(); // the harness cannot do its work; not a finding in the parser
        }
        return m_path;
    }
    const std::filesystem::path& path() const { return m_path; }
    void remove()
    {
        std::error_code ec;
        std::filesystem::remove(m_path, ec);
    }

private:
    std::filesystem::path m_path;
};

} // namespace fuzzinput
