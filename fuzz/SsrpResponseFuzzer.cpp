// An SQL Browser answer comes from the network: any datagram parses to a list, possibly empty.

#include "FuzzInput.h"
#include "Ssrp.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (const ssrp::InstanceInfo& info : ssrp::parseResponse(fuzzinput::text(data, size)))
        ssrp::displayName(info);
    return 0;
}
