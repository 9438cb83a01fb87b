// The engine's verified copy against cp, on one file (1 GiB unless a size in MiB is given), in
// the same run and the same folders, the commands taking turns round by round. Run on demand:
//   build/bench/engine_copy_bench [MiB] [folder] [rounds]
// Three baselines: cp alone; cp then sync (the verified copy puts its copy on the disk before it
// renames it); and cp, sync and then SHA-256 of both files one after the other, with the same
// OpenSSL hash the copy uses, which is the same check done by hand. Wall times are min and
// median; processor seconds (user + system, every thread and child) show what a busy machine
// takes from the wall times.
#include "VerifiedCopy.h"

#include <openssl/evp.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

struct Figures {
    std::vector<double> wall;
    std::vector<double> cpu;
};

double cpuSeconds()
{
    double total = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage u{};
        ::getrusage(who, &u);
        for (const timeval& t : {u.ru_utime, u.ru_stime})
            total += static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    }
    return total;
}

void measure(Figures& into, const std::function<void()>& work)
{
    const double cpuBefore = cpuSeconds();
    const auto start = Clock::now();
    work();
    into.wall.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    into.cpu.push_back(cpuSeconds() - cpuBefore);
}

void run(const std::string& command)
{
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "failed: %s\n", command.c_str());
        std::exit(1);
    }
}

void sha256(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    std::vector<char> buffer(size_t(256) << 10);
    EVP_MD_CTX* ctx = EVP_MD_CTX_new();
    EVP_DigestInit_ex(ctx, EVP_sha256(), nullptr);
    while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) || in.gcount() > 0)
        EVP_DigestUpdate(ctx, buffer.data(), static_cast<size_t>(in.gcount()));
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    EVP_DigestFinal_ex(ctx, digest, &size);
    EVP_MD_CTX_free(ctx);
}

double minimum(const std::vector<double>& v)
{
    return *std::min_element(v.begin(), v.end());
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

std::string loadAverage()
{
    std::ifstream in("/proc/loadavg");
    std::string one, five, fifteen;
    in >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

} // namespace

int main(int argc, char** argv)
{
    const size_t mib = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1024;
    const fs::path root = fs::path(argc > 2 ? argv[2] : fs::temp_directory_path().string()) /
                          ("lf-copy-bench-" + std::to_string(::getpid()));
    const int rounds = argc > 3 ? std::max(1, std::atoi(argv[3])) : 5;
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
    const std::string loadBefore = loadAverage();
    const std::string src = "'" + source.string() + "'";
    const fs::path cpTarget = root / "to" / "cp.BAK";
    const std::string cp = "cp " + src + " '" + cpTarget.string() + "'";
    const fs::path engineTarget = root / "to" / "engine.BAK";

    Figures cpAlone, cpSync, cpSyncHash, engine;
    for (int round = 0; round < rounds; ++round) {
        const auto settle = [&](const fs::path& target) {
            fs::remove(target);
            run("sync");
        };
        measure(cpAlone, [&] { run(cp); });
        settle(cpTarget);
        measure(cpSync, [&] { run(cp + " && sync '" + cpTarget.string() + "'"); });
        settle(cpTarget);
        measure(cpSyncHash, [&] {
            run(cp + " && sync '" + cpTarget.string() + "'");
            sha256(source);
            sha256(cpTarget);
        });
        settle(cpTarget);
        measure(engine, [&] { engine::CopyFileVerified(source, engineTarget, nullptr, "bench"); });
        settle(engineTarget);
    }

    std::printf("file: %zu MiB, %d rounds taking turns; load average %s before, %s after\n", mib, rounds,
                loadBefore.c_str(), loadAverage().c_str());
    std::printf("%-28s %9s %9s %9s %12s\n", "", "min s", "median s", "MiB/s", "cpu s (med)");
    const auto row = [&](const char* name, const Figures& f) {
        std::printf("%-28s %9.3f %9.3f %9.0f %12.3f\n", name, minimum(f.wall), median(f.wall),
                    static_cast<double>(mib) / median(f.wall), median(f.cpu));
    };
    row("cp", cpAlone);
    row("cp + sync", cpSync);
    row("cp + sync + sha256 of both", cpSyncHash);
    row("verified copy", engine);
    const auto ratio = [&](const char* name, const Figures& baseline) {
        std::printf("speed ratio verified / %-26s: %.2f median, %.2f best against best\n", name,
                    median(baseline.wall) / median(engine.wall),
                    minimum(baseline.wall) / minimum(engine.wall));
    };
    ratio("cp (goal >= 0.9)", cpAlone);
    ratio("cp + sync", cpSync);
    ratio("cp + sync + sha256 of both", cpSyncHash);
    fs::remove_all(root);
    return 0;
}
