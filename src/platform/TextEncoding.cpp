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
            uint32_t lo =
                static_cast<unsigned char>(bytes[i + 2]) | (static_cast<unsigned char>(bytes[i + 3]) << 8);
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

namespace {

// The next code point of a UTF-8 string; a malformed, overlong or truncated sequence yields
// U+FFFD and advances by one byte, so every input ends.
uint32_t nextCodePoint(std::string_view s, size_t& i)
{
    const unsigned char lead = static_cast<unsigned char>(s[i]);
    if (lead < 0x80) {
        ++i;
        return lead;
    }
    const int extra = (lead >> 5) == 6 ? 1 : (lead >> 4) == 14 ? 2 : (lead >> 3) == 30 ? 3 : 0;
    uint32_t cp = extra == 1 ? lead & 0x1F : extra == 2 ? lead & 0x0F : lead & 0x07;
    bool ok = extra > 0 && i + extra < s.size();
    for (int k = 1; ok && k <= extra; ++k) {
        const unsigned char c = static_cast<unsigned char>(s[i + k]);
        ok = (c & 0xC0) == 0x80;
        cp = (cp << 6) | (c & 0x3F);
    }
    static constexpr uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (!ok || cp < kSmallest[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) {
        ++i;
        return 0xFFFD;
    }
    i += 1 + extra;
    return cp;
}

} // namespace

std::string Utf8ToUtf16le(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size() * 2);
    const auto unit = [&](uint32_t u) {
        out += static_cast<char>(u & 0xFF);
        out += static_cast<char>(u >> 8);
    };
    for (size_t i = 0; i < utf8.size();) {
        uint32_t cp = nextCodePoint(utf8, i);
        if (cp >= 0x10000) {
            cp -= 0x10000;
            unit(0xD800 + (cp >> 10));
            unit(0xDC00 + (cp & 0x3FF));
        } else {
            unit(cp);
        }
    }
    return out;
}

} // namespace text
