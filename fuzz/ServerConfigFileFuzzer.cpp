// A server configuration file that a service file names: the client installation loads it and
// rewrites its connection string and authenticator. Loading raises only LfError; a file that
// loads names a data link file, and keeps it when rewritten.

#include "FuzzInput.h"
#include "LfError.h"
#include "ServerConfigFile.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzinput::InputFile file("LabData.xml");
    const std::string path = file.write(data, size).string();
    try {
        auto config = engine::ServerConfigFile::Load(path, "fuzz");
        const std::string dataLink = config.dataLinkFileName();
        if (dataLink.empty())
            std::abort(); // Load promises a named data link file
        config.authenticator();
        config.mstFile();
        config.version();
        config.setConnectionString(config.connectionString());
        config.setAuthenticator(engine::ServerConfigFile::kInstalledAuthenticator);
        config.setMSTFile("C:\\Labfolio\\LabData.mst");
        if (config.dataLinkFileName() != dataLink ||
            config.authenticator() != engine::ServerConfigFile::kInstalledAuthenticator)
            std::abort();
        config.bytes();
    } catch (const LfError&) {
        // the installation stops with the error; the client's files are left as they were
    }
    return 0;
}
