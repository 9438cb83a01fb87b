#pragma once

#include "TdsBytes.h"

#include <string>

// A LOGIN7 record as a client builds it, for the tests that speak TDS without a driver.
struct Login7Fields {
    std::string hostName = "rawclient";
    std::string userName;
    std::string password;
    std::string appName = "RawTdsClient";
    std::string serverName = "127.0.0.1";
    std::string libraryName = "raw";
    std::string database;
    uint32_t tdsVersion = 0x74000004;
    uint32_t packetSize = 4096;
    uint32_t processId = 0;
};

inline standin::tds::Bytes buildLogin7(const Login7Fields& f)
{
    using namespace standin::tds;
    // Host, user, password, application, server, extension, library, language, database.
    const std::string fields[] = {f.hostName, f.userName, f.password, f.appName, f.serverName,
                                  "",         f.libraryName, "",       f.database};
    // The fixed part: 36 bytes, nine offset/length pairs, client id, SSPI, attach, change
    // password and long SSPI length.
    constexpr size_t headerSize = 36 + 9 * 4 + 6 + 4 * 5;
    ByteWriter fixed;
    ByteWriter data;
    fixed.u32(0); // total length, filled in at the end
    fixed.u32(f.tdsVersion);
    fixed.u32(f.packetSize);
    fixed.u32(7);
    fixed.u32(f.processId);
    fixed.u32(0);
    fixed.u8(0xE0);
    fixed.u8(0x03);
    fixed.u8(0);
    fixed.u8(0);
    fixed.u32(0);
    fixed.u32(0x409);
    for (size_t i = 0; i < 9; ++i) {
        Bytes text = utf8ToUtf16le(fields[i]);
        if (i == 2) // the password travels with its nibbles swapped and XORed with 0xA5
            for (uint8_t& b : text)
                b = static_cast<uint8_t>(((b << 4) | (b >> 4)) ^ 0xA5);
        fixed.u16(static_cast<uint16_t>(headerSize + data.size()));
        fixed.u16(static_cast<uint16_t>(text.size() / 2));
        data.raw(text);
    }
    for (int i = 0; i < 6; ++i)
        fixed.u8(0);
    for (int i = 0; i < 5; ++i)
        fixed.u32(0);
    Bytes all = fixed.bytes();
    all.insert(all.end(), data.bytes().begin(), data.bytes().end());
    const auto total = static_cast<uint32_t>(all.size());
    all[0] = total & 0xFF;
    all[1] = (total >> 8) & 0xFF;
    return all;
}
