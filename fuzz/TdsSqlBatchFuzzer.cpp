// A SQL batch payload: ALL_HEADERS (TDS 7.2 and later) and UTF-16 text.

#include "FuzzInput.h"
#include "TdsRequest.h"
#include "TdsVersionPick.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    try {
        standin::tds::parseSqlBatch(fuzzinput::bytes(data + 1, size - 1), fuzzinput::tdsVersion(data[0]));
    } catch (const standin::tds::ProtocolError&) {
        // the connection is closed
    }
    return 0;
}
