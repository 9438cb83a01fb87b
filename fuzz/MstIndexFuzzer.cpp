// A structure index as labfolio-mst finds it, its five files made from the input
// (IndexFilesInput.h). The index is opened read-only, verified and searched; whatever the files
// hold, that raises only LfError (the command's "damaged" or "cannot be used").

#include "IndexFilesInput.h"
#include "IndexSnapshot.h"
#include "IndexVerifier.h"
#include "LfError.h"
#include "StructureQuery.h"
#include "SubstructureSearch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzinput::IndexFiles files("Search");
    static const StructureQuery query("c1ccccc1", false);
    if (!files.write(data, size))
        return 0;

    try {
        IndexSnapshot index(files.indexPath());
        SubstructureSearch(index, query).run({}, [](uint32_t) {});
        IndexVerifier(index).run();
    } catch (const LfError&) {
        // reported by the command as damage or an unusable file
    }
    return 0;
}
