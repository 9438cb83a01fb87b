// What a client writes to the socket, read as TDS packets into messages until the stream ends.

#include "FuzzInput.h"
#include "TdsPacket.h"

#include <unistd.h>

#include <system_error>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // A pipe holds 64 KiB without a reader; longer inputs add nothing the packet layer has not seen.
    if (size > 60000)
        return 0;
    int fds[2];
    if (::pipe(fds) != 0)
        return 0;
    const bool written = ::write(fds[1], data, size) == static_cast<ssize_t>(size);
    ::close(fds[1]);
    if (written) {
        standin::tds::PacketReader reader(fds[0]);
        try {
            while (reader.read()) {
            }
        } catch (const standin::tds::ProtocolError&) {
            // the connection is closed
        } catch (const std::system_error&) {
            // the client reset the connection
        }
    }
    ::close(fds[0]);
    return 0;
}
