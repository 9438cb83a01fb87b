#include "../SystemInfo.h"

#include <cstdlib>
#include <ctime>
#include <pwd.h>
#include <unistd.h>

namespace sys {
namespace {

class PosixSystemInfo : public SystemInfo {
public:
    bool computerName(std::string& name) override
    {
        char buffer[256] = {};
        if (gethostname(buffer, sizeof buffer - 1) != 0)
            return false;
        name = buffer;
        name = name.substr(0, name.find('.'));   // the short form, as NetBIOS names are
        return !name.empty();
    }

    uint32_t userDefaultLcid() override
    {
        for (const char* var : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
            const char* value = std::getenv(var);
            if (value && *value)
                return lcidFromLocaleName(value);
        }
        return lcidFromLocaleName("C");
    }

    int timeZoneInformation(TimeZoneInfo& info) override
    {
        tzset();
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        if (!localtime_r(&now, &local))
            return kTimeZoneIdInvalid;
        // timezone: seconds west of UTC in standard time; tm_gmtoff: seconds east right now.
        info.bias = static_cast<int32_t>(timezone / 60);
        info.standardBias = 0;
        info.daylightBias = daylight ? static_cast<int32_t>(-local.tm_gmtoff / 60) - info.bias : 0;
        if (!daylight)
            return kTimeZoneIdUnknown;
        if (local.tm_isdst > 0)
            return kTimeZoneIdDaylight;
        info.daylightBias = -60;   // the usual rule; not read while standard time is in force
        return kTimeZoneIdStandard;
    }

    bool userNameDownLevel(std::string& name) override
    {
        std::string host;
        if (!computerName(host))
            return false;
        std::string user;
        if (struct passwd* pw = getpwuid(geteuid()))
            user = pw->pw_name;
        else if (const char* login = getlogin())
            user = login;
        if (user.empty())
            return false;
        name = host + "\\" + user;
        return true;
    }
};

}  // namespace

std::shared_ptr<SystemInfo> createMachineSystemInfo()
{
    return std::make_shared<PosixSystemInfo>();
}

}  // namespace sys
