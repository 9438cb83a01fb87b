#include "TerminalOperations.h"

#include "ChemistryLibrary.h"
#include "IndexRebuild.h"
#include "InterruptStop.h"
#include "LfError.h"
#include "Migration.h"
#include "OfflineDatabase.h"
#include "OfflinePermissions.h"
#include "OfflineRemoval.h"
#include "ProgressLine.h"
#include "ServiceInstaller.h"
#include "ShellFolders.h"
#include "SystemInfo.h"

#include <atomic>

namespace cli {
namespace {

// Structures per slice: each slice commits the index, and Ctrl-C is answered between slices.
constexpr int kRowsPerSlice = 100;

// Ctrl-C acts as in the checks again once the operation has ended, however it ended.
class PhaseGuard {
public:
    explicit PhaseGuard(InterruptStop& interrupt) : m_interrupt(interrupt) {}
    ~PhaseGuard() { m_interrupt.checks(); }
    PhaseGuard(const PhaseGuard&) = delete;
    PhaseGuard& operator=(const PhaseGuard&) = delete;

private:
    InterruptStop& m_interrupt;
};

} // namespace

TerminalOperations::TerminalOperations(Terminal& terminal, Prompter& prompter, InterruptStop& interrupt,
                                       std::function<void()> migrationFinished)
    : m_terminal(terminal), m_prompter(prompter), m_interrupt(interrupt),
      m_migrationFinished(std::move(migrationFinished))
{
}

TerminalOperations::~TerminalOperations() = default;

void TerminalOperations::ConfirmUser(std::string& serverName, std::string& databaseName)
{
    ProgressLine quiet(m_terminal);
    engine::Migration(quiet, m_stop, m_prompter).ConfirmUser(serverName, databaseName);
}

void TerminalOperations::Migrate(const MigrationValues& v)
{
    PhaseGuard guard(m_interrupt);
    m_interrupt.stoppable([this] { m_stop.request(); });
    ProgressLine line(m_terminal, m_migrationFinished);
    engine::Migration(line, m_stop, m_prompter)
        .Migrate(v.SrcServerName, v.SrcDBName, v.TargetServerName, v.TargetDBName, v.SrcMSTFilePath,
                 v.TargetMSTFilePath, v.ServiceName, v.UDLPath, v.ServerConfigPath, v.ServiceConfigPath,
                 v.BackupFilePath);
}

void TerminalOperations::InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                                         const std::string& serverConfigPath,
                                                         const std::string& udlPath)
{
    PhaseGuard guard(m_interrupt);
    m_interrupt.unstoppable();
    engine::ServiceInstaller(ShellFolders::GetCommonAppDataFolder(), m_prompter, m_networkDrive)
        .InstallServiceConfigurationFile(serviceConfigPath, serverConfigPath, udlPath);
}

void TerminalOperations::InstallDesktopService()
{
    PhaseGuard guard(m_interrupt);
    m_interrupt.unstoppable();
    engine::ServiceInstaller(ShellFolders::GetCommonAppDataFolder(), m_prompter, m_networkDrive)
        .InstallDesktopService();
}

void TerminalOperations::CreateOfflineDatabase(const engine::LocalServerLogin& login)
{
    PhaseGuard guard(m_interrupt);
    m_interrupt.unstoppable();
    engine::OfflineDatabase(login, engine::OfflineLocations{}).CreateOfflineDatabase();
}

void TerminalOperations::GrantOfflinePermissions(const engine::LocalServerLogin& login)
{
    PhaseGuard guard(m_interrupt);
    m_interrupt.unstoppable();
    engine::OfflinePermissions(login, sys::machine().userDefaultLcid(), m_prompter).GrantOfflinePermissions();
}

bool TerminalOperations::RemoveOfflineDatabase(const engine::LocalServerLogin& login)
{
    PhaseGuard guard(m_interrupt);
    m_interrupt.unstoppable();
    return engine::OfflineRemoval(login, engine::OfflineLocations{}).RemoveOfflineDatabase() ==
           engine::OfflineRemovalResult::Removed;
}

void TerminalOperations::StartIndexBuild(const std::string& serverName, const std::string& databaseName,
                                         const std::string& indexFolder)
{
    auto rebuild = std::make_unique<IndexRebuild>(chemistryLibrary());
    rebuild->Open(serverName, databaseName, indexFolder);
    // A drawing application runs while structures are converted; when none can be started the
    // build does not begin.
    try {
        rebuild->GetDrawingApplication();
    } catch (const LfError&) {
        rebuild->ReleaseDrawingApplication();
        throw;
    }
    m_rebuild = std::move(rebuild);
}

bool TerminalOperations::RunIndexBuild(const BuildEvents& events)
{
    const std::unique_ptr<IndexRebuild> rebuild = std::move(m_rebuild);
    std::atomic<bool> stop{false};
    PhaseGuard guard(m_interrupt);
    m_interrupt.stoppable([&stop] { stop = true; });
    ProgressLine line(m_terminal);
    int64_t done = 0;
    try {
        while (!rebuild->AtEnd()) {
            if (stop) {
                // As the progress page's Stop: the structures done keep the numbers written back.
                rebuild->ReleaseDrawingApplication();
                rebuild->WaitForWrites();
                return false;
            }
            done += rebuild->ProcessSlice(kRowsPerSlice);
            line.showRows(done, rebuild->structureCount());
        }
        rebuild->Finish();
    } catch (const LfError& error) {
        rebuild->ReleaseDrawingApplication();
        line.close();
        events.failed(error);
        return true;
    }
    rebuild->ReleaseDrawingApplication();
    line.close();
    events.finished();
    return true;
}

} // namespace cli
