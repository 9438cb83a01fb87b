#include "UnavailableOperations.h"

#include "LfError.h"

namespace {

[[noreturn]] void unavailable(const std::string& component, const std::string& operation)
{
    throw LfError(LfError::kObjectError513, component + "." + operation,
                  "the operation \"" + operation + "\" is not available in this build of the wizard");
}

} // namespace

void UnavailableOperations::ConfirmUser(std::string&, std::string&)
{
    unavailable("DBMigrateProgressCtl", "ConfirmUser");
}

void UnavailableOperations::Migrate(const MigrationValues&)
{
    unavailable("DBMigrateProgressCtl", "Migrate");
}

void UnavailableOperations::InstallServiceConfigurationFile(const std::string&, const std::string&,
                                                            const std::string&)
{
    unavailable("DBMigrateProgressCtl", "InstallServiceConfigurationFile");
}

void UnavailableOperations::InstallDesktopService()
{
    unavailable("DBMigrateProgressCtl", "InstallDesktopService");
}

void UnavailableOperations::CreateOfflineDatabase()
{
    unavailable("DBMigrateProgressCtl", "CreateOfflineDatabase");
}

void UnavailableOperations::GrantOfflinePermissions(const engine::LocalServerLogin&)
{
    unavailable("frmInstall", "GrantOfflinePermissions");
}

bool UnavailableOperations::RemoveOfflineDatabase(const engine::LocalServerLogin&)
{
    unavailable("frmInstall", "RemoveOfflineDatabase");
}

void UnavailableOperations::StartIndexBuild(const std::string&, const std::string&, const std::string&)
{
    unavailable("MSTFileProgressCtl", "Initialize");
}
