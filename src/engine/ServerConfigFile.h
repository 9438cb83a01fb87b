#pragma once

#include <pugixml.hpp>

#include <string>

namespace engine {

// A server configuration file: the `lfserver` document that tells a client how a service
// reaches its database (through a data link file) and where its structure index lives.
class ServerConfigFile {
public:
    // Written when the file is created; the client rewrites it with "SQL" when it installs the
    // file. Both spellings are what the product's clients expect.
    static constexpr const char* kCreatedAuthenticator = "LabfolioSQL9.SqlServerAuthenticator";
    static constexpr const char* kInstalledAuthenticator = "LabfolioSQL9.SQLServerAuthenticator";

    // A new file naming the data link file (by file name) and the index file (full path).
    static ServerConfigFile Create(const std::string& dataLinkPath, const std::string& indexPath);
    // Reads and checks a file. Raises 0x80040201 with the source given when it is not XML, has
    // no `lfserver` root, or names no data link file or one a file cannot have.
    static ServerConfigFile Load(const std::string& path, const std::string& source);

    ServerConfigFile(ServerConfigFile&&) = default;
    ServerConfigFile& operator=(ServerConfigFile&&) = default;

    // The `connectionString` text as it stands.
    std::string connectionString() const;
    // The data link file it names, less a leading "file name=".
    std::string dataLinkFileName() const;
    std::string authenticator() const;
    std::string mstFile() const;
    std::string version() const;

    void setConnectionString(const std::string& text);
    void setAuthenticator(const std::string& text);
    void setMSTFile(const std::string& text);

    std::string bytes() const;

private:
    ServerConfigFile() = default;
    std::string text(const char* name) const;
    void set(const char* name, const std::string& text);

    pugi::xml_document m_document;
};

// "file name=" followed by a name gives the name; any other text is returned as it stands.
std::string StripFileNamePrefix(const std::string& connectionString);

// Writes a new server configuration file, replacing an existing one atomically.
void WriteServerConfigFile(const std::string& filePath, const std::string& dataLinkPath,
                           const std::string& indexPath, const std::string& source);

} // namespace engine
