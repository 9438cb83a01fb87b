#pragma once

#include "DataLinkFile.h"
#include "NetworkDrive.h"
#include "ScopedEnv.h"
#include "ScriptedPrompter.h"
#include "ServerConfigFile.h"
#include "ServiceFile.h"
#include "ServiceFilesSupport.h"
#include "ServiceInstaller.h"
#include "ServiceList.h"

#include <gtest/gtest.h>

// A client machine: the shared application-data folder (not created yet), a scripted prompter
// and a mount table of its own, so that network drives are the test's and not the machine's.
class ServiceInstallerFixture : public ::testing::Test {
protected:
    static constexpr const char* kSource = "DBMigrateProgressCtl.InstallServiceConfigurationFile";
    static constexpr const char* kTrusted = "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security "
                                            "Info=False;Initial Catalog=LabData;Data Source=LABSRV";

    ServiceInstallerFixture() { m_dir.write("mounts", ""); }

    // A service folder as an administrator's migration leaves it: service file, server
    // configuration file and data link file, written by the engine's own writers.
    std::string makeService(const std::filesystem::path& folder, const std::string& name = "Chemistry Lab",
                            const std::string& configName = "LabDataConfig.xml",
                            const std::string& dataLinkName = "LabData.udl")
    {
        std::filesystem::create_directories(folder);
        const std::string servicePath = (folder / (name + ".lfsvc")).string();
        engine::WriteServiceFile(servicePath, name, "Client/Server", (folder / configName).string(), "Test");
        engine::WriteServerConfigFile((folder / configName).string(), (folder / dataLinkName).string(),
                                      (folder / "Labfolio.mst").string(), "Test");
        engine::WriteDataLinkFileFor(folder / dataLinkName, "LABSRV", "LabData", "Test");
        return servicePath;
    }

    void addMount(const std::string& remote, const std::filesystem::path& mountPoint, const std::string& type)
    {
        std::ofstream(m_dir.path() / "mounts", std::ios::app)
            << remote << " " << mountPoint.string() << " " << type << " rw 0 0\n";
    }

    std::filesystem::path local(const std::string& name) const
    {
        return std::filesystem::path(m_appData) / name;
    }

    std::vector<engine::ServiceEntry> listEntries() const
    {
        return engine::ServiceList::Load(local("LFClientConfig.xml").string(), "Test").entries();
    }

    TempDir m_dir;
    ScopedEnv m_mounts{"LABFOLIO_MOUNT_TABLE", (m_dir.path() / "mounts").string()};
    ScriptedPrompter m_prompter;
    engine::NetworkDrive m_drive;
    std::string m_appData = (m_dir.path() / "Labfolio 10.0").string();
    engine::ServiceInstaller m_installer{m_appData, m_prompter, m_drive};
};
