#include "ServerConfigFile.h"

#include "AtomicFile.h"
#include "LfError.h"
#include "ServicePaths.h"
#include "Version.h"
#include "XmlFile.h"

namespace engine {
namespace {

constexpr const char* kRoot = "lfserver";
// The children of `lfserver`, in the order the client writes them.
constexpr const char* kOrder[] = {"connectionString", "authenticator", "schemaName", "LoggingFlags",
                                  "webLogging",       "MSTFile",       "version"};
constexpr std::string_view kFileNamePrefix = "file name=";

std::string ProgramVersion()
{
    return std::to_string(version::kMajor) + "." + std::to_string(version::kMinor) + "." +
           std::to_string(version::kRevision);
}

} // namespace

std::string StripFileNamePrefix(const std::string& connectionString)
{
    if (connectionString.compare(0, kFileNamePrefix.size(), kFileNamePrefix) == 0)
        return connectionString.substr(kFileNamePrefix.size());
    return connectionString;
}

ServerConfigFile ServerConfigFile::Create(const std::string& dataLinkPath, const std::string& indexPath)
{
    ServerConfigFile file;
    pugi::xml_node root = file.m_document.append_child(kRoot);
    const std::string values[] = {FileNameOf(dataLinkPath), kCreatedAuthenticator, "", "0", "0", indexPath,
                                  ProgramVersion()};
    for (std::size_t i = 0; i < std::size(kOrder); ++i) {
        pugi::xml_node child = root.append_child(kOrder[i]);
        if (!values[i].empty())
            child.text().set(values[i].c_str());
    }
    return file;
}

ServerConfigFile ServerConfigFile::Load(const std::string& path, const std::string& source)
{
    ServerConfigFile file;
    LoadXmlFile(path, "server configuration file", source, file.m_document);
    const pugi::xml_node root = file.m_document.document_element();
    if (std::string(root.name()) != kRoot)
        throw LfError(LfError::kObjectError513, source,
                      "the file \"" + path + "\" is not a recognized server configuration file");
    if (file.dataLinkFileName().empty())
        throw LfError(LfError::kObjectError513, source,
                      "the server configuration file \"" + path + "\" does not name its data link file");
    CheckFileName(file.dataLinkFileName(), "data link file", source);
    return file;
}

std::string ServerConfigFile::text(const char* name) const
{
    return m_document.child(kRoot).child(name).text().get();
}

void ServerConfigFile::set(const char* name, const std::string& text)
{
    SetChildText(m_document.child(kRoot), name, text, kOrder);
}

std::string ServerConfigFile::connectionString() const
{
    return text("connectionString");
}
std::string ServerConfigFile::dataLinkFileName() const
{
    return StripFileNamePrefix(connectionString());
}
std::string ServerConfigFile::authenticator() const
{
    return text("authenticator");
}
std::string ServerConfigFile::mstFile() const
{
    return text("MSTFile");
}
std::string ServerConfigFile::version() const
{
    return text("version");
}

void ServerConfigFile::setConnectionString(const std::string& text)
{
    set("connectionString", text);
}
void ServerConfigFile::setAuthenticator(const std::string& text)
{
    set("authenticator", text);
}
void ServerConfigFile::setMSTFile(const std::string& text)
{
    set("MSTFile", text);
}

std::string ServerConfigFile::bytes() const
{
    return XmlBytes(m_document);
}

void WriteServerConfigFile(const std::string& filePath, const std::string& dataLinkPath,
                           const std::string& indexPath, const std::string& source)
{
    WriteFileAtomically(filePath, ServerConfigFile::Create(dataLinkPath, indexPath).bytes(), source);
}

} // namespace engine
