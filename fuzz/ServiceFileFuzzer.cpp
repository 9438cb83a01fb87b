// A service file the administrator hands to a client: the service-file page checks it, then the
// installation reads it. Neither raises anything but LfError, and a file the page rejects is
// never read as a service.

#include "FuzzInput.h"
#include "LfError.h"
#include "ServiceFile.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzinput::InputFile file("service.lfsvc");
    const std::string path = file.write(data, size).string();
    const engine::ServiceFileCheck check = engine::CheckServiceFile(path);
    if (!check && check.message.empty())
        std::abort(); // the page would refuse the file without saying why
    try {
        const engine::ServiceEntry entry = engine::ReadServiceFile(path, "fuzz");
        if (!check)
            std::abort(); // installed a file the page rejected
        if (entry.type != engine::ServiceEntry::kClientServer && entry.type != engine::ServiceEntry::kDesktop)
            std::abort();
        engine::ServiceFileBytes(entry);
    } catch (const LfError&) {
        // the wizard shows the error; nothing is installed
    }
    return 0;
}
