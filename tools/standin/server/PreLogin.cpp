#include "PreLogin.h"

#include "ProductVersion.h"

namespace standin::tds {

namespace {
enum Option : uint8_t {
    Version = 0x00,
    Encryption = 0x01,
    InstOpt = 0x02,
    ThreadId = 0x03,
    Mars = 0x04,
    Terminator = 0xFF,
};
}

PreLoginRequest parsePreLogin(const Bytes& payload)
{
    PreLoginRequest request;
    ByteReader table(payload);
    for (;;) {
        const uint8_t option = table.u8();
        if (option == Terminator)
            break;
        const uint16_t offset = table.u16be();
        const uint16_t length = table.u16be();
        if (static_cast<size_t>(offset) + length > payload.size())
            throw ProtocolError("a PRELOGIN option points past the end of the packet");
        ByteReader value(payload.data() + offset, length);
        switch (option) {
        case Encryption:
            if (length >= 1) {
                request.encryption = value.u8();
                request.hasEncryption = true;
            }
            break;
        case InstOpt: {
            std::string name(reinterpret_cast<const char*>(payload.data() + offset), length);
            request.instance = name.substr(0, name.find('\0'));
            break;
        }
        case Mars:
            if (length >= 1)
                request.mars = value.u8() != 0;
            break;
        default:
            break; // version, thread id, trace id, nonce: nothing to act on
        }
    }
    return request;
}

Bytes buildPreLoginResponse(const std::string& productVersion)
{
    const ProductVersion v = ProductVersion::parse(productVersion);
    struct Entry {
        uint8_t option;
        Bytes value;
    };
    const Entry entries[] = {
        {Version,
         {v.major, v.minor, static_cast<uint8_t>(v.build >> 8), static_cast<uint8_t>(v.build & 0xFF), 0, 0}},
        {Encryption, {kEncryptNotSupported}},
        {InstOpt, {0}},
        {ThreadId, {}},
        {Mars, {0}},
    };
    const size_t tableSize = std::size(entries) * 5 + 1;
    ByteWriter w;
    size_t offset = tableSize;
    for (const Entry& e : entries) {
        w.u8(e.option);
        w.u16be(static_cast<uint16_t>(offset));
        w.u16be(static_cast<uint16_t>(e.value.size()));
        offset += e.value.size();
    }
    w.u8(Terminator);
    for (const Entry& e : entries)
        w.raw(e.value);
    return w.bytes();
}

} // namespace standin::tds
