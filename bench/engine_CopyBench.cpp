// The engine's verified copy against cp, on one file (1 GiB unless a size in MiB is given),
// in the same run and the same folders. Prints the times and the speed ratios; run on demand:
//   build/bench/engine_copy_bench [MiB] [folder]
#include "VerifiedCopy.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

double seconds(const std::function<void()>& work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void run(const std::string& command)
{
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "failed: %s\n", command.c_str());
        std::exit(1);
    }
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    const size_t mib = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1024;
    const fs::path root = fs::path(argc > 2 ? argv[2] : fs::temp_directory_path().string()) /
                          ("lf-copy-bench-" + std::to_string(::getpid()));
    fs::create_directories(root / "to");
    const fs::path source = root / "LFDesktop.BAK";
    {
        std::ofstream out(source, std::ios::binary);
        std::mt19937_64 rng(42);
        std::vector<uint64_t> block((size_t(1) << 20) / sizeof(uint64_t));
        for (size_t i = 0; i < mib; ++i) {
            for (auto& w : block)
                w = rng();
            out.write(reinterpret_cast<const char*>(block.data()),
                      static_cast<std::streamsize>(block.size() * 8));
        }
    }
    run("sync");
    const std::string src = "'" + source.string() + "'";
    const fs::path cpTarget = root / "to" / "cp.BAK";
    const fs::path engineTarget = root / "to" / "engine.BAK";

    std::vector<double> cp, cpSync, engine;
    for (int round = 0; round < 3; ++round) {
        cp.push_back(seconds([&] { run("cp " + src + " '" + cpTarget.string() + "'"); }));
        fs::remove(cpTarget);
        run("sync");
        // The engine's copy reaches the disk before it is renamed: the fair baseline includes that.
        cpSync.push_back(seconds(
            [&] { run("cp " + src + " '" + cpTarget.string() + "' && sync '" + cpTarget.string() + "'"); }));
        fs::remove(cpTarget);
        run("sync");
        engine.push_back(seconds([&] { engine::CopyFileVerified(source, engineTarget, nullptr, "bench"); }));
        fs::remove(engineTarget);
        run("sync");
    }
    const double tCp = median(cp), tCpSync = median(cpSync), tEngine = median(engine);
    std::printf("file: %zu MiB, medians of 3 rounds\n", mib);
    std::printf("cp                : %.3f s  (%.0f MiB/s)\n", tCp, mib / tCp);
    std::printf("cp + sync         : %.3f s  (%.0f MiB/s)\n", tCpSync, mib / tCpSync);
    std::printf("verified copy     : %.3f s  (%.0f MiB/s)\n", tEngine, mib / tEngine);
    std::printf("speed ratio verified/cp        : %.2f  (goal >= 0.9)\n", tCp / tEngine);
    std::printf("speed ratio verified/cp + sync : %.2f\n", tCpSync / tEngine);
    fs::remove_all(root);
    return 0;
}
