#pragma once

// LOGIN7: the client's version, packet size, names and (obfuscated) password.

#include "TdsBytes.h"
#include "TdsVersion.h"

#include <string>

namespace standin::tds {

struct Login7Request {
    uint32_t tdsVersion = 0;
    uint32_t packetSize = 0;
    uint32_t clientPid = 0;
    bool integratedSecurity = false;
    std::string hostName;
    std::string userName;
    std::string password;
    std::string appName;
    std::string serverName;
    std::string libraryName;
    std::string language;
    std::string database;
};

// Throws ProtocolError when the fixed part or a field's offset and length do not fit.
Login7Request parseLogin7(const Bytes& payload);

// The version the server answers with: the client's own when it is 7.1 to 7.4, 7.4 for a
// newer client. Returns 0 for clients older than 7.1, which the stand-in does not serve.
uint32_t negotiateTdsVersion(uint32_t clientVersion);

// The password travels with each byte's nibbles swapped and then XORed with 0xA5.
std::string decodePassword(const uint8_t* data, size_t bytes);

} // namespace standin::tds
