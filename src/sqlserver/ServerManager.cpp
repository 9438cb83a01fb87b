#include "ServerManager.h"

#include <mutex>

#include "OdbcServerManager.h"

namespace sqlserver {
namespace {
std::mutex g_mutex;
std::shared_ptr<ServerManager> g_manager;
} // namespace

ServerManager& serverManager()
{
    std::lock_guard lock(g_mutex);
    if (!g_manager)
        g_manager = std::make_shared<OdbcServerManager>();
    return *g_manager;
}

ScopedServerManagerOverride::ScopedServerManagerOverride(std::shared_ptr<ServerManager> manager)
{
    std::lock_guard lock(g_mutex);
    m_previous = std::move(g_manager);
    g_manager = std::move(manager);
}

ScopedServerManagerOverride::~ScopedServerManagerOverride()
{
    std::lock_guard lock(g_mutex);
    g_manager = std::move(m_previous);
}

} // namespace sqlserver
