#pragma once

#include <cstdint>
#include <string>

namespace text {

// Appends one Unicode code point to a UTF-8 string.
void AppendUtf8(std::string& out, uint32_t codePoint);

// UTF-16LE bytes (no byte-order mark) to UTF-8; an unpaired surrogate becomes U+FFFD.
std::string Utf16leToUtf8(const std::string& bytes);

}  // namespace text
