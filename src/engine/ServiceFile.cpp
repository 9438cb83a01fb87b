#include "ServiceFile.h"

#include "AtomicFile.h"
#include "LfError.h"
#include "ServicePaths.h"
#include "XmlFile.h"

namespace engine {
namespace {

LfError BadServiceFile(const std::string& source, const std::string& path, const std::string& problem)
{
    return LfError(LfError::kObjectError513, source, "the service file \"" + path + "\" " + problem);
}

} // namespace

ServiceFileCheck CheckServiceFile(const std::string& path)
{
    ServiceFileCheck check;
    pugi::xml_document document;
    if (auto reason = ParseXmlFile(path, document)) {
        check.status = ServiceFileCheck::Status::NotWellFormed;
        check.reason = *reason;
        check.message = "The file \"" + path + "\" is not a wellformed XML file (" + *reason + ").";
    } else if (std::string(document.document_element().name()) != "service") {
        check.status = ServiceFileCheck::Status::NotRecognized;
        check.message = "The file \"" + path + "\" is not a recognized service file.";
    }
    return check;
}

std::string ServiceFileBytes(const ServiceEntry& entry)
{
    pugi::xml_document document;
    entry.appendTo(document);
    return XmlBytes(document);
}

void WriteServiceFile(const std::string& filePath, const std::string& name, const std::string& type,
                      const std::string& serverConfigPath, const std::string& source)
{
    ServiceEntry entry;
    entry.name = name;
    entry.type = type;
    entry.configPath = FileNameOf(serverConfigPath);
    WriteFileAtomically(filePath, ServiceFileBytes(entry), source);
}

ServiceEntry ReadServiceFile(const std::string& path, const std::string& source)
{
    pugi::xml_document document;
    LoadXmlFile(path, "service file", source, document);
    const pugi::xml_node root = document.document_element();
    if (std::string(root.name()) != "service")
        throw LfError(LfError::kObjectError513, source,
                      "the file \"" + path + "\" is not a recognized service file");

    if (!root.child("name"))
        throw BadServiceFile(source, path, "does not name its service");
    if (!root.child("type"))
        throw BadServiceFile(source, path, "does not give the type of its service");
    ServiceEntry entry = ServiceEntry::From(root);
    CheckServiceName(entry.name, source);
    if (entry.type != ServiceEntry::kClientServer && entry.type != ServiceEntry::kDesktop)
        throw BadServiceFile(source, path,
                             "gives the service type \"" + ShortenedForMessage(entry.type) +
                                 "\", which is neither \"Client/Server\" nor \"Desktop\"");
    if (entry.type == ServiceEntry::kClientServer) {
        if (entry.configPath.empty())
            throw BadServiceFile(source, path, "does not name its server configuration file");
        CheckFileName(entry.configPath, "server configuration file", source);
    }
    return entry;
}

} // namespace engine
