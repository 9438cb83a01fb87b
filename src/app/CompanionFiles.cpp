#include "CompanionFiles.h"

#include "ChemistryLibrary.h"
#include "OfflineLocations.h"
#include "Process.h"
#include "SQLServerUtils.h"

#include <filesystem>
#include <system_error>

namespace {

#ifdef _WIN32
constexpr const char* kSqlTool = "osql.exe";
#else
constexpr const char* kSqlTool = "osql";
#endif

bool isFile(const std::filesystem::path& path)
{
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

} // namespace

std::vector<std::string> MissingCompanionFiles()
{
    std::vector<std::string> missing;
    const std::filesystem::path folder = proc::ownExecutableFolder();
    if (SQLServerUtils::FindOsqlExecutable().empty())
        missing.push_back("the SQL tool \"" + (folder / kSqlTool).string() +
                          "\" is missing (and no osql program is on the PATH): creating the offline "
                          "database will fail.");
    const auto script = engine::OfflineLocations{folder, {}}.scriptPath();
    if (!isFile(script))
        missing.push_back("the offline database script \"" + script.string() +
                          "\" is missing: creating the offline database will fail.");
    const std::string module = ChemistryModulePath();
    if (!isFile(module))
        missing.push_back("the chemistry module \"" + module +
                          "\" is missing: rebuilding a structure index will fail.");
    return missing;
}
