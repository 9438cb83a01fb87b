// A batch's text parsed and translated, and an sp_executesql parameter list; the first NUL
// separates the two.

#include "FuzzInput.h"
#include "Translator.h"

#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto fields = fuzzinput::fields(data, size);
    try {
        standin::translateBatch(fields[0]);
    } catch (const std::exception&) {
        // answered to the client as an error (SqlError, or an internal error for anything
        // else); nothing of the batch runs
    }
    if (fields.size() > 1) {
        try {
            standin::parseParameterDefinitions(fields[1]);
        } catch (const std::exception&) {
        }
    }
    return 0;
}
