// A structure index found on disk, its five files made from the input (IndexFilesInput.h). The
// rebuild opens it, appends, commits; whatever the files hold, that raises only LfError, and an
// index that opens takes one more structure and opens again with it.

#include "IndexFilesInput.h"
#include "LfError.h"
#include "StructureIndex.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzinput::IndexFiles files("Labfolio");
    if (!files.write(data, size))
        return 0;
    const std::string path = files.indexPath().string();

    try {
        int64_t count = 0;
        {
            StructureIndex index;
            index.OpenOrCreate(path, 0);
            count = index.Count();
            for (int64_t i = std::max<int64_t>(0, count - 4); i < count; ++i) {
                try {
                    index.Record(i);
                } catch (const LfError&) {
                    // a damaged structure is reported; the others still read
                }
            }
            index.AddMolecule(nullptr, 0);
            index.Commit();
        }
        StructureIndex again;
        again.OpenOrCreate(path, 0);
        if (again.Count() != count + 1 || !again.Record(count).empty())
            std::abort(); // the committed structure was lost
    } catch (const LfError&) {
        // the rebuild stops with the error and names the file
    }
    return 0;
}
