#include "ChemistryLibrary.h"

#include "LfError.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

#ifdef _WIN32
constexpr const char* kModuleName = "lf_chemistry_rdkit.dll";
#else
constexpr const char* kModuleName = "liblf_chemistry_rdkit.so";
#endif

// What the wizard finds when the chemistry library is not installed: molecules cannot be
// created, exactly as when the component is missing from the registry. The drawing
// application is a program of its own that this platform does not have: nothing to start.
class MissingChemistryLibrary : public ChemistryLibrary {
public:
    std::unique_ptr<Molecule> CreateMolecule() override
    {
        throw LfError(kCannotCreateObject, "Strucora10.Molecule", "cannot create object");
    }
    std::shared_ptr<DrawingApplication> AttachDrawingApplication() override
    {
        return std::make_shared<DrawingApplication>();
    }
    std::shared_ptr<DrawingApplication> CreateDrawingApplication() override
    {
        return std::make_shared<DrawingApplication>();
    }
};

using EntryPoint = ChemistryLibrary* (*)();

// Why a module did not load, in the loader's words (the missing file, or a library it needs).
std::string loaderError()
{
#ifdef _WIN32
    return "Windows error " + std::to_string(GetLastError());
#else
    const char* error = dlerror();
    return error ? error : "no entry point " + std::string(kChemistryModuleEntryPoint);
#endif
}

EntryPoint loadEntryPoint(const std::string& path)
{
#ifdef _WIN32
    HMODULE module = LoadLibraryA(path.c_str());
    return module ? reinterpret_cast<EntryPoint>(GetProcAddress(module, kChemistryModuleEntryPoint))
                  : nullptr;
#else
    // The module stays loaded for the life of the process: molecules it made may outlive any
    // one library object.
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    return module ? reinterpret_cast<EntryPoint>(dlsym(module, kChemistryModuleEntryPoint)) : nullptr;
#endif
}

std::filesystem::path programFolder()
{
#ifdef _WIN32
    char buf[MAX_PATH] = {0};
    GetModuleFileNameA(nullptr, buf, MAX_PATH);
    return std::filesystem::path(buf).parent_path();
#else
    std::error_code ec;
    auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::filesystem::path() : exe.parent_path();
#endif
}

#ifdef LF_BUILD_FOLDER
// Tests and tools run from the build folder, away from the wizard's own folder; an installed
// program never reaches into a build folder.
bool runsFromBuildFolder(const std::filesystem::path& folder)
{
    const auto relative = folder.lexically_relative(LF_BUILD_FOLDER);
    return !relative.empty() && *relative.begin() != "..";
}
#endif

} // namespace

std::string ChemistryModulePath()
{
    if (const char* env = std::getenv("LABFOLIO_CHEMISTRY_MODULE"))
        return env;
    const auto folder = programFolder();
    const auto beside = folder / kModuleName;
#if defined(LF_BUILD_FOLDER) && defined(LF_CHEMISTRY_MODULE_BUILD_PATH)
    std::error_code ec;
    if (!std::filesystem::exists(beside, ec) && runsFromBuildFolder(folder))
        return LF_CHEMISTRY_MODULE_BUILD_PATH;
#endif
    return beside.string();
}

std::shared_ptr<ChemistryLibrary> LoadChemistryLibrary(const std::string& modulePath)
{
    const std::string path = modulePath.empty() ? ChemistryModulePath() : modulePath;
    EntryPoint create = loadEntryPoint(path);
    if (ChemistryLibrary* library = create ? create() : nullptr)
        return std::shared_ptr<ChemistryLibrary>(library);
    // The product's own answer (error 429 on the first molecule) does not say which file is
    // missing; the administrator reads that here.
    std::fprintf(
        stderr,
        "Labfolio: the chemistry module \"%s\" cannot be loaded (%s); structures cannot be indexed.\n",
        path.c_str(), loaderError().c_str());
    return std::make_shared<MissingChemistryLibrary>();
}

ServiceSlot<ChemistryLibrary>& chemistryLibrarySlot()
{
    static ServiceSlot<ChemistryLibrary> slot([] { return LoadChemistryLibrary(); });
    return slot;
}
