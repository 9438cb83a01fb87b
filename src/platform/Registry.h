#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "ServiceSlot.h"
#include <string>

// The read-only slice of the Windows registry API that the wizard uses, kept in the Win32
// shape (status codes, caller-supplied buffers) so that the buffer rules of the callers are
// the same on every platform.
namespace reg {

enum class Hive : uint32_t {
    ClassesRoot = 0x80000000u,
    LocalMachine = 0x80000002u,
};

constexpr uint32_t kKeyRead = 0x20019;   // KEY_READ

// Win32 status codes the implementations return.
constexpr long kSuccess = 0;
constexpr long kFileNotFound = 2;
constexpr long kMoreData = 234;

// Value types (REG_*).
constexpr uint32_t kTypeSz = 1;
constexpr uint32_t kTypeExpandSz = 2;
constexpr uint32_t kTypeBinary = 3;
constexpr uint32_t kTypeDword = 4;
constexpr uint32_t kTypeMultiSz = 7;
constexpr uint32_t kTypeQword = 11;

using KeyHandle = uintptr_t;

class Registry {
public:
    virtual ~Registry() = default;

    // RegOpenKeyExA: kSuccess and a handle when the key exists and may be read.
    virtual long openKey(Hive hive, const std::string& subKey, uint32_t options, uint32_t access,
                         KeyHandle& key) = 0;

    // RegQueryValueExA: copies the value (strings in the narrow code page with their
    // terminators) into data when *size is large enough; *size becomes the value's byte count.
    // kMoreData when the buffer is too small, kFileNotFound when there is no such value.
    virtual long queryValue(KeyHandle key, const std::string& valueName, uint32_t* type,
                            unsigned char* data, uint32_t* size) = 0;

    virtual void closeKey(KeyHandle key) = 0;
};

// The registry of this machine: Win32 on Windows; on other systems the .reg text file named
// by LABFOLIO_REGISTRY (default /etc/labfolio/registry.reg), read when first used.
Registry& machineRegistry();

// Tests replace the machine registry for their own scope.
ServiceSlot<Registry>& registrySlot();
using ScopedRegistryOverride = ScopedServiceOverride<Registry, registrySlot>;

// Opens a key read-only, queries one value into a 512-byte buffer and keeps the first
// (returned size - 1) bytes: the final terminator is dropped, NULs between the names of a
// multi-string stay. Empty optional when the open or the query fails.
std::optional<std::string> readValue512(Hive hive, const std::string& subKey, const std::string& valueName);

// The key opens for reading.
bool keyExists(Hive hive, const std::string& subKey);

}  // namespace reg
