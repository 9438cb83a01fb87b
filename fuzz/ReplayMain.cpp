// Feeds every file of the given corpus folders (or single files) to the harness once, so the
// normal build replays each seed and each input that once crashed. Fails when nothing was fed:
// a missing or empty corpus is a mistake, not a pass.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int replay(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        std::exit(1);
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    int fed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path arg = argv[i];
        if (!std::filesystem::is_directory(arg)) {
            fed += replay(arg);
            continue;
        }
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(arg))
            if (entry.is_regular_file())
                files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        for (const auto& file : files) {
            std::printf("%s\n", file.filename().c_str());
            std::fflush(stdout); // the last name printed is the input that crashed
            fed += replay(file);
        }
    }
    std::printf("replayed %d input(s)\n", fed);
    return fed > 0 ? 0 : 1;
}
