#pragma once

#include "LfError.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

// Helpers shared by the service-file tests.
namespace servicefiles_test {

inline std::string ReadBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// The golden files, written by hand and byte for byte what the engine must write.
inline std::string Golden(const std::string& name)
{
    const auto path = std::filesystem::path(SERVICEFILES_DATA_DIR) / name;
    EXPECT_TRUE(std::filesystem::exists(path)) << path;
    return ReadBytes(path);
}

// Every file under a folder with its contents: what "nothing changed" is checked against.
inline std::map<std::string, std::string> Snapshot(const std::filesystem::path& folder)
{
    std::map<std::string, std::string> files;
    if (!std::filesystem::exists(folder))
        return files;
    for (const auto& e : std::filesystem::recursive_directory_iterator(folder))
        files[e.path().string()] = e.is_regular_file() ? ReadBytes(e.path()) : std::string("<folder>");
    return files;
}

// Runs f and returns the LfError it raised; fails the test when it raises nothing.
template <typename F> LfError ErrorOf(F&& f)
{
    try {
        f();
    } catch (const LfError& e) {
        return e;
    }
    ADD_FAILURE() << "no error raised";
    return LfError(0, "", "");
}

} // namespace servicefiles_test
