#pragma once

#include "RegFileRegistry.h"
#include "TempDir.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// Installs a registry read from .reg text for the scope of a test: the real file reader
// over a file the test writes.
class RegistryFixture {
public:
    explicit RegistryFixture(const std::string& regText)
        : m_override(std::make_shared<reg::RegFileRegistry>(m_dir.write("machine.reg", regText).string()))
    {
    }

private:
    TempDir m_dir;
    reg::ScopedRegistryOverride m_override;
};

// The text regedit writes for a machine with SQL Server instances, the product and the
// chemistry component installed; tests take the parts they need.
namespace regtext {
inline const char* kHeader = "Windows Registry Editor Version 5.00\r\n\r\n";
// InstalledInstances = MSSQLSERVER, VELDRIN as regedit's hex(7) UTF-16LE bytes.
inline const char* kInstancesMssqlVeldrin =
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Microsoft SQL Server]\r\n"
    "\"InstalledInstances\"=hex(7):4d,00,53,00,53,00,51,00,4c,00,53,00,45,00,52,00,56,00,45,00,\\\r\n"
    "  52,00,00,00,56,00,45,00,4c,00,44,00,52,00,49,00,4e,00,00,00,00,00\r\n\r\n";
inline const char* kProductKey = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Veldrin\\Labfolio\\10.0]\r\n\"Path\"=\"C:\\\\Labfolio\"\r\n\r\n";
inline const char* kChemistryKey =
    "[HKEY_CLASSES_ROOT\\Strucora10.Document\\CLSID]\r\n@=\"{6A2B5E10-0000-4000-8000-00AA00BB00CC}\"\r\n\r\n";
// InstalledInstances for the given names as regedit writes it (hex(7), UTF-16LE, each name
// ended by a NUL and the list by another), with the registry file's header.
inline std::string installedInstances(const std::vector<std::string>& names)
{
    std::string hex;
    auto add = [&](unsigned char b) {
        char buf[4];
        std::snprintf(buf, sizeof buf, "%02x", b);
        hex += (hex.empty() ? "" : ",") + std::string(buf);
    };
    for (const auto& n : names) {
        for (char c : n) {
            add(static_cast<unsigned char>(c));
            add(0);
        }
        add(0);
        add(0);
    }
    add(0);
    add(0);
    return std::string(kHeader) + "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Microsoft SQL Server]\r\n" +
           "\"InstalledInstances\"=hex(7):" + hex + "\r\n\r\n";
}
}  // namespace regtext
