#pragma once

#include <cstdint>
#include <string>

namespace LanguageUtils {

// The font settings chosen for a user locale: East Asian locales get their own face and
// character set and one point more.
struct LanguageFont {
    int charset = 1;           // DEFAULT_CHARSET
    std::string faceName;      // UTF-8; empty = leave the face to the font's own fallback
    int size = 8;
    bool bold = false;
};

LanguageFont LanguageFontFor(uint32_t lcid, bool bold, int baseSize);

// The user's locale is one of the eleven English locales (United States to Trinidad).
bool IsEnglishLocale();
bool IsEnglishLcid(uint32_t lcid);

}  // namespace LanguageUtils
