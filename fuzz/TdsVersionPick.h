#pragma once

#include "TdsVersion.h"

#include <cstddef>
#include <cstdint>

// The first input byte picks the TDS version the request is read under (the layouts differ
// before 7.2); the rest is the request's payload.
namespace fuzzinput {

inline uint32_t tdsVersion(uint8_t selector)
{
    constexpr uint32_t kVersions[] = {standin::tds::kTds71, standin::tds::kTds72, standin::tds::kTds73B,
                                      standin::tds::kTds74};
    return kVersions[selector % 4];
}

} // namespace fuzzinput
