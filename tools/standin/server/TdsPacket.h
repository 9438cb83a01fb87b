#pragma once

// The TDS packet layer: an 8-byte header (type, status, big-endian length, SPID, packet id,
// window) in front of each piece of a message; the last piece carries the end-of-message bit.

#include "TdsBytes.h"

#include <cstdint>
#include <optional>

namespace standin::tds {

enum PacketType : uint8_t {
    SqlBatch = 0x01,
    Rpc = 0x03,
    TabularResult = 0x04,
    Attention = 0x06,
    BulkLoad = 0x07,
    TransactionManager = 0x0E,
    Login7 = 0x10,
    Sspi = 0x11,
    PreLogin = 0x12,
};

enum PacketStatus : uint8_t {
    EndOfMessage = 0x01,
    IgnoreEvent = 0x02,
    ResetConnection = 0x08,
    ResetConnectionSkipTran = 0x10,
};

constexpr size_t kHeaderSize = 8;
// Packets may be as large as the 32,767 bytes a client can negotiate, whatever was agreed:
// FreeTDS sends LOGIN7 in packets of its own chosen size.
constexpr size_t kMaxPacketSize = 32767;
// A single request larger than this is refused (closes the connection), so one client cannot
// make the server hold an unbounded message in memory.
constexpr size_t kMaxMessageSize = 64 * 1024 * 1024;

struct Message {
    uint8_t type = 0;
    uint8_t status = 0; // status of the first packet (reset-connection bits live there)
    Bytes payload;
};

// Reads whole messages from a connected socket.
class PacketReader {
public:
    explicit PacketReader(int fd) : m_fd(fd) {}
    // Returns the next message, or nothing when the client closed the connection between
    // messages. Throws ProtocolError for a malformed header or a connection cut mid-message.
    std::optional<Message> read();

private:
    bool readExactly(uint8_t* buffer, size_t size, bool eofAllowed);
    int m_fd;
};

// Cuts a message into packets of the negotiated size and sends them.
class PacketWriter {
public:
    explicit PacketWriter(int fd) : m_fd(fd) {}
    void setPacketSize(size_t size) { m_packetSize = size; }
    size_t packetSize() const { return m_packetSize; }
    void setSpid(uint16_t spid) { m_spid = spid; }
    // Sends payload as packets of the given type; when last is false the final piece goes
    // out without the end-of-message bit (a partial response flushed early). Throws
    // std::system_error when the client has gone.
    void send(uint8_t type, const uint8_t* payload, size_t size, bool last);
    void send(uint8_t type, const Bytes& payload, bool last)
    {
        send(type, payload.data(), payload.size(), last);
    }

private:
    void sendAll(const uint8_t* data, size_t size);
    int m_fd;
    size_t m_packetSize = 4096;
    uint16_t m_spid = 0;
    uint8_t m_packetId = 1;
};

} // namespace standin::tds
