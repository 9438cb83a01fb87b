#include "TdsPacket.h"

#include <cerrno>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace standin::tds {

bool PacketReader::readExactly(uint8_t* buffer, size_t size, bool eofAllowed)
{
    size_t got = 0;
    while (got < size) {
        ssize_t n = ::recv(m_fd, buffer + got, size - got, 0);
        if (n > 0) {
            got += static_cast<size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n == 0 && got == 0 && eofAllowed)
            return false;
        if (n == 0)
            throw ProtocolError("the client closed the connection in the middle of a packet");
        throw std::system_error(errno, std::generic_category(), "reading from the client");
    }
    return true;
}

std::optional<Message> PacketReader::read()
{
    Message message;
    bool first = true;
    for (;;) {
        uint8_t header[kHeaderSize];
        if (!readExactly(header, kHeaderSize, first))
            return std::nullopt;
        const uint8_t type = header[0];
        const uint8_t status = header[1];
        const size_t length = (static_cast<size_t>(header[2]) << 8) | header[3];
        if (length < kHeaderSize || length > kMaxPacketSize)
            throw ProtocolError("a packet header gives an impossible length (" + std::to_string(length) +
                                ")");
        switch (type) {
        case SqlBatch:
        case Rpc:
        case Attention:
        case BulkLoad:
        case TransactionManager:
        case Login7:
        case Sspi:
        case PreLogin:
            break;
        default:
            throw ProtocolError("unknown packet type " + std::to_string(type));
        }
        if (first) {
            message.type = type;
            message.status = status;
        } else if (type != message.type) {
            throw ProtocolError("a packet of another type arrived in the middle of a message");
        }
        const size_t body = length - kHeaderSize;
        if (message.payload.size() + body > kMaxMessageSize)
            throw ProtocolError("a request is larger than the stand-in accepts");
        const size_t at = message.payload.size();
        message.payload.resize(at + body);
        if (body > 0)
            readExactly(message.payload.data() + at, body, false);
        first = false;
        if (status & EndOfMessage)
            return message;
    }
}

void PacketWriter::sendAll(const uint8_t* data, size_t size)
{
    size_t sent = 0;
    while (sent < size) {
        ssize_t n = ::send(m_fd, data + sent, size - sent, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            throw std::system_error(errno, std::generic_category(), "writing to the client");
        }
        sent += static_cast<size_t>(n);
    }
}

void PacketWriter::send(uint8_t type, const uint8_t* payload, size_t size, bool last)
{
    if (size == 0 && !last)
        return;
    const size_t room = m_packetSize - kHeaderSize;
    size_t offset = 0;
    do {
        const size_t chunk = std::min(room, size - offset);
        const bool eom = last && offset + chunk == size;
        Bytes packet;
        packet.reserve(kHeaderSize + chunk);
        const size_t length = kHeaderSize + chunk;
        packet.push_back(type);
        packet.push_back(eom ? EndOfMessage : 0);
        packet.push_back(static_cast<uint8_t>(length >> 8));
        packet.push_back(static_cast<uint8_t>(length & 0xFF));
        packet.push_back(static_cast<uint8_t>(m_spid >> 8));
        packet.push_back(static_cast<uint8_t>(m_spid & 0xFF));
        packet.push_back(m_packetId++);
        packet.push_back(0);
        packet.insert(packet.end(), payload + offset, payload + offset + chunk);
        sendAll(packet.data(), packet.size());
        offset += chunk;
    } while (offset < size);
}

} // namespace standin::tds
