#include "TempFiles.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

// A number in [0, 1) from the runtime's generator, as the product's random function gives it.
double draw()
{
    return static_cast<double>(std::rand()) / (static_cast<double>(RAND_MAX) + 1.0);
}

} // namespace

std::string GetTempFolderPath()
{
    fs::path cache;
    if (const char* xdg = std::getenv("XDG_CACHE_HOME"); xdg && *xdg)
        cache = xdg;
    else if (const char* home = std::getenv("HOME"); home && *home)
        cache = fs::path(home) / ".cache";
    else
        cache = fs::temp_directory_path();
    fs::path temp = cache / "Labfolio" / "Temp";
    std::error_code ec;
    fs::create_directories(temp, ec);
    return temp.string();
}

std::string MakeUniqueTempFileName(const std::string& base, const std::string& extension)
{
    std::string name;
    std::error_code ec;
    do {
        const int n = static_cast<int>(draw() * 100001);
        const int c = static_cast<int>(draw() * 26) + 64;
        char digits[16];
        std::snprintf(digits, sizeof digits, "%06d", n);
        name = base + static_cast<char>(c) + digits + "." + extension;
    } while (fs::exists(name, ec));
    return name;
}
