#pragma once

#include "FakeServerManager.h"
#include "FakeSystemInfo.h"
#include "RegistryFixture.h"

#include <QTest>

#include <memory>
#include <string>
#include <vector>

// The .reg text of a machine whose InstalledInstances lists these names (regedit's hex(7),
// UTF-16LE, each name NUL-terminated and one more NUL at the end).
inline std::string instancesRegText(const std::vector<std::string>& names)
{
    static const char* hex = "0123456789abcdef";
    std::string bytes;
    auto put = [&](unsigned char c) {
        if (!bytes.empty())
            bytes += ',';
        bytes += hex[c >> 4];
        bytes += hex[c & 15];
    };
    for (const auto& n : names) {
        for (unsigned char c : n) {
            put(c);
            put(0);
        }
        put(0);
        put(0);
    }
    put(0);
    put(0);
    return std::string(regtext::kHeader) +
           "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Microsoft SQL Server]\r\n" +
           "\"InstalledInstances\"=hex(7):" + bytes + "\r\n\r\n";
}

// A computer named PC1 with the given instances, and a fake server manager installed for the
// process. Declared before the widgets of a test, so that these outlive every probe.
class MachineWithServers {
public:
    explicit MachineWithServers(const std::vector<std::string>& instances)
        : m_registry(instances.empty() ? std::string(regtext::kHeader) : instancesRegText(instances))
    {
    }

    std::shared_ptr<FakeSystemInfo> system = std::make_shared<FakeSystemInfo>();
    std::shared_ptr<FakeServerManager> manager = std::make_shared<FakeServerManager>();

private:
    RegistryFixture m_registry;
    sys::ScopedSystemOverride m_systemOverride{system};
    sqlserver::ScopedServerManagerOverride m_managerOverride{manager};
};
