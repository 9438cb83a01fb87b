// The offline data link file "LFOffline9.udl" as the offline removal reads it: its lines, then
// the server its "Data Source=" names. Reading raises only LfError.

#include "DataLinkFile.h"
#include "FuzzInput.h"
#include "LfError.h"
#include "OfflineRemoval.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzinput::InputFile file("LFOffline9.udl");
    try {
        const auto lines = engine::ReadDataLinkFileLines(file.write(data, size), "fuzz");
        engine::OfflineRemoval::ServerFromDataLinkLines(lines);
    } catch (const LfError&) {
        // the removal reports the file as unreadable and leaves it in place
    }
    return 0;
}
