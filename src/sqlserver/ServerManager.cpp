#include "ServerManager.h"

#include "OdbcServerManager.h"

namespace sqlserver {
namespace {
std::shared_ptr<ServerManager> makeOdbcServerManager()
{
    return std::make_shared<OdbcServerManager>();
}
} // namespace

ServiceSlot<ServerManager>& serverManagerSlot()
{
    static ServiceSlot<ServerManager> slot(makeOdbcServerManager);
    return slot;
}

ServerManager& serverManager()
{
    return serverManagerSlot().get();
}

} // namespace sqlserver
