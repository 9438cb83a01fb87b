#include "ServicePaths.h"

#include "LfError.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace engine {
namespace {

bool IsValidUtf8(const std::string& text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        const auto c = static_cast<unsigned char>(text[i]);
        std::size_t extra = 0;
        uint32_t cp = 0;
        if (c < 0x80) {
            ++i;
            continue;
        } else if (c >= 0xC2 && c <= 0xDF) {
            extra = 1, cp = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            extra = 2, cp = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            extra = 3, cp = c & 0x07;
        } else {
            return false;
        }
        if (i + extra >= text.size())
            return false;
        for (std::size_t k = 1; k <= extra; ++k) {
            const auto cc = static_cast<unsigned char>(text[i + k]);
            if ((cc & 0xC0) != 0x80)
                return false;
            cp = (cp << 6) | (cc & 0x3F);
        }
        // Overlong forms, surrogates and code points beyond Unicode.
        if ((extra == 2 && cp < 0x800) || (extra == 3 && cp < 0x10000) || (cp >= 0xD800 && cp < 0xE000) ||
            cp > 0x10FFFF)
            return false;
        i += extra + 1;
    }
    return true;
}

bool HasControlCharacter(const std::string& text)
{
    return std::any_of(text.begin(), text.end(), [](char c) {
        const auto u = static_cast<unsigned char>(c);
        return u < 0x20 || u == 0x7F;
    });
}

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

LfError BadName(const std::string& source, const std::string& what, const std::string& name,
                const std::string& problem)
{
    return LfError(LfError::kObjectError513, source,
                   "the " + what + " name \"" + ShortenedForMessage(name) + "\" " + problem);
}

} // namespace

bool HasPathSeparator(const std::string& path)
{
    return path.find_first_of("\\/") != std::string::npos;
}

std::string FileNameOf(const std::string& path)
{
    const auto cut = path.find_last_of("\\/");
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

std::string Beside(const std::string& path, const std::string& name)
{
    if (HasPathSeparator(name))
        return name;
    const auto cut = path.find_last_of("\\/");
    return cut == std::string::npos ? name : path.substr(0, cut + 1) + name;
}

bool SamePathText(const std::string& a, const std::string& b)
{
    return a.size() == b.size() && Lower(a) == Lower(b);
}

std::string WithMachineSuffix(const std::string& name, const std::string& extension,
                              const std::string& machine)
{
    if (machine.empty())
        return name;
    const auto cut = Lower(name).rfind(Lower(extension));
    return name.substr(0, cut) + "_" + machine + extension;
}

void CheckFileName(const std::string& path, const std::string& what, const std::string& source)
{
    const std::string name = FileNameOf(path);
    if (name.empty() || name == "." || name == "..")
        throw BadName(source, what, path, "does not name a file");
    if (name.size() > kMaxNameLength)
        throw BadName(source, what, path, "is longer than " + std::to_string(kMaxNameLength) + " characters");
    if (!IsValidUtf8(name) || HasControlCharacter(name) ||
        name.find_first_of("<>:\"|?*") != std::string::npos)
        throw BadName(source, what, path, "holds characters that a file name cannot hold");
}

void CheckServiceName(const std::string& name, const std::string& source)
{
    if (name.empty())
        throw LfError(LfError::kObjectError513, source, "the service has no name");
    if (name.size() > kMaxNameLength)
        throw BadName(source, "service", name,
                      "is longer than " + std::to_string(kMaxNameLength) + " characters");
    if (!IsValidUtf8(name) || HasControlCharacter(name))
        throw BadName(source, "service", name, "holds characters that a service name cannot hold");
}

std::string ShortenedForMessage(const std::string& name)
{
    constexpr std::size_t kShown = 60;
    if (name.size() <= kShown)
        return name;
    std::size_t cut = kShown;
    // Do not split a UTF-8 sequence.
    while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80)
        --cut;
    return name.substr(0, cut) + "...";
}

} // namespace engine
