#include "IndexFileChoice.h"

#include <algorithm>
#include <cctype>
#include <system_error>

namespace fs = std::filesystem;

namespace {

std::string lowered(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

} // namespace

std::string FileTypeDescription(const fs::path& file)
{
    std::string ext = file.extension().string();
    if (ext.size() <= 1)
        return "File";
    std::string upper = ext.substr(1);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return upper + " File";
}

std::string ChooseIndexFile(const std::string& folder)
{
    const fs::path base(folder);
    const fs::path preferred = base / kDefaultIndexFileName;
    std::error_code ec;
    if (fs::is_regular_file(preferred, ec))
        return preferred.string();
    for (fs::directory_iterator it(base, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->is_regular_file(ec) && lowered(FileTypeDescription(it->path())) == "mst file")
            return (base / it->path().filename()).string();
    }
    return preferred.string();
}
