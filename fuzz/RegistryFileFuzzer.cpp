// The .reg file the wizard reads at start-up: whatever the file holds, reading it and asking
// for values must not throw (callers expect only LfError) or misbehave.

#include "FuzzInput.h"
#include "RegFileRegistry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto registry = reg::RegFileRegistry::fromBytes(fuzzinput::text(data, size));
    for (const char* key : {"SOFTWARE\\Microsoft\\Microsoft SQL Server", "K", ""}) {
        reg::KeyHandle handle = 0;
        if (registry->openKey(reg::Hive::LocalMachine, key, 0, reg::kKeyRead, handle) != reg::kSuccess)
            continue;
        unsigned char buffer[512];
        for (const char* value : {"InstalledInstances", "", "A"}) {
            uint32_t type = 0;
            uint32_t bufferSize = sizeof buffer;
            registry->queryValue(handle, value, &type, buffer, &bufferSize);
        }
        registry->closeKey(handle);
    }
    return 0;
}
