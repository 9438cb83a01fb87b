#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The bytes libFuzzer (or the corpus replay) hands to a harness, in the shapes the parsers take.
namespace fuzzinput {

inline std::string text(const uint8_t* data, size_t size)
{
    return std::string(reinterpret_cast<const char*>(data), size);
}

inline std::vector<uint8_t> bytes(const uint8_t* data, size_t size)
{
    return std::vector<uint8_t>(data, data + size);
}

// The input cut at each NUL: one command-line argument, or one field, per piece.
inline std::vector<std::string> fields(const uint8_t* data, size_t size)
{
    std::vector<std::string> out(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0)
            out.emplace_back();
        else
            out.back() += static_cast<char>(data[i]);
    }
    return out;
}

} // namespace fuzzinput
