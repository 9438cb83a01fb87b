#pragma once

#include <string>

class Prompter;

namespace engine {

class FileTransaction;
class NetworkDrive;

// Connects this client to a service ("Connect to an existing Service") or back to the desktop
// database ("Connect to your Desktop Database"): adds the service to the list in the shared
// application-data folder and installs local copies of its server configuration and data link
// files there. Every file is written together at the end, so a failure leaves all of them as
// they were.
class ServiceInstaller {
public:
    static constexpr const char* kDesktopSource = "DBMigrateProgressCtl.InstallDesktopService";
    static constexpr const char* kServiceSource = "DBMigrateProgressCtl.InstallServiceConfigurationFile";

    // The machine that holds a service file is found through networkDrive; overwrite questions
    // go to prompter.
    ServiceInstaller(std::string appDataFolder, Prompter& prompter, NetworkDrive& networkDrive);

    // Appends the desktop entry to the service list; each call appends one more.
    void InstallDesktopService();

    // Installs the service file. Empty serverConfigPath and udlPath are found beside the
    // service file and the server configuration file.
    void InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                         const std::string& serverConfigPath, const std::string& udlPath);

    std::string serviceListPath() const;

private:
    // Stages the local server configuration and data link files of a client/server service and
    // returns the local server configuration file's name for the service's entry.
    std::string stageServerFiles(const std::string& serviceConfigPath, const std::string& configName,
                                 const std::string& machine, const std::string& serverConfigPath,
                                 const std::string& udlPath, FileTransaction& files);
    // True when a local copy named by its file name exists and the user answers No to replacing it.
    bool keepExisting(const std::string& path, const std::string& localName, const std::string& title,
                      const std::string& what);

    std::string m_appDataFolder;
    Prompter& m_prompter;
    NetworkDrive& m_networkDrive;
};

} // namespace engine
