#pragma once

#include "ServiceEntry.h"

#include <string>

// The stand-alone service file (".lfsvc"): one `service` element as the document's root. An
// administrator hands it to the clients; "Connect to an existing Service" installs it.
namespace engine {

// What the service-file page's Next finds in a chosen file.
struct ServiceFileCheck {
    enum class Status { Recognized, NotWellFormed, NotRecognized };
    Status status = Status::Recognized;
    // The parser's reason when the file is not well-formed.
    std::string reason;
    // The text the page shows under the title "Service File Path"; empty when recognized.
    std::string message;

    explicit operator bool() const { return status == Status::Recognized; }
};

// The check of the service-file page: the file parses as XML and its root element is exactly
// "service". The contents are checked when the service is installed.
ServiceFileCheck CheckServiceFile(const std::string& path);

// The bytes of a service file for the entry.
std::string ServiceFileBytes(const ServiceEntry& entry);

// Writes a service file: name, type, and the file name (no folder) of the server configuration
// file, left out when that path is empty. Replaces an existing file atomically.
void WriteServiceFile(const std::string& filePath, const std::string& name, const std::string& type,
                      const std::string& serverConfigPath, const std::string& source);

// Reads and checks a service file for installing it. Raises 0x80040201 with the source given
// when the file is not XML, is not a service file, lacks its name or type, names a type that is
// neither "Client/Server" nor "Desktop", or, for a client/server service, names no server
// configuration file or one whose name a file cannot have.
ServiceEntry ReadServiceFile(const std::string& path, const std::string& source);

} // namespace engine
