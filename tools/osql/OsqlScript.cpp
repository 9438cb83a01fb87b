#include "OsqlScript.h"

#include "TextEncoding.h"

#include <cctype>
#include <utility>

namespace osql {
namespace {

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
    // Big-endian scripts are turned round into the little-endian order the decoder reads.
    std::string units = bytes.substr(2);
    if (be)
        for (size_t i = 0; i + 1 < units.size(); i += 2)
            std::swap(units[i], units[i + 1]);
    return text::Utf16leToUtf8(units);
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
