// osql's command line: each NUL-separated piece of the input is one argument.

#include "FuzzInput.h"
#include "OsqlArguments.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string error;
    osql::parseArguments(fuzzinput::fields(data, size), error);
    return 0;
}
