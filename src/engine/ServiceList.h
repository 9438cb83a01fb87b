#pragma once

#include "ServiceEntry.h"

#include <pugixml.hpp>

#include <string>
#include <vector>

namespace engine {

// The service list "LFClientConfig.xml": the services the client offers at log-in, in the order
// they were installed, under a `services` root.
class ServiceList {
public:
    static constexpr const char* kFileName = "LFClientConfig.xml";

    // Loads the list, or starts an empty one when the file does not exist. A list that cannot be
    // read or is not a service list raises 0x80040201 with the source given and is left as it
    // is: the wizard never replaces the user's services with a new list.
    static ServiceList Load(const std::string& path, const std::string& source);

    ServiceList(ServiceList&&) = default;
    ServiceList& operator=(ServiceList&&) = default;

    // Appends at the end; an entry that is already there is added again.
    void append(const ServiceEntry& entry);
    std::vector<ServiceEntry> entries() const;
    std::string bytes() const;

private:
    ServiceList() = default;
    pugi::xml_document m_document;
};

} // namespace engine
