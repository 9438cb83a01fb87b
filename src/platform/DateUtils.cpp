#include "DateUtils.h"

#include "LfError.h"
#include "SystemInfo.h"

namespace DateUtils {

int GetTimeZoneBias()
{
    sys::TimeZoneInfo tz;
    const int result = sys::machine().timeZoneInformation(tz);
    int extra = 0;
    if (result == sys::kTimeZoneIdStandard)
        extra = tz.standardBias;
    else if (result == sys::kTimeZoneIdDaylight)
        extra = tz.daylightBias;
    int bias = 0;
    if (__builtin_add_overflow(tz.bias, extra, &bias))
        throw LfError(6, "DateUtils.GetTimeZoneBias", "overflow");
    return bias;
}

}  // namespace DateUtils
