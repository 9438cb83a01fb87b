#pragma once

#include "Registry.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace reg {

// A registry read from a file in the text format that regedit exports ("Windows Registry
// Editor Version 5.00" in UTF-16LE with a byte-order mark, or UTF-8, or "REGEDIT4").
// Understood: [key] sections, "name"="text", @= defaults, dword:, hex:, hex(2): and hex(7):
// values, line continuations and ; comments. Deletion lines ([-key], "name"=-) are ignored.
// A missing or unreadable file (a folder, say) is an empty registry; a damaged value is left
// out and the rest of the file still read.
class RegFileRegistry : public Registry {
public:
    explicit RegFileRegistry(std::string path);

    // Parses text already in memory (the bytes of a .reg file).
    static std::unique_ptr<RegFileRegistry> fromBytes(const std::string& bytes);

    long openKey(Hive hive, const std::string& subKey, uint32_t options, uint32_t access,
                 KeyHandle& key) override;
    long queryValue(KeyHandle key, const std::string& valueName, uint32_t* type,
                    unsigned char* data, uint32_t* size) override;
    void closeKey(KeyHandle key) override;

    struct Value {
        uint32_t type = kTypeSz;
        std::string bytes;   // as RegQueryValueExA returns them, terminators included
    };

private:
    RegFileRegistry() = default;
    void parse(const std::string& bytes);

    // Key paths are stored upper-cased with the hive's full name ("HKEY_LOCAL_MACHINE\\SOFTWARE\\...").
    std::map<std::string, std::map<std::string, Value>> m_keys;
    std::mutex m_mutex;
    std::vector<std::string> m_openKeys;   // handle = index + 1
};

}  // namespace reg
