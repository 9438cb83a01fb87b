#include "TdsBytes.h"

#include "TextEncoding.h"

#include <cerrno>
#include <cstring>
#include <iconv.h>

namespace standin::tds {

void ByteWriter::u16(uint16_t v)
{
    u8(v & 0xFF);
    u8(v >> 8);
}

void ByteWriter::u16be(uint16_t v)
{
    u8(v >> 8);
    u8(v & 0xFF);
}

void ByteWriter::u32(uint32_t v)
{
    u16(v & 0xFFFF);
    u16(v >> 16);
}

void ByteWriter::u32be(uint32_t v)
{
    u16be(v >> 16);
    u16be(v & 0xFFFF);
}

void ByteWriter::u64(uint64_t v)
{
    u32(static_cast<uint32_t>(v));
    u32(static_cast<uint32_t>(v >> 32));
}

void ByteWriter::f64(double v)
{
    uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    u64(bits);
}

void ByteWriter::raw(const void* data, size_t size)
{
    const auto* p = static_cast<const uint8_t*>(data);
    m_bytes.insert(m_bytes.end(), p, p + size);
}

void ByteWriter::ucs2(std::string_view utf8)
{
    raw(utf8ToUtf16le(utf8));
}

void ByteWriter::bVarChar(std::string_view utf8)
{
    Bytes text = utf8ToUtf16le(utf8);
    if (text.size() / 2 > 255)
        text.resize(255 * 2);
    u8(static_cast<uint8_t>(text.size() / 2));
    raw(text);
}

void ByteWriter::usVarChar(std::string_view utf8)
{
    Bytes text = utf8ToUtf16le(utf8);
    if (text.size() / 2 > 65535)
        text.resize(65535 * 2);
    u16(static_cast<uint16_t>(text.size() / 2));
    raw(text);
}

void ByteWriter::patchU16(size_t at, uint16_t v)
{
    m_bytes.at(at) = v & 0xFF;
    m_bytes.at(at + 1) = v >> 8;
}

const uint8_t* ByteReader::take(size_t n)
{
    if (n > m_size - m_offset)
        throw ProtocolError("the packet ends in the middle of a field");
    const uint8_t* p = m_data + m_offset;
    m_offset += n;
    return p;
}

uint8_t ByteReader::u8()
{
    return *take(1);
}

uint16_t ByteReader::u16()
{
    const uint8_t* p = take(2);
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

uint16_t ByteReader::u16be()
{
    const uint8_t* p = take(2);
    return static_cast<uint16_t>((p[0] << 8) | p[1]);
}

uint32_t ByteReader::u32()
{
    const uint8_t* p = take(4);
    return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

uint32_t ByteReader::u32be()
{
    const uint8_t* p = take(4);
    return (static_cast<uint32_t>(p[0]) << 24) | (p[1] << 16) | (p[2] << 8) | p[3];
}

uint64_t ByteReader::u64()
{
    uint64_t lo = u32();
    uint64_t hi = u32();
    return lo | (hi << 32);
}

double ByteReader::f64()
{
    uint64_t bits = u64();
    double v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

float ByteReader::f32()
{
    uint32_t bits = u32();
    float v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

Bytes ByteReader::bytes(size_t n)
{
    const uint8_t* p = take(n);
    return Bytes(p, p + n);
}

std::string ByteReader::ucs2(size_t chars)
{
    const uint8_t* p = take(chars * 2);
    return utf16leToUtf8(p, chars * 2);
}

void ByteReader::seek(size_t offset)
{
    if (offset > m_size)
        throw ProtocolError("an offset points past the end of the packet");
    m_offset = offset;
}

uint8_t ByteReader::peek() const
{
    if (m_offset >= m_size)
        throw ProtocolError("the packet ends where more data was expected");
    return m_data[m_offset];
}

namespace {

// Decodes one code point; on an ill-formed sequence consumes one byte and returns U+FFFD.
char32_t nextCodePoint(std::string_view s, size_t& i)
{
    const auto b0 = static_cast<uint8_t>(s[i]);
    auto cont = [&](size_t k) { return i + k < s.size() && (static_cast<uint8_t>(s[i + k]) & 0xC0) == 0x80; };
    auto bits = [&](size_t k) { return static_cast<char32_t>(static_cast<uint8_t>(s[i + k]) & 0x3F); };
    if (b0 < 0x80) {
        i += 1;
        return b0;
    }
    if ((b0 & 0xE0) == 0xC0 && b0 >= 0xC2 && cont(1)) {
        char32_t cp = ((b0 & 0x1F) << 6) | bits(1);
        i += 2;
        return cp;
    }
    if ((b0 & 0xF0) == 0xE0 && cont(1) && cont(2)) {
        char32_t cp = ((b0 & 0x0F) << 12) | (bits(1) << 6) | bits(2);
        if (cp >= 0x800 && (cp < 0xD800 || cp > 0xDFFF)) {
            i += 3;
            return cp;
        }
    }
    if ((b0 & 0xF8) == 0xF0 && cont(1) && cont(2) && cont(3)) {
        char32_t cp = ((b0 & 0x07) << 18) | (bits(1) << 12) | (bits(2) << 6) | bits(3);
        if (cp >= 0x10000 && cp <= 0x10FFFF) {
            i += 4;
            return cp;
        }
    }
    i += 1;
    return 0xFFFD;
}

std::string convert(const char* to, const char* from, std::string_view in, char replacement)
{
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1))
        throw std::runtime_error(std::string("iconv cannot convert from ") + from + " to " + to);
    std::string out;
    out.resize(in.size() * 4 + 4);
    char* src = const_cast<char*>(in.data());
    size_t srcLeft = in.size();
    char* dst = out.data();
    size_t dstLeft = out.size();
    while (srcLeft > 0) {
        if (iconv(cd, &src, &srcLeft, &dst, &dstLeft) != static_cast<size_t>(-1))
            break;
        if (errno == E2BIG) {
            const size_t used = static_cast<size_t>(dst - out.data());
            out.resize(out.size() * 2);
            dst = out.data() + used;
            dstLeft = out.size() - used;
            continue;
        }
        // An unmappable or broken character: write the replacement and skip one input unit
        // (a whole UTF-8 sequence when the input is UTF-8).
        if (dstLeft == 0) {
            const size_t used = static_cast<size_t>(dst - out.data());
            out.resize(out.size() * 2);
            dst = out.data() + used;
            dstLeft = out.size() - used;
        }
        *dst++ = replacement;
        --dstLeft;
        size_t skip = 1;
        if (std::string_view(from) == "UTF-8") {
            size_t i = static_cast<size_t>(src - in.data());
            size_t j = i;
            nextCodePoint(in, j);
            skip = j - i;
        }
        src += skip;
        srcLeft -= skip;
    }
    iconv_close(cd);
    out.resize(static_cast<size_t>(dst - out.data()));
    return out;
}

} // namespace

Bytes utf8ToUtf16le(std::string_view utf8)
{
    Bytes out;
    out.reserve(utf8.size() * 2);
    for (size_t i = 0; i < utf8.size();) {
        char32_t cp = nextCodePoint(utf8, i);
        auto unit = [&](uint16_t u) {
            out.push_back(u & 0xFF);
            out.push_back(u >> 8);
        };
        if (cp >= 0x10000) {
            cp -= 0x10000;
            unit(static_cast<uint16_t>(0xD800 + (cp >> 10)));
            unit(static_cast<uint16_t>(0xDC00 + (cp & 0x3FF)));
        } else {
            unit(static_cast<uint16_t>(cp));
        }
    }
    return out;
}

size_t utf16Units(std::string_view utf8)
{
    return utf8ToUtf16le(utf8).size() / 2;
}

std::string utf16leToUtf8(const uint8_t* data, size_t bytes)
{
    return text::Utf16leToUtf8(std::string(reinterpret_cast<const char*>(data), bytes));
}

std::string utf8ToCp1252(std::string_view utf8)
{
    return convert("CP1252", "UTF-8", utf8, '?');
}

std::string cp1252ToUtf8(std::string_view cp1252)
{
    // Five CP1252 positions are unassigned; they cannot come from a Latin1 client anyway.
    return convert("UTF-8", "CP1252", cp1252, '?');
}

} // namespace standin::tds
