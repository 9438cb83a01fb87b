#pragma once

#include <memory>
#include <string>

#include "DrawingApplication.h"
#include "Molecule.h"
#include "ServiceSlot.h"

// The chemistry component library as the wizard reaches it: molecules and the drawing
// application. The wizard loads its implementation (a module over RDKit) at run time, because
// the product treats the library as an optional installed component.
class ChemistryLibrary {
public:
    virtual ~ChemistryLibrary() = default;

    // A new, empty molecule. Raises LfError 429 "Active-X cannot create Strucora10.Molecule
    // object" when the library is not installed.
    virtual std::unique_ptr<Molecule> CreateMolecule() = 0;

    // The running drawing application, or none when none runs.
    virtual std::shared_ptr<DrawingApplication> AttachDrawingApplication() = 0;
    // Starts a drawing application; raises LfError when it cannot.
    virtual std::shared_ptr<DrawingApplication> CreateDrawingApplication() = 0;
};

// The error a missing component raises when an object is created by its programmatic name.
inline constexpr uint32_t kCannotCreateObject = 429;

// Where the module is loaded from: LABFOLIO_CHEMISTRY_MODULE, else the module beside the
// program; a program run from the build folder falls back to the one the build made.
std::string ChemistryModulePath();
// The library loaded from its module (ChemistryModulePath when none is given). A library that
// cannot be loaded still answers: every molecule it is asked for fails with error 429, and
// standard error names the file and the loader's reason.
std::shared_ptr<ChemistryLibrary> LoadChemistryLibrary(const std::string& modulePath = {});

// The process's library (loaded on first use); tests put a fake in place for their scope.
ServiceSlot<ChemistryLibrary>& chemistryLibrarySlot();
inline ChemistryLibrary& chemistryLibrary()
{
    return chemistryLibrarySlot().get();
}
using ScopedChemistryLibraryOverride = ScopedServiceOverride<ChemistryLibrary, chemistryLibrarySlot>;

// The name of the entry point a chemistry module exports:
//   extern "C" ChemistryLibrary* lf_create_chemistry_library();
inline constexpr const char* kChemistryModuleEntryPoint = "lf_create_chemistry_library";
