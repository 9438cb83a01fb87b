// A rebuild in a process of its own, so that a test can kill it half-way:
//   structindex_rebuild_child SERVER DATABASE FOLDER
// Slow on purpose (a pause after every slice, longer once a few slices are done), so that it is
// still running when the test, which waits for the first slices' identifiers, kills it.
#include <chrono>
#include <iostream>
#include <thread>

#include "ChemistryLibrary.h"
#include "IndexRebuild.h"
#include "LfError.h"

int main(int argc, char** argv)
{
    if (argc != 4)
        return 2;
    try {
        auto library = LoadChemistryLibrary();
        IndexRebuild rebuild(*library);
        rebuild.Open(argv[1], argv[2], argv[3]);
        for (int slice = 1; !rebuild.AtEnd(); ++slice) {
            rebuild.ProcessSlice(10);
            std::this_thread::sleep_for(std::chrono::milliseconds(slice < 5 ? 20 : 250));
        }
        rebuild.Finish();
    } catch (const LfError& e) {
        std::cerr << e.source() << ": " << e.description() << "\n";
        return 1;
    }
    return 0;
}
