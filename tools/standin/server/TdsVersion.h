#pragma once

#include <cstdint>

namespace standin::tds {

// TDS versions as LOGIN7 and LOGINACK carry them. Later versions compare greater.
constexpr uint32_t kTds71 = 0x71000001;
constexpr uint32_t kTds72 = 0x72090002; // first with (max) types as PLP and 8-byte row counts
constexpr uint32_t kTds73A = 0x730A0003;
constexpr uint32_t kTds73B = 0x730B0003;
constexpr uint32_t kTds74 = 0x74000004;

} // namespace standin::tds
