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
void RequireDistinct(const std::string& a, const std::string& b, const std::string& name)
{
    if (SamePathText(a, b))
        throw LfError(LfError::kObjectError513, ServiceInstaller::kServiceSource,
                      "the local copies of the service's files cannot all be named \"" +
                          ShortenedForMessage(name) + "\"");
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
    const char* source = kServiceSource;
    ServiceList list = ServiceList::Load(serviceListPath(), source);
    const ServiceEntry service = ReadServiceFile(serviceConfigPath, source);
    // Files from several machines' services live side by side in the one folder.
    const std::string machine = m_networkDrive.GetUNCPathofNetworkDrive(serviceConfigPath);

    ServiceEntry entry;
    entry.name = machine.empty() ? service.name : service.name + "_" + machine;
    entry.type = service.type;
    CheckServiceName(entry.name, source);

    FileTransaction files(source);
    if (service.type == ServiceEntry::kClientServer) {
        const std::string localConfigName = WithMachineSuffix(service.configPath, ".xml", machine);
        CheckFileName(localConfigName, "server configuration file", source);
        const std::string localConfigPath = HasPathSeparator(localConfigName)
                                                ? localConfigName
                                                : paths::Join(m_appDataFolder, localConfigName);
        RequireDistinct(localConfigPath, serviceListPath(), localConfigName);
        const bool keepLocalConfig =
            keepExisting(localConfigPath, localConfigName, "Confirm Replace Server Configuration File",
                         "server configuration file");

        const std::string configPath =
            !serverConfigPath.empty() ? serverConfigPath : Beside(serviceConfigPath, service.configPath);
        RequireExisting(configPath, "server configuration file");
        ServerConfigFile config = ServerConfigFile::Load(configPath, source);

        const std::string dataLinkName = config.dataLinkFileName();
        const std::string localDataLinkName = WithMachineSuffix(dataLinkName, ".udl", machine);
        CheckFileName(localDataLinkName, "data link file", source);
        const std::string localDataLinkPath = Beside(localConfigPath, localDataLinkName);
        RequireDistinct(localDataLinkPath, serviceListPath(), localDataLinkName);
        RequireDistinct(localDataLinkPath, localConfigPath, localDataLinkName);
        const bool keepLocalDataLink = keepExisting(localDataLinkPath, localDataLinkName,
                                                    "Confirm Replace Data Link File", "data link file");

        const std::string dataLinkPath = !udlPath.empty() ? udlPath : Beside(configPath, dataLinkName);
        RequireExisting(dataLinkPath, "data link file");
        entry.configPath = localConfigName;

        if (SamePathText(localConfigPath, configPath) || keepLocalConfig) {
            // The file in place stays as it is but for the authenticator the client installs with.
            if (Exists(localConfigPath)) {
                ServerConfigFile local = ServerConfigFile::Load(localConfigPath, source);
                local.setAuthenticator(ServerConfigFile::kInstalledAuthenticator);
                files.stage(localConfigPath, local.bytes());
            }
        } else {
            // The index stays on the service's machine, reached through the folder the service
            // was installed from.
            if (!config.mstFile().empty())
                config.setMSTFile(Beside(configPath, FileNameOf(config.mstFile())));
            config.setAuthenticator(ServerConfigFile::kInstalledAuthenticator);
            config.setConnectionString(FileNameOf(localDataLinkPath));
            files.stage(localConfigPath, config.bytes());
        }
        if (!SamePathText(localDataLinkPath, dataLinkPath) && !keepLocalDataLink)
            files.stage(localDataLinkPath, ReadFileBytes(dataLinkPath, source));
    }

    list.append(entry);
    // The list is written last, so that it never names a file that is not there yet.
    files.stage(serviceListPath(), list.bytes());
    CreateFolder(m_appDataFolder, source);
    files.commit();
}

} // namespace engine
