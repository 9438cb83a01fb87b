#pragma once

#include <memory>
#include <string>

#include "ConnectOptions.h"
#include "NameList.h"
#include "ServiceSlot.h"
#include "ServerConnection.h"

namespace sqlserver {

// The server-management entry points (SQL-DMO's Application and SQLServer.Connect). Pages and
// engines receive a ServerManager&; the product uses the ODBC one, tests may use a fake.
class ServerManager {
public:
    virtual ~ServerManager() = default;

    // The SQL Servers that answer on the network, as "HOST" or "HOST\INSTANCE".
    virtual NameList ListAvailableSQLServers() = 0;
    // A connected server; raises LfError when the server cannot be reached or refuses the login.
    virtual std::unique_ptr<ServerConnection> Connect(const ConnectOptions& options) = 0;
};

// The server manager of this process: the ODBC one unless a test replaced it.
ServerManager& serverManager();

// Tests replace the process's server manager for their own scope.
ServiceSlot<ServerManager>& serverManagerSlot();
using ScopedServerManagerOverride = ScopedServiceOverride<ServerManager, serverManagerSlot>;

} // namespace sqlserver
