// A batch's text cut into T-SQL tokens.

#include "FuzzInput.h"
#include "Lexer.h"

#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        standin::tokenize(fuzzinput::text(data, size));
    } catch (const std::exception&) {
        // answered to the client as an error, an internal one for anything but SqlError
    }
    return 0;
}
