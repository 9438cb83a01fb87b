#include "RaiserrorFormat.h"

#include "SqlError.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>

namespace standin {
namespace {

// A message holds at most this many characters, so no width or precision needs to be larger.
constexpr int64_t kLongestMessage = 2047;

std::string printed(const std::string& marker, auto value)
{
    const int n = std::snprintf(nullptr, 0, marker.c_str(), value);
    std::string out(static_cast<size_t>(std::max(n, 0)) + 1, '\0');
    std::snprintf(out.data(), out.size(), marker.c_str(), value);
    out.resize(out.size() - 1);
    return out;
}

[[noreturn]] void mismatch(size_t argument)
{
    throw SqlError(2786, 16,
                   "The data type of substitution parameter " + std::to_string(argument + 1) +
                       " does not match the type its format marker expects.");
}

} // namespace

std::string formatRaiserror(const std::string& format, const std::vector<Value>& arguments)
{
    std::string out;
    size_t next = 0;
    auto take = [&]() -> std::optional<Value> {
        return next < arguments.size() ? std::optional<Value>(arguments[next++]) : std::nullopt;
    };
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            out += format[i];
            continue;
        }
        if (i + 1 < format.size() && format[i + 1] == '%') {
            out += '%';
            ++i;
            continue;
        }
        // %[flags][width][.precision][h|l]type
        size_t j = i + 1;
        std::string marker = "%";
        while (j < format.size() && std::string_view("-+0# ").find(format[j]) != std::string_view::npos)
            marker += format[j++];
        // A width or precision; a negative width from '*' left-justifies, as in printf.
        auto number = [&](int64_t lowest) {
            int64_t n = 0;
            if (j < format.size() && format[j] == '*') {
                ++j;
                const std::optional<Value> v = take();
                const int64_t* given = v ? std::get_if<int64_t>(&*v) : nullptr;
                n = given ? *given : 0;
            } else if (j < format.size() && format[j] >= '0' && format[j] <= '9') {
                while (j < format.size() && format[j] >= '0' && format[j] <= '9')
                    n = std::min(n * 10 + (format[j++] - '0'), kLongestMessage);
            } else {
                return;
            }
            marker += std::to_string(std::clamp(n, lowest, kLongestMessage));
        };
        number(-kLongestMessage);
        if (j < format.size() && format[j] == '.') {
            marker += format[j++];
            number(0);
        }
        if (j < format.size() && (format[j] == 'h' || format[j] == 'l'))
            ++j; // the size prefix changes nothing here: integers are printed at full width
        if (j >= format.size() || std::string_view("diuoxXs").find(format[j]) == std::string_view::npos) {
            out += format.substr(i, j - i); // not a marker: left as written
            i = j - 1;
            continue;
        }
        const char type = format[j];
        const size_t argument = next;
        const std::optional<Value> v = take();
        if (!v || std::holds_alternative<std::monostate>(*v)) {
            out += printed(marker + "s", "(null)");
        } else if (type == 's') {
            const std::string* text = std::get_if<std::string>(&*v);
            if (!text)
                mismatch(argument);
            out += printed(marker + "s", text->c_str());
        } else {
            const int64_t* n = std::get_if<int64_t>(&*v);
            if (!n)
                mismatch(argument);
            if (type == 'd' || type == 'i')
                out += printed(marker + "lld", static_cast<long long>(*n));
            else // unsigned forms show a negative int as its 32-bit pattern, as SQL Server does
                out += printed(marker + "ll" + type,
                               static_cast<unsigned long long>(*n >= INT32_MIN && *n < 0
                                                                   ? static_cast<uint32_t>(*n)
                                                                   : static_cast<uint64_t>(*n)));
        }
        i = j;
    }
    // Cut to the longest message, counting characters (UTF-8 continuation bytes do not count).
    int64_t characters = 0;
    for (size_t k = 0; k < out.size(); ++k) {
        if ((static_cast<unsigned char>(out[k]) & 0xC0) != 0x80 && ++characters > kLongestMessage) {
            out.resize(k);
            break;
        }
    }
    return out;
}

} // namespace standin
