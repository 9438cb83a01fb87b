#include "ResponseStream.h"

#include <system_error>

namespace standin::tds {

void ResponseStream::send(size_t bytes, bool last)
{
    Bytes& buffer = m_tokens.out().bytes();
    if (m_healthy) {
        try {
            m_packets.send(TabularResult, buffer.data(), bytes, last);
        } catch (const std::system_error&) {
            // The reader notices the closed socket and ends the connection; here the request
            // only has to stop producing output.
            m_healthy = false;
        }
    }
    buffer.erase(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(bytes));
    m_started = m_started || bytes > 0;
}

void ResponseStream::spill()
{
    const size_t room = m_packets.packetSize() - kHeaderSize;
    const size_t size = m_tokens.out().size();
    if (size > room)
        send(size / room * room - (size % room == 0 ? room : 0), false);
}

void ResponseStream::flush()
{
    send(m_tokens.out().size(), false);
}

void ResponseStream::end()
{
    send(m_tokens.out().size(), true);
}

} // namespace standin::tds
