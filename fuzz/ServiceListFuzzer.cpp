// The service list "LFClientConfig.xml" a client already has: the wizard loads it, adds a service
// and saves it. Whatever the file holds, loading raises only LfError, and a list that loads
// saves as a list that loads again with the added service at its end.

#include "FuzzInput.h"
#include "LfError.h"
#include "ServiceList.h"

#include <cstdlib>

namespace {

const engine::ServiceEntry kAdded{"Added", engine::ServiceEntry::kClientServer, "Windows", "LabData.xml",
                                  "0"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzinput::InputFile file("LFClientConfig.xml");
    const std::string path = file.write(data, size).string();
    try {
        auto list = engine::ServiceList::Load(path, "fuzz");
        const size_t before = list.entries().size();
        list.append(kAdded);
        const std::string saved = list.bytes();

        const std::string again =
            file.write(reinterpret_cast<const uint8_t*>(saved.data()), saved.size()).string();
        const auto entries = engine::ServiceList::Load(again, "fuzz").entries();
        if (entries.size() != before + 1 || entries.back() != kAdded)
            std::abort(); // the saved list lost or changed a service
    } catch (const LfError&) {
        // the wizard reports the list as unreadable and leaves it as it is
    }
    return 0;
}
