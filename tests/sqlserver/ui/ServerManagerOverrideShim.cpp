// Until the access layer's own definitions of serverManager() and its test override are merged
// into this branch, the fake-based tests bring weak ones; the layer's definitions win when
// both are linked.
#include "LfError.h"
#include "ServerManager.h"

#include <mutex>
#include <utility>

namespace sqlserver {
namespace {
std::mutex g_mutex;
std::shared_ptr<ServerManager> g_manager;
} // namespace

__attribute__((weak)) ServerManager& serverManager()
{
    std::lock_guard lock(g_mutex);
    if (!g_manager)
        throw LfError(LfError::kObjectError513, "serverManager", "no server manager in this test");
    return *g_manager;
}

__attribute__((weak))
ScopedServerManagerOverride::ScopedServerManagerOverride(std::shared_ptr<ServerManager> manager)
{
    std::lock_guard lock(g_mutex);
    m_previous = std::exchange(g_manager, std::move(manager));
}

__attribute__((weak)) ScopedServerManagerOverride::~ScopedServerManagerOverride()
{
    std::lock_guard lock(g_mutex);
    g_manager = std::move(m_previous);
}

} // namespace sqlserver
