#pragma once

#include "RegistryFixture.h"

#include <filesystem>
#include <string>

// The registry of a workstation with the desktop instance, the product and the chemistry
// component installed, and the shared application-data folder in the test's folder.
inline std::string machineRegistry(const std::filesystem::path& root)
{
    std::string folder = (root / "appdata").string();
    std::string escaped;
    for (char c : folder)
        escaped += c == '\\' ? std::string("\\\\") : std::string(1, c);
    return regtext::installedInstances({"VELDRIN"}) + regtext::kProductKey + regtext::kChemistryKey +
           "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
           "Folders]\r\n\"Common AppData\"=\"" +
           escaped + "\"\r\n\r\n";
}
