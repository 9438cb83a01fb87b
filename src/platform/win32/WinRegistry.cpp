#ifdef _WIN32
#include "../Registry.h"

#include <windows.h>

namespace reg {
namespace {

class WinRegistry : public Registry {
public:
    long openKey(Hive hive, const std::string& subKey, uint32_t options, uint32_t access, KeyHandle& key) override
    {
        HKEY h = nullptr;
        const LONG status = RegOpenKeyExA(reinterpret_cast<HKEY>(static_cast<uintptr_t>(hive)), subKey.c_str(),
                                          options, static_cast<REGSAM>(access), &h);
        key = reinterpret_cast<KeyHandle>(h);
        return status;
    }

    long queryValue(KeyHandle key, const std::string& valueName, uint32_t* type, unsigned char* data,
                    uint32_t* size) override
    {
        DWORD t = 0;
        DWORD s = size ? *size : 0;
        const LONG status = RegQueryValueExA(reinterpret_cast<HKEY>(key), valueName.c_str(), nullptr, &t, data,
                                             size ? &s : nullptr);
        if (type)
            *type = t;
        if (size)
            *size = s;
        return status;
    }

    void closeKey(KeyHandle key) override { RegCloseKey(reinterpret_cast<HKEY>(key)); }
};

}  // namespace

std::shared_ptr<Registry> createMachineRegistry()
{
    return std::make_shared<WinRegistry>();
}

}  // namespace reg
#endif
