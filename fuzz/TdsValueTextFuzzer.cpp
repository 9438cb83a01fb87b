// Date-and-time and uniqueidentifier text that the stand-in turns into wire values.

#include "FuzzInput.h"
#include "TdsTypes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text = fuzzinput::text(data, size);
    try {
        int64_t days = 0;
        int64_t millis = 0;
        standin::tds::parseDateTime(text, days, millis);
        standin::tds::formatDateTime(days, millis);
    } catch (const std::invalid_argument&) {
        // the value cannot be shown in its column: the statement fails with an error
    }
    try {
        standin::tds::guidToBytes(text);
    } catch (const std::invalid_argument&) {
    }
    return 0;
}
