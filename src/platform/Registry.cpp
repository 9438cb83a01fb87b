#include "Registry.h"

#include <cstring>

namespace reg {

std::shared_ptr<Registry> createMachineRegistry();   // win32/ or posix/

ServiceSlot<Registry>& registrySlot()
{
    static ServiceSlot<Registry> slot(createMachineRegistry);
    return slot;
}

Registry& machineRegistry()
{
    return registrySlot().get();
}

std::optional<std::string> readValue512(Hive hive, const std::string& subKey, const std::string& valueName)
{
    Registry& registry = machineRegistry();
    KeyHandle key = 0;
    if (registry.openKey(hive, subKey, 0, kKeyRead, key) != kSuccess)
        return std::nullopt;
    unsigned char buffer[512];
    std::memset(buffer, 0, sizeof buffer);
    uint32_t size = sizeof buffer;
    uint32_t type = 0;
    const long status = registry.queryValue(key, valueName, &type, buffer, &size);
    registry.closeKey(key);
    if (status != kSuccess)
        return std::nullopt;
    // The returned count includes the final terminator; a value of zero bytes keeps nothing.
    const size_t keep = size == 0 ? 0 : size - 1;
    return std::string(reinterpret_cast<const char*>(buffer), keep);
}

bool keyExists(Hive hive, const std::string& subKey)
{
    Registry& registry = machineRegistry();
    KeyHandle key = 0;
    if (registry.openKey(hive, subKey, 0, kKeyRead, key) != kSuccess)
        return false;
    registry.closeKey(key);
    return true;
}

}  // namespace reg
