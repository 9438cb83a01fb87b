#pragma once

// A bare TDS client over a socket, for tests that must see packets and tokens exactly as the
// server sends them (flush timing, attention acknowledgements, malformed input). It understands
// the tokens that carry no row data: messages, ENVCHANGE, LOGINACK, RETURNSTATUS, RETURNVALUE
// (int, time, datetime2, datetimeoffset, nvarchar) and the three DONE tokens.

#include "TdsBytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct RawToken {
    uint8_t type = 0;
    // INFO/ERROR
    int32_t number = 0;
    uint8_t severity = 0;
    std::string text;
    // DONE, DONEPROC, DONEINPROC
    uint16_t status = 0;
    uint64_t rowCount = 0;
    // RETURNSTATUS, RETURNVALUE (int); ENVCHANGE: its type
    int64_t value = 0;
    // RETURNVALUE: the TDS type, its scale (time types) and the value's bytes after its length
    uint8_t wireType = 0;
    uint8_t scale = 0;
    standin::tds::Bytes data;
};

struct RawPacket {
    uint8_t type = 0;
    uint8_t status = 0;
    standin::tds::Bytes payload;
};

class RawTdsClient {
public:
    // Connects to 127.0.0.1:port, or adopts a connected socket.
    static RawTdsClient connectTo(uint16_t port);
    explicit RawTdsClient(int fd) : m_fd(fd) {}
    RawTdsClient(RawTdsClient&& other) noexcept : m_fd(other.m_fd) { other.m_fd = -1; }
    ~RawTdsClient();

    void sendRaw(const standin::tds::Bytes& bytes);
    void sendPacket(uint8_t type, const standin::tds::Bytes& payload, uint8_t status = 0x01);
    // The next packet, or nothing when the server closed the connection (or timeoutMs passed:
    // then timedOut() is true).
    std::optional<RawPacket> readPacket(int timeoutMs = 10000);
    bool timedOut() const { return m_timedOut; }
    // Reads packets up to and including the end of a message; returns all its tokens.
    std::vector<RawToken> readMessage(int timeoutMs = 10000);
    // True when the server has closed its side (read returns end-of-file within timeoutMs).
    bool closedByServer(int timeoutMs = 5000);

    // PRELOGIN then LOGIN7; returns the tokens of the login response.
    std::vector<RawToken> login(const std::string& user, const std::string& password,
                                const std::string& database = {}, uint32_t tdsVersion = 0x74000004);
    void sendBatch(const std::string& sql);
    void sendAttention() { sendPacket(0x06, {}); }
    // Ends the client's side of the stream (the server sees end-of-file; replies still arrive).
    void finishSending();

    static standin::tds::Bytes buildLogin7(const std::string& user, const std::string& password,
                                           const std::string& database, uint32_t tdsVersion = 0x74000004);
    // Tokens contained in a payload (the subset listed above). Throws on anything else.
    static std::vector<RawToken> parseTokens(const standin::tds::Bytes& payload);

private:
    int m_fd = -1;
    bool m_timedOut = false;
};
