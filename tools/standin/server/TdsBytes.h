#pragma once

// Little helpers to build and take apart TDS payloads: integers in the byte order the
// protocol uses (little-endian inside tokens, big-endian in packet headers), and the
// UCS-2 / code-page text SQL Server puts on the wire.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace standin::tds {

// A client sent something the protocol does not allow. The connection that sent it is closed;
// the server and every other connection carry on.
class ProtocolError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

using Bytes = std::vector<uint8_t>;

class ByteWriter {
public:
    void u8(uint8_t v) { m_bytes.push_back(v); }
    void u16(uint16_t v);
    void u16be(uint16_t v);
    void u32(uint32_t v);
    void u32be(uint32_t v);
    void u64(uint64_t v);
    void i32(int32_t v) { u32(static_cast<uint32_t>(v)); }
    void f64(double v);
    void raw(const void* data, size_t size);
    void raw(const Bytes& b) { raw(b.data(), b.size()); }
    // UTF-16LE text without a length prefix.
    void ucs2(std::string_view utf8);
    // B_VARCHAR: one byte of character count, then UTF-16LE.
    void bVarChar(std::string_view utf8);
    // US_VARCHAR: two bytes of character count, then UTF-16LE.
    void usVarChar(std::string_view utf8);

    void patchU16(size_t at, uint16_t v);
    size_t size() const { return m_bytes.size(); }
    const Bytes& bytes() const { return m_bytes; }
    Bytes& bytes() { return m_bytes; }
    void clear() { m_bytes.clear(); }

private:
    Bytes m_bytes;
};

// Reads a payload; every read past the end throws ProtocolError.
class ByteReader {
public:
    ByteReader(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    explicit ByteReader(const Bytes& b) : ByteReader(b.data(), b.size()) {}

    uint8_t u8();
    uint16_t u16();
    uint16_t u16be();
    uint32_t u32();
    uint32_t u32be();
    uint64_t u64();
    int32_t i32() { return static_cast<int32_t>(u32()); }
    double f64();
    float f32();
    Bytes bytes(size_t n);
    const uint8_t* take(size_t n);
    std::string ucs2(size_t chars);
    std::string bVarChar() { return ucs2(u8()); }
    std::string usVarChar() { return ucs2(u16()); }
    void skip(size_t n) { take(n); }

    size_t offset() const { return m_offset; }
    size_t remaining() const { return m_size - m_offset; }
    bool atEnd() const { return m_offset == m_size; }
    void seek(size_t offset);
    uint8_t peek() const;

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_offset = 0;
};

// UTF-8 <-> UTF-16LE. Ill-formed input becomes U+FFFD rather than failing: a bad character in
// a name must not cost the client its connection.
Bytes utf8ToUtf16le(std::string_view utf8);
std::string utf16leToUtf8(const uint8_t* data, size_t bytes);
size_t utf16Units(std::string_view utf8);

// The single-byte code page of the server's collation (Latin1_General, code page 1252), used
// for varchar data. Characters it cannot hold become '?', as SQL Server does.
std::string utf8ToCp1252(std::string_view utf8);
std::string cp1252ToUtf8(std::string_view cp1252);

} // namespace standin::tds
