#pragma once

#include <pugixml.hpp>

#include <string>

namespace engine {

// One service the client may log in to: a `service` element, in the service list and as the
// root of a stand-alone service file.
struct ServiceEntry {
    static constexpr const char* kClientServer = "Client/Server";
    static constexpr const char* kDesktop = "Desktop";

    std::string name;
    std::string type;
    std::string authentication = "Windows";
    // File name of the server configuration file; a "Desktop" entry has none.
    std::string configPath;
    std::string loggingFlags = "0";

    // The entry of the desktop database: no server configuration file.
    static ServiceEntry Desktop() { return {kDesktop, kDesktop, "Windows", "", "0"}; }

    // Appends the entry's `service` element to parent; `configPath` only when there is one.
    void appendTo(pugi::xml_node parent) const
    {
        pugi::xml_node service = parent.append_child("service");
        service.append_child("name").text().set(name.c_str());
        service.append_child("type").text().set(type.c_str());
        service.append_child("authentication").text().set(authentication.c_str());
        if (!configPath.empty())
            service.append_child("configPath").text().set(configPath.c_str());
        service.append_child("LoggingFlags").text().set(loggingFlags.c_str());
    }

    // The entry a `service` element holds; absent children read as empty.
    static ServiceEntry From(const pugi::xml_node& service)
    {
        return {service.child("name").text().get(), service.child("type").text().get(),
                service.child("authentication").text().get(), service.child("configPath").text().get(),
                service.child("LoggingFlags").text().get()};
    }

    bool operator==(const ServiceEntry&) const = default;
};

} // namespace engine
