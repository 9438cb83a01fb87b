#ifdef _WIN32
#include "../SystemInfo.h"

#include <windows.h>
#define SECURITY_WIN32
#include <security.h>

namespace sys {
namespace {

class WinSystemInfo : public SystemInfo {
public:
    bool computerName(std::string& name) override
    {
        std::string buffer(255, 'X');
        DWORD size = 255;
        if (!GetComputerNameA(buffer.data(), &size))
            return false;
        name = buffer.substr(0, size);
        return true;
    }

    uint32_t userDefaultLcid() override { return GetUserDefaultLCID(); }

    int timeZoneInformation(TimeZoneInfo& info) override
    {
        TIME_ZONE_INFORMATION tz{};
        const DWORD result = GetTimeZoneInformation(&tz);
        info.bias = tz.Bias;
        info.standardBias = tz.StandardBias;
        info.daylightBias = tz.DaylightBias;
        return result == TIME_ZONE_ID_INVALID ? kTimeZoneIdInvalid : static_cast<int>(result);
    }

    bool userNameDownLevel(std::string& name) override
    {
        std::string buffer(255, '\0');
        ULONG size = 255;
        if (!GetUserNameExA(NameSamCompatible, buffer.data(), &size))
            return false;
        name = buffer.substr(0, size);
        return true;
    }
};

}  // namespace

std::shared_ptr<SystemInfo> createMachineSystemInfo()
{
    return std::make_shared<WinSystemInfo>();
}

}  // namespace sys
#endif
