// A script file handed to osql: decoded, then cut into batches at GO lines.

#include "FuzzInput.h"
#include "OsqlScript.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    osql::splitBatches(osql::decodeScript(fuzzinput::text(data, size)));
    return 0;
}
