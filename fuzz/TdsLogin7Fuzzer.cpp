// A LOGIN7 payload from an unauthenticated client.

#include "FuzzInput.h"
#include "Login7.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        standin::tds::parseLogin7(fuzzinput::bytes(data, size));
    } catch (const standin::tds::ProtocolError&) {
        // the connection is closed: what the server does with a malformed login
    }
    return 0;
}
