#include "../RegFileRegistry.h"

#include <cstdlib>

namespace reg {

std::shared_ptr<Registry> createMachineRegistry()
{
    const char* path = std::getenv("LABFOLIO_REGISTRY");
    return std::make_shared<RegFileRegistry>(path && *path ? path : "/etc/labfolio/registry.reg");
}

}  // namespace reg
