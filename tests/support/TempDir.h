#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

// A fresh folder for one test, removed with everything in it when the test ends.
class TempDir {
public:
    TempDir()
    {
        std::random_device rd;
        m_path = std::filesystem::temp_directory_path() /
                 ("lftest-" + std::to_string(rd()) + "-" + std::to_string(rd()));
        std::filesystem::create_directories(m_path);
    }
    ~TempDir()
    {
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::string str() const { return m_path.string(); }

    std::filesystem::path write(const std::string& name, const std::string& bytes) const
    {
        const auto p = m_path / name;
        std::filesystem::create_directories(p.parent_path());
        std::ofstream(p, std::ios::binary) << bytes;
        return p;
    }

private:
    std::filesystem::path m_path;
};
