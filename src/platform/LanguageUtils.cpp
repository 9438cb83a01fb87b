#include "LanguageUtils.h"

#include "SystemInfo.h"
#include "TextEncoding.h"

#include <initializer_list>

namespace LanguageUtils {
namespace {

// Face names are assembled from code points so that the sources stay plain ASCII.
std::string fromCodePoints(std::initializer_list<uint32_t> cps)
{
    std::string out;
    for (uint32_t cp : cps)
        text::AppendUtf8(out, cp);
    return out;
}

}  // namespace

LanguageFont LanguageFontFor(uint32_t lcid, bool bold, int baseSize)
{
    LanguageFont f;
    f.bold = bold;
    switch (lcid) {
    case 1042:   // Korean: Gulim
        f.charset = 129;
        f.faceName = fromCodePoints({0xAD74, 0xB9BC});
        f.size = baseSize + 9;
        break;
    case 1028:   // Chinese (Traditional): PMingLiU
        f.charset = 136;
        f.faceName = fromCodePoints({0x65B0, 0x7D30, 0x660E, 0x9AD4});
        f.size = baseSize + 9;
        break;
    case 1041:   // Japanese: MS PGothic
        f.charset = 128;
        f.faceName = fromCodePoints({0xFF2D, 0xFF33, 0x0020, 0xFF30, 0x30B4, 0x30B7, 0x30C3, 0x30AF});
        f.size = baseSize + 9;
        break;
    case 2052:   // Chinese (Simplified): SimSun
        f.charset = 134;
        f.faceName = fromCodePoints({0x5B8B, 0x4F53});
        f.size = baseSize + 9;
        break;
    default:
        f.charset = 1;
        f.faceName.clear();
        f.size = baseSize + 8;
        break;
    }
    return f;
}

bool IsEnglishLcid(uint32_t lcid)
{
    for (uint32_t english : {1033u, 2057u, 3081u, 4105u, 5129u, 6153u, 7177u, 8201u, 9225u, 10249u, 11273u})
        if (lcid == english)
            return true;
    return false;
}

bool IsEnglishLocale()
{
    try {
        return IsEnglishLcid(sys::machine().userDefaultLcid());
    } catch (...) {
        return false;   // any failure to read the locale counts as not English
    }
}

}  // namespace LanguageUtils
