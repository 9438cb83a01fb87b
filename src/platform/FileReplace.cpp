#include "FileReplace.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <random>

namespace sys {

std::filesystem::path TemporaryNameBeside(const std::filesystem::path& target)
{
    // Unique within this process by the counter, across processes by the random part.
    static std::atomic<unsigned> counter{0};
    static const unsigned long long seed =
        std::random_device{}() ^
        static_cast<unsigned long long>(std::chrono::steady_clock::now().time_since_epoch().count());
    char suffix[48];
    std::snprintf(suffix, sizeof suffix, ".%llx-%x.tmp", seed & 0xffffffffffULL, counter.fetch_add(1));
    return target.parent_path() / ("." + target.filename().string() + suffix);
}

} // namespace sys
