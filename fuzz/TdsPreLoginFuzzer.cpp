// A PRELOGIN payload, the first thing a client sends.

#include "FuzzInput.h"
#include "PreLogin.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        standin::tds::parsePreLogin(fuzzinput::bytes(data, size));
    } catch (const standin::tds::ProtocolError&) {
        // the connection is closed
    }
    return 0;
}
