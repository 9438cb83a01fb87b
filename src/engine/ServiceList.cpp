#include "ServiceList.h"

#include "LfError.h"
#include "XmlFile.h"

#include <filesystem>

namespace engine {
namespace {
constexpr const char* kRoot = "services";
}

ServiceList ServiceList::Load(const std::string& path, const std::string& source)
{
    ServiceList list;
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) {
        list.m_document.append_child(kRoot);
        return list;
    }
    if (auto reason = ParseXmlFile(path, list.m_document))
        throw LfError(LfError::kObjectError513, source,
                      "the service list \"" + path + "\" cannot be read (" + *reason +
                          "); it has been left as it is, repair or remove it and try again");
    if (std::string(list.m_document.document_element().name()) != kRoot)
        throw LfError(
            LfError::kObjectError513, source,
            "the file \"" + path +
                "\" is not a service list; it has been left as it is, repair or remove it and try again");
    return list;
}

void ServiceList::append(const ServiceEntry& entry)
{
    entry.appendTo(m_document.document_element());
}

std::vector<ServiceEntry> ServiceList::entries() const
{
    std::vector<ServiceEntry> result;
    for (pugi::xml_node service : m_document.document_element().children("service"))
        result.push_back(ServiceEntry::From(service));
    return result;
}

std::string ServiceList::bytes() const
{
    return XmlBytes(m_document);
}

} // namespace engine
