#include "Login7.h"

namespace standin::tds {

namespace {
constexpr size_t kFixedSize = 36;
constexpr uint8_t kIntegratedSecurity = 0x80; // OptionFlags2 fIntSecurity
} // namespace

std::string decodePassword(const uint8_t* data, size_t bytes)
{
    Bytes plain(data, data + bytes);
    for (uint8_t& b : plain) {
        b ^= 0xA5;
        b = static_cast<uint8_t>((b << 4) | (b >> 4));
    }
    return utf16leToUtf8(plain.data(), plain.size());
}

Login7Request parseLogin7(const Bytes& payload)
{
    ByteReader r(payload);
    Login7Request login;
    const uint32_t length = r.u32();
    if (length > payload.size() || length < kFixedSize + 4 * 13)
        throw ProtocolError("LOGIN7 gives a length that does not match the packet");
    login.tdsVersion = r.u32();
    login.packetSize = r.u32();
    r.u32(); // client program version
    login.clientPid = r.u32();
    r.u32(); // connection id
    r.u8();  // option flags 1
    login.integratedSecurity = (r.u8() & kIntegratedSecurity) != 0;
    r.u8();  // type flags
    r.u8();  // option flags 3
    r.u32(); // client time zone
    r.u32(); // client LCID

    // Offset (from the start of LOGIN7) and length (in characters) of each text field.
    auto text = [&](bool secret = false) {
        const uint16_t offset = r.u16();
        const uint16_t chars = r.u16();
        const size_t bytes = static_cast<size_t>(chars) * 2;
        if (chars == 0)
            return std::string();
        if (offset + bytes > length)
            throw ProtocolError("a LOGIN7 field points past the end of the record");
        return secret ? decodePassword(payload.data() + offset, bytes)
                      : utf16leToUtf8(payload.data() + offset, bytes);
    };
    login.hostName = text();
    login.userName = text();
    login.password = text(true);
    login.appName = text();
    login.serverName = text();
    r.u16(); // extension offset
    r.u16(); // extension length
    login.libraryName = text();
    login.language = text();
    login.database = text();
    // The client id, SSPI, attach-file and change-password fields are not used: logins are
    // SQL logins, and the product never attaches a file or changes a password at login.
    return login;
}

uint32_t negotiateTdsVersion(uint32_t clientVersion)
{
    // Clients send the version little-endian; a few old ones sent it the other way round.
    uint32_t v = clientVersion;
    if ((v >> 28) != 0x7)
        v = __builtin_bswap32(v);
    if ((v >> 28) != 0x7)
        return 0;
    switch (v >> 24) {
    case 0x71:
        return kTds71;
    case 0x72:
        return kTds72;
    case 0x73:
        return v == kTds73A ? kTds73A : kTds73B;
    case 0x70:
        return 0;
    default:
        return kTds74;
    }
}

} // namespace standin::tds
