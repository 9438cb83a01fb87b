#include "TextEncoding.h"

namespace text {

void AppendUtf8(std::string& out, uint32_t cp)
{
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

std::string Utf16leToUtf8(const std::string& bytes)
{
    std::string out;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        uint32_t u = static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8);
        if (u >= 0xD800 && u < 0xDC00 && i + 3 < bytes.size()) {
            uint32_t lo = static_cast<unsigned char>(bytes[i + 2]) | (static_cast<unsigned char>(bytes[i + 3]) << 8);
            if (lo >= 0xDC00 && lo < 0xE000) {
                AppendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (lo - 0xDC00));
                i += 2;
                continue;
            }
        }
        AppendUtf8(out, (u >= 0xD800 && u < 0xE000) ? 0xFFFD : u);
    }
    return out;
}

}  // namespace text
