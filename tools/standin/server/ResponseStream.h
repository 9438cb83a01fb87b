#pragma once

// One response message on its way out: tokens collect in a TokenWriter; full packets leave as
// soon as they fill, and flush() sends a partial packet at once (without end-of-message) when
// the client must see something before the request ends.

#include "TdsPacket.h"
#include "TokenWriter.h"

namespace standin::tds {

class ResponseStream {
public:
    ResponseStream(TokenWriter& tokens, PacketWriter& packets) : m_tokens(tokens), m_packets(packets) {}

    TokenWriter& tokens() { return m_tokens; }
    // Sends the full packets collected so far.
    void spill();
    // Sends everything collected so far; the message stays open.
    void flush();
    // Sends the rest with the end-of-message bit.
    void end();
    // Drops what has not been sent (after an attention the client discards it anyway).
    void discard() { m_tokens.out().clear(); }
    // False once a write failed: the client has gone, and the request should stop.
    bool healthy() const { return m_healthy; }
    // True once part of the message has gone out.
    bool started() const { return m_started; }

private:
    void send(size_t bytes, bool last);
    TokenWriter& m_tokens;
    PacketWriter& m_packets;
    bool m_healthy = true;
    bool m_started = false;
};

} // namespace standin::tds
