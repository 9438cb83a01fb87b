#include "ServiceInstaller.h"

#include "AtomicFile.h"
#include "FileTransaction.h"
#include "LfError.h"
#include "NetworkDrive.h"
#include "PathUtils.h"
#include "Prompter.h"
#include "ServerConfigFile.h"
#include "ServiceFile.h"
#include "ServiceList.h"
#include "ServicePaths.h"

#include <filesystem>

namespace engine {
namespace {

bool Exists(const std::string& path)
{
    std::error_code ec;
    return std::filesystem::exists(path, ec);
}

// A local copy must not take the place of the service list or of the other copy.
void RequireDistinct(const std::string& path, const std::string& what, const std::string& name,
                     const std::string& otherPath, const std::string& otherWhat)
{
    if (SamePathText(path, otherPath))
        throw LfError(LfError::kObjectError513, ServiceInstaller::kServiceSource,
                      "the " + what + " name \"" + ShortenedForMessage(name) + "\" would replace the " +
                          otherWhat);
}

void CreateFolder(const std::string& folder, const std::string& source)
{
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec)
        throw LfError(LfError::kObjectError513, source,
                      "while creating the folder \"" + folder + "\": " + ec.message());
}

void RequireExisting(const std::string& path, const std::string& what)
{
    if (!Exists(path))
        throw LfError(LfError::kObjectError513, ServiceInstaller::kServiceSource,
                      "the " + what + " \"" + path + "\" does not exist");
}

} // namespace

ServiceInstaller::ServiceInstaller(std::string appDataFolder, Prompter& prompter, NetworkDrive& networkDrive)
    : m_appDataFolder(std::move(appDataFolder)), m_prompter(prompter), m_networkDrive(networkDrive)
{
}

std::string ServiceInstaller::serviceListPath() const
{
    return paths::Join(m_appDataFolder, ServiceList::kFileName);
}

void ServiceInstaller::InstallDesktopService()
{
    ServiceList list = ServiceList::Load(serviceListPath(), kDesktopSource);
    list.append(ServiceEntry::Desktop());
    CreateFolder(m_appDataFolder, kDesktopSource);
    WriteFileAtomically(serviceListPath(), list.bytes(), kDesktopSource);
}

bool ServiceInstaller::keepExisting(const std::string& path, const std::string& localName,
                                    const std::string& title, const std::string& what)
{
    // A name that holds its own path is taken as the file the service means, without asking.
    if (HasPathSeparator(localName))
        return false;
    return Exists(path) &&
           m_prompter.messageBox("Overwrite the " + what + " \"" + localName + "\"?", MsgButtons::YesNo,
                                 MsgIcon::Question, title) == MsgAnswer::No;
}

void ServiceInstaller::InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                                       const std::string& serverConfigPath,
                                                       const std::string& udlPath)
{
    ServiceList list = ServiceList::Load(serviceListPath(), kServiceSource);
    const ServiceEntry service = ReadServiceFile(serviceConfigPath, kServiceSource);
    // Files from several machines' services live side by side in the one folder.
    const std::string machine = m_networkDrive.GetUNCPathofNetworkDrive(serviceConfigPath);

    ServiceEntry entry;
    entry.name = machine.empty() ? service.name : service.name + "_" + machine;
    entry.type = service.type;
    CheckServiceName(entry.name, kServiceSource);

    FileTransaction files(kServiceSource);
    if (service.type == ServiceEntry::kClientServer)
        entry.configPath = stageServerFiles(serviceConfigPath, service.configPath, machine, serverConfigPath,
                                            udlPath, files);
    list.append(entry);
    // The list is written last, so that it never names a file that is not there yet.
    files.stage(serviceListPath(), list.bytes());
    CreateFolder(m_appDataFolder, kServiceSource);
    files.commit();
}

std::string ServiceInstaller::stageServerFiles(const std::string& serviceConfigPath,
                                               const std::string& configName, const std::string& machine,
                                               const std::string& serverConfigPath,
                                               const std::string& udlPath, FileTransaction& files)
{
    const char* source = kServiceSource;
    const std::string localConfigName = WithMachineSuffix(configName, ".xml", machine);
    CheckFileName(localConfigName, "server configuration file", source);
    const std::string localConfigPath =
        HasPathSeparator(localConfigName) ? localConfigName : paths::Join(m_appDataFolder, localConfigName);
    RequireDistinct(localConfigPath, "server configuration file", localConfigName, serviceListPath(),
                    "service list");
    const bool keepLocalConfig =
        keepExisting(localConfigPath, localConfigName, "Confirm Replace Server Configuration File",
                     "server configuration file");

    const std::string configPath =
        !serverConfigPath.empty() ? serverConfigPath : Beside(serviceConfigPath, configName);
    RequireExisting(configPath, "server configuration file");
    ServerConfigFile config = ServerConfigFile::Load(configPath, source);

    const std::string dataLinkName = config.dataLinkFileName();
    const std::string localDataLinkName = WithMachineSuffix(dataLinkName, ".udl", machine);
    CheckFileName(localDataLinkName, "data link file", source);
    const std::string localDataLinkPath = Beside(localConfigPath, localDataLinkName);
    RequireDistinct(localDataLinkPath, "data link file", localDataLinkName, serviceListPath(),
                    "service list");
    RequireDistinct(localDataLinkPath, "data link file", localDataLinkName, localConfigPath,
                    "server configuration file");
    const bool keepLocalDataLink = keepExisting(localDataLinkPath, localDataLinkName,
                                                "Confirm Replace Data Link File", "data link file");

    const std::string dataLinkPath = !udlPath.empty() ? udlPath : Beside(configPath, dataLinkName);
    RequireExisting(dataLinkPath, "data link file");

    if (SamePathText(localConfigPath, configPath) || keepLocalConfig) {
        // The file in place stays as it is but for the authenticator the client installs with.
        if (Exists(localConfigPath)) {
            ServerConfigFile local = ServerConfigFile::Load(localConfigPath, source);
            local.setAuthenticator(ServerConfigFile::kInstalledAuthenticator);
            files.stage(localConfigPath, local.bytes());
        }
    } else {
        // The index stays on the service's machine, reached through the folder the service was
        // installed from.
        if (!config.mstFile().empty())
            config.setMSTFile(Beside(configPath, FileNameOf(config.mstFile())));
        config.setAuthenticator(ServerConfigFile::kInstalledAuthenticator);
        config.setConnectionString(FileNameOf(localDataLinkPath));
        files.stage(localConfigPath, config.bytes());
    }
    if (!SamePathText(localDataLinkPath, dataLinkPath) && !keepLocalDataLink)
        files.stage(localDataLinkPath, ReadFileBytes(dataLinkPath, source));
    return localConfigName;
}

} // namespace engine
