#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ServiceSlot.h"

namespace sys {

// TIME_ZONE_INFORMATION reduced to what the wizard reads; minutes, UTC = local + bias.
struct TimeZoneInfo {
    int32_t bias = 0;
    int32_t standardBias = 0;
    int32_t daylightBias = 0;
};

constexpr int kTimeZoneIdUnknown = 0;
constexpr int kTimeZoneIdStandard = 1;
constexpr int kTimeZoneIdDaylight = 2;
constexpr int kTimeZoneIdInvalid = -1;

// The operating-system facts the wizard asks for, in the shape of the Win32 calls.
class SystemInfo {
public:
    virtual ~SystemInfo() = default;
    // GetComputerNameA: false on failure.
    virtual bool computerName(std::string& name) = 0;
    // GetUserDefaultLCID.
    virtual uint32_t userDefaultLcid() = 0;
    // GetTimeZoneInformation: one of the kTimeZoneId values.
    virtual int timeZoneInformation(TimeZoneInfo& info) = 0;
    // GetUserNameExA(NameSamCompatible): "DOMAIN\\user".
    virtual bool userNameDownLevel(std::string& name) = 0;
};

SystemInfo& machine();

ServiceSlot<SystemInfo>& systemSlot();
using ScopedSystemOverride = ScopedServiceOverride<SystemInfo, systemSlot>;

// POSIX locale name ("de_DE.UTF-8", "en_IN", "C") to the Windows locale identifier; 1033 for
// the C and POSIX locales and for anything unknown.
uint32_t lcidFromLocaleName(const std::string& localeName);

}  // namespace sys
