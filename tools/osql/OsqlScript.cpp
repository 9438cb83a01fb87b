#include "OsqlScript.h"

#include <cctype>

namespace osql {
namespace {

void appendUtf8(std::string& out, uint32_t cp)
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

std::string trim(const std::string& s)
{
    size_t b = 0, e = s.size();
    while (b < e && std::isspace(static_cast<unsigned char>(s[b])))
        ++b;
    while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1])))
        --e;
    return s.substr(b, e - b);
}

} // namespace

std::string decodeScript(const std::string& bytes)
{
    if (bytes.size() >= 3 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0)
        return bytes.substr(3);
    const bool le = bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE';
    const bool be = bytes.size() >= 2 && bytes[0] == '\xFE' && bytes[1] == '\xFF';
    if (!le && !be)
        return bytes;
    std::string out;
    auto unit = [&](size_t i) -> uint32_t {
        const auto a = static_cast<unsigned char>(bytes[i]);
        const auto b = static_cast<unsigned char>(bytes[i + 1]);
        return le ? (a | (b << 8)) : ((a << 8) | b);
    };
    for (size_t i = 2; i + 1 < bytes.size(); i += 2) {
        uint32_t cp = unit(i);
        if (cp >= 0xD800 && cp < 0xDC00 && i + 3 < bytes.size()) {
            const uint32_t lo = unit(i + 2);
            if (lo >= 0xDC00 && lo < 0xE000) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
                i += 2;
            }
        }
        appendUtf8(out, cp);
    }
    return out;
}

std::vector<Batch> splitBatches(const std::string& script)
{
    std::vector<Batch> batches;
    Batch current;
    int lineNo = 0;
    size_t pos = 0;
    auto flush = [&](int nextLine) {
        if (!trim(current.text).empty())
            batches.push_back(current);
        current = Batch{{}, nextLine};
    };
    while (pos <= script.size()) {
        size_t end = script.find('\n', pos);
        const bool last = end == std::string::npos;
        if (last)
            end = script.size();
        std::string line = script.substr(pos, end - pos);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        ++lineNo;
        const std::string t = trim(line);
        if (t.size() == 2 && std::toupper(static_cast<unsigned char>(t[0])) == 'G' &&
            std::toupper(static_cast<unsigned char>(t[1])) == 'O') {
            flush(lineNo + 1);
        } else {
            current.text += line + "\n";
        }
        if (last)
            break;
        pos = end + 1;
        if (pos == script.size())
            break; // a final line break ends the last line, it does not start another
    }
    flush(lineNo + 1);
    return batches;
}

} // namespace osql
