// Demonstration equipment, never part of the product: the desktop structure index that a
// Labfolio installation keeps in its shared data folder, built from the desktop database's
// stored structures by the wizard's own rebuild (no window), so that the demonstration machine
// has an index for the migration to copy.
//   lf-demo-index SERVER DATABASE FOLDER
#include "ChemistryLibrary.h"
#include "IndexRebuild.h"
#include "LfError.h"

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: lf-demo-index SERVER DATABASE FOLDER\n");
        return 2;
    }
    try {
        const auto library = LoadChemistryLibrary();
        IndexRebuild rebuild(*library);
        rebuild.Open(argv[1], argv[2], argv[3]);
        while (!rebuild.AtEnd())
            rebuild.ProcessSlice(10);
        rebuild.Finish();
        std::printf("%s: %lld structures\n", rebuild.indexFilePath().c_str(),
                    static_cast<long long>(rebuild.structureCount()));
        return 0;
    } catch (const LfError& e) {
        std::fprintf(stderr, "lf-demo-index: %s\n", e.description().c_str());
        return 1;
    }
}
