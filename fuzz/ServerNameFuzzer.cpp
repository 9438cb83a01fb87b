// A server name as an administrator types it; the computer name follows the first NUL.

#include "FuzzInput.h"
#include "ServerEndpoint.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto fields = fuzzinput::fields(data, size);
    sqlserver::parseServerName(fields[0], fields.size() > 1 ? fields[1] : std::string("LABHOST"));
    return 0;
}
