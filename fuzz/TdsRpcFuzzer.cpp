// An RPC payload: procedure names or ids, options and typed parameters.

#include "FuzzInput.h"
#include "TdsRequest.h"
#include "TdsTypes.h"
#include "TdsVersionPick.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    try {
        standin::tds::parseRpc(fuzzinput::bytes(data + 1, size - 1), fuzzinput::tdsVersion(data[0]));
    } catch (const standin::tds::ProtocolError&) {
        // the connection is closed
    } catch (const standin::tds::UnsupportedType&) {
        // answered with an error; the connection stays open
    }
    return 0;
}
