#pragma once

#include "NetworkDrive.h"
#include "StopFlag.h"
#include "TaskOperations.h"

#include <functional>
#include <memory>

class IndexRebuild;
class LfError;
class Prompter;

namespace cli {

class InterruptStop;
class Terminal;

// The operations of the task flows without a window: the same engines the progress pages run,
// reporting to a progress line on the terminal, with Ctrl-C as their Stop button.
class TerminalOperations : public TaskOperations {
public:
    // How the index build ends, as the progress page's events tell the flow.
    struct BuildEvents {
        std::function<void()> finished;
        std::function<void(const LfError&)> failed;
    };

    TerminalOperations(Terminal& terminal, Prompter& prompter, InterruptStop& interrupt,
                       std::function<void()> migrationFinished);
    ~TerminalOperations() override;

    void ConfirmUser(std::string& serverName, std::string& databaseName) override;
    void Migrate(const MigrationValues& values) override;
    void InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                         const std::string& serverConfigPath,
                                         const std::string& udlPath) override;
    void InstallDesktopService() override;
    void CreateOfflineDatabase(const engine::LocalServerLogin& login) override;
    void GrantOfflinePermissions(const engine::LocalServerLogin& login) override;
    bool RemoveOfflineDatabase(const engine::LocalServerLogin& login) override;
    // Opens the index and the database; the rows are processed by RunIndexBuild.
    void StartIndexBuild(const std::string& serverName, const std::string& databaseName,
                         const std::string& indexFolder) override;

    // The build that StartIndexBuild opened, slice by slice until its end, a failure or Ctrl-C;
    // the end and a failure are reported through events. False when the build was stopped (the
    // structures done keep their numbers, the index stays readable).
    bool RunIndexBuild(const BuildEvents& events);
    bool IndexBuildPending() const { return m_rebuild != nullptr; }

private:
    Terminal& m_terminal;
    Prompter& m_prompter;
    InterruptStop& m_interrupt;
    std::function<void()> m_migrationFinished;
    engine::StopFlag m_stop;
    engine::NetworkDrive m_networkDrive;
    std::unique_ptr<IndexRebuild> m_rebuild;
};

} // namespace cli
