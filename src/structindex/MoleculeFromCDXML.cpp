#include "MoleculeFromCDXML.h"

#include "ChemistryLibrary.h"
#include "LfError.h"
#include "TempFiles.h"

#include <cstdio>
#include <filesystem>
#include <mutex>
#include <system_error>

std::unique_ptr<Molecule> MoleculeFromCDXML(ChemistryLibrary& library, const std::string& cdxml)
{
    const std::string source = "MSTFileProgressCtl.MoleculeFromCDXML";
    if (cdxml.empty())
        return nullptr;

    const std::string folder = GetTempFolderPath();
    std::string path;
    std::FILE* f = nullptr;
    {
        // Structures are read ahead on several threads: each draws its name from the runtime's
        // generator alone and creates the file before another draws.
        static std::mutex naming;
        std::lock_guard lock(naming);
        path = MakeUniqueTempFileName(folder, "cdxml");
        f = std::fopen(path.c_str(), "wb");
    }
    {
        bool written = f && std::fwrite(cdxml.data(), 1, cdxml.size(), f) == cdxml.size();
        if (f && std::fclose(f) != 0)
            written = false;
        if (!written)
            throw LfError(LfError::kObjectError513, source, "while writing \"" + path + "\"");
    }

    std::unique_ptr<Molecule> molecule;
    try {
        molecule = library.CreateMolecule();
    } catch (const LfError& e) {
        if (e.number() == kCannotCreateObject)
            throw LfError(kCannotCreateObject, source, "Active-X cannot create Strucora10.Molecule object");
        throw LfError(e.number(), source,
                      "while creating the Strucora10.Molecule object: " + e.description());
    }
    try {
        molecule->Read(path);
    } catch (const LfError&) {
        // A structure the library cannot read is not reported: the molecule goes into the index
        // as it stands (empty), and the row still gets its identifier.
    }
    std::error_code ignored; // the temporary file is never worth a failure
    std::filesystem::remove(path, ignored);
    return molecule;
}
