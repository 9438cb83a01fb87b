#pragma once

// PRELOGIN: the first exchange, before LOGIN7. The stand-in answers that it does not support
// encryption, so the whole session runs in clear over the loopback interface.

#include "TdsBytes.h"

#include <string>

namespace standin::tds {

struct PreLoginRequest {
    uint8_t encryption = 0; // ENCRYPT_OFF, ON, NOT_SUP or REQ as the client sent it
    bool hasEncryption = false;
    std::string instance; // INSTOPT, when the client names one
    bool mars = false;
};

constexpr uint8_t kEncryptOff = 0x00;
constexpr uint8_t kEncryptOn = 0x01;
constexpr uint8_t kEncryptNotSupported = 0x02;
constexpr uint8_t kEncryptRequired = 0x03;

// Throws ProtocolError when the option table is malformed.
PreLoginRequest parsePreLogin(const Bytes& payload);

// The answer: the server's version (e.g. "9.00.5000.00"), no encryption, instance accepted,
// no MARS.
Bytes buildPreLoginResponse(const std::string& productVersion);

} // namespace standin::tds
