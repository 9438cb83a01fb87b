#pragma once

// A service as an administrator publishes it on a share: the service file "Chemistry Lab.lfsvc",
// the server configuration file it names and, unless left out, the data link file that names
// the server LABSRV and the database LabData.
#include "DataLinkFile.h"
#include "ServerConfigFile.h"
#include "ServiceFile.h"

#include <filesystem>
#include <string>

enum class SharedService { Whole, WithoutServerConfiguration };

// Writes the files into share (made when missing) and returns the service file's path.
inline std::string WriteSharedService(const std::filesystem::path& share,
                                      SharedService what = SharedService::Whole)
{
    std::filesystem::create_directories(share);
    const std::string service = (share / "Chemistry Lab.lfsvc").string();
    const std::string config = (share / "LabDataConfig.xml").string();
    engine::WriteServiceFile(service, "Chemistry Lab", "Client/Server", config, "Test");
    if (what == SharedService::Whole) {
        engine::WriteServerConfigFile(config, (share / "LabData.udl").string(),
                                      (share / "Labfolio.mst").string(), "Test");
        engine::WriteDataLinkFileFor(share / "LabData.udl", "LABSRV", "LabData", "Test");
    }
    return service;
}
