// A stored structure's CDXML as the index rebuild reads it: through a temporary file into the
// chemistry library's molecule (the RDKit module, loaded at run time). Whatever the text, that
// raises only LfError, and a molecule with a structure has a non-empty record.

#include "ChemistryLibrary.h"
#include "FuzzInput.h"
#include "LfError.h"
#include "MoleculeFromCDXML.h"

#include <cstdio>
#include <cstdlib>

namespace {

ChemistryLibrary& library()
{
    static const std::shared_ptr<ChemistryLibrary> loaded = [] {
        auto lib = LoadChemistryLibrary();
        try {
            lib->CreateMolecule();
        } catch (const LfError& e) {
            // Without the module every input would end at error 429: nothing would be fuzzed.
            std::fprintf(stderr, "the chemistry module did not load: %s\n", e.what());
            std::exit(2);
        }
        return lib;
    }();
    return *loaded;
}

} // namespace

// libFuzzer calls this before its first input: the module is loaded by then, so that its
// coverage counters are registered with the rest.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    library();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ChemistryLibrary& chemistry = library();
    try {
        const auto molecule = MoleculeFromCDXML(chemistry, fuzzinput::text(data, size));
        if (molecule) {
            const MoleculeRecord record = molecule->record();
            if (record.empty() && (record.heavyAtoms || record.bonds || record.rings))
                std::abort(); // counts without a structure
        }
    } catch (const LfError&) {
        // the rebuild stops at this row and reports the error
    }
    return 0;
}
