#pragma once

#include "SystemInfo.h"

// Machine facts set by the test.
class FakeSystemInfo : public sys::SystemInfo {
public:
    bool computerNameOk = true;
    std::string computer = "PC1";
    uint32_t lcid = 1033;
    int tzResult = sys::kTimeZoneIdUnknown;
    sys::TimeZoneInfo tz;
    std::string user = "PC1\\alice";

    bool computerName(std::string& name) override
    {
        if (!computerNameOk)
            return false;
        name = computer;
        return true;
    }
    uint32_t userDefaultLcid() override { return lcid; }
    int timeZoneInformation(sys::TimeZoneInfo& info) override
    {
        info = tz;
        return tzResult;
    }
    bool userNameDownLevel(std::string& name) override
    {
        name = user;
        return !user.empty();
    }
};
