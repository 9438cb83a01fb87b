#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace text {

// Appends one Unicode code point to a UTF-8 string.
void AppendUtf8(std::string& out, uint32_t codePoint);

// UTF-16LE bytes (no byte-order mark) to UTF-8; an unpaired surrogate becomes U+FFFD.
std::string Utf16leToUtf8(const std::string& bytes);

// UTF-8 to UTF-16LE bytes (no byte-order mark); a malformed sequence becomes U+FFFD.
std::string Utf8ToUtf16le(std::string_view utf8);

} // namespace text
