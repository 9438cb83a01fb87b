#include "RawTdsClient.h"

#include "Login7Builder.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

using namespace standin::tds;

RawTdsClient RawTdsClient::connectTo(uint16_t port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
        ::close(fd);
        throw std::runtime_error("cannot connect to port " + std::to_string(port));
    }
    return RawTdsClient(fd);
}

RawTdsClient::~RawTdsClient()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

void RawTdsClient::sendRaw(const Bytes& bytes)
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = ::send(m_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
            throw std::runtime_error("send failed");
        sent += static_cast<size_t>(n);
    }
}

void RawTdsClient::sendPacket(uint8_t type, const Bytes& payload, uint8_t status)
{
    ByteWriter w;
    w.u8(type);
    w.u8(status);
    w.u16be(static_cast<uint16_t>(payload.size() + 8));
    w.u16be(0);
    w.u8(1);
    w.u8(0);
    w.raw(payload);
    sendRaw(w.bytes());
}

std::optional<RawPacket> RawTdsClient::readPacket(int timeoutMs)
{
    m_timedOut = false;
    auto readExactly = [&](uint8_t* buf, size_t size) -> bool {
        size_t got = 0;
        while (got < size) {
            pollfd p{m_fd, POLLIN, 0};
            if (::poll(&p, 1, timeoutMs) <= 0) {
                m_timedOut = true;
                return false;
            }
            const ssize_t n = ::recv(m_fd, buf + got, size - got, 0);
            if (n <= 0)
                return false;
            got += static_cast<size_t>(n);
        }
        return true;
    };
    uint8_t header[8];
    if (!readExactly(header, 8))
        return std::nullopt;
    RawPacket packet;
    packet.type = header[0];
    packet.status = header[1];
    const size_t length = (header[2] << 8) | header[3];
    if (length < 8)
        throw std::runtime_error("server sent a packet shorter than its header");
    packet.payload.resize(length - 8);
    if (!readExactly(packet.payload.data(), packet.payload.size()))
        throw std::runtime_error("server closed in the middle of a packet");
    return packet;
}

std::vector<RawToken> RawTdsClient::readMessage(int timeoutMs)
{
    Bytes payload;
    for (;;) {
        auto packet = readPacket(timeoutMs);
        if (!packet)
            throw std::runtime_error(m_timedOut ? "no response in time" : "the server closed the connection");
        payload.insert(payload.end(), packet->payload.begin(), packet->payload.end());
        if (packet->status & 0x01)
            break;
    }
    return parseTokens(payload);
}

void RawTdsClient::finishSending()
{
    ::shutdown(m_fd, SHUT_WR);
}

bool RawTdsClient::closedByServer(int timeoutMs)
{
    for (;;) {
        pollfd p{m_fd, POLLIN, 0};
        if (::poll(&p, 1, timeoutMs) <= 0)
            return false;
        uint8_t buf[4096];
        const ssize_t n = ::recv(m_fd, buf, sizeof buf, 0);
        if (n <= 0)
            return true;
    }
}

Bytes RawTdsClient::buildLogin7(const std::string& user, const std::string& password,
                                const std::string& database, uint32_t tdsVersion)
{
    Login7Fields f;
    f.tdsVersion = tdsVersion;
    f.userName = user;
    f.password = password;
    f.database = database;
    f.processId = static_cast<uint32_t>(::getpid());
    return ::buildLogin7(f);
}

std::vector<RawToken> RawTdsClient::login(const std::string& user, const std::string& password,
                                          const std::string& database, uint32_t tdsVersion)
{
    // PRELOGIN with VERSION and ENCRYPTION (off)
    ByteWriter pre;
    pre.u8(0x00);
    pre.u16be(11);
    pre.u16be(6);
    pre.u8(0x01);
    pre.u16be(17);
    pre.u16be(1);
    pre.u8(0xFF);
    pre.raw(Bytes{0x01, 0x00, 0x00, 0x00, 0x00, 0x00});
    pre.u8(0x00);
    sendPacket(0x12, pre.bytes());
    auto answer = readPacket();
    if (!answer || answer->type != 0x04)
        throw std::runtime_error("no PRELOGIN answer");
    sendPacket(0x10, buildLogin7(user, password, database, tdsVersion));
    return readMessage();
}

void RawTdsClient::sendBatch(const std::string& sql)
{
    ByteWriter w;
    w.u32(22);
    w.u32(18);
    w.u16(2);
    w.u64(0);
    w.u32(1);
    w.ucs2(sql);
    sendPacket(0x01, w.bytes());
}

std::vector<RawToken> RawTdsClient::parseTokens(const Bytes& payload)
{
    std::vector<RawToken> tokens;
    ByteReader r(payload);
    while (!r.atEnd()) {
        RawToken t;
        t.type = r.u8();
        switch (t.type) {
        case 0xAA:
        case 0xAB: {
            const uint16_t len = r.u16();
            ByteReader m(r.take(len), len);
            t.number = m.i32();
            m.u8();
            t.severity = m.u8();
            t.text = m.usVarChar();
            break;
        }
        case 0xE3: {
            const uint16_t len = r.u16();
            t.value = len > 0 ? r.peek() : 0;
            r.skip(len);
            break;
        }
        case 0xAD:
            r.skip(r.u16());
            break;
        case 0x79:
            t.value = r.i32();
            break;
        case 0xAC: {
            r.u16();
            r.bVarChar();
            r.u8();
            r.u32();
            r.u16();
            t.wireType = r.u8();
            if (t.wireType == 0x26) {
                r.u8();
            } else if (t.wireType >= 0x29 && t.wireType <= 0x2B) {
                t.scale = r.u8();
            } else if (t.wireType == 0xE7) {
                r.u16();
                r.skip(5); // collation
                t.data = r.bytes(r.u16());
                break;
            } else {
                throw std::runtime_error("RawTdsClient reads int, time and nvarchar return values only");
            }
            const uint8_t size = r.u8();
            t.data = r.bytes(size);
            int64_t v = 0;
            for (uint8_t i = 0; i < size && i < 8; ++i)
                v |= static_cast<int64_t>(t.data[i]) << (8 * i);
            t.value = v;
            break;
        }
        case 0xFD:
        case 0xFE:
        case 0xFF:
            t.status = r.u16();
            r.u16();
            t.rowCount = r.u64();
            break;
        default:
            throw std::runtime_error("RawTdsClient cannot read token 0x" + std::to_string(t.type));
        }
        tokens.push_back(std::move(t));
    }
    return tokens;
}
