#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace standin::tds {

// "9.00.5000.00" as the protocol carries it: major, minor and build number.
struct ProductVersion {
    uint8_t major = 9;
    uint8_t minor = 0;
    uint16_t build = 5000;

    // Missing or unreadable parts keep SQL Server 2005 SP4's numbers.
    static ProductVersion parse(const std::string& text)
    {
        ProductVersion v;
        unsigned a = 0, b = 0, c = 0;
        const int n = std::sscanf(text.c_str(), "%u.%u.%u", &a, &b, &c);
        if (n >= 1)
            v.major = static_cast<uint8_t>(a);
        if (n >= 2)
            v.minor = static_cast<uint8_t>(b);
        if (n >= 3)
            v.build = static_cast<uint16_t>(c);
        return v;
    }
};

} // namespace standin::tds
