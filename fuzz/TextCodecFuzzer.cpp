// UTF-16LE from files and the network to UTF-8, and single code points to UTF-8.

#include "FuzzInput.h"
#include "TextEncoding.h"

#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    text::Utf16leToUtf8(fuzzinput::text(data, size));
    if (size >= 4) {
        uint32_t codePoint = 0;
        std::memcpy(&codePoint, data, 4);
        std::string out;
        text::AppendUtf8(out, codePoint);
    }
    return 0;
}
