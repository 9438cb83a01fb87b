#include "TokenWriter.h"

#include "ProductVersion.h"
#include "TdsTypes.h"
#include "TdsVersion.h"

#include <algorithm>
#include <stdexcept>

namespace standin::tds {

namespace {
enum Token : uint8_t {
    ColMetadata = 0x81,
    ReturnStatus = 0x79,
    ReturnValue = 0xAC,
    Error = 0xAA,
    Info = 0xAB,
    LoginAck = 0xAD,
    EnvChange = 0xE3,
    Row = 0xD1,
    NbcRow = 0xD2,
};
constexpr uint8_t kInterfaceSqlTsql = 1;
constexpr uint16_t kFlagNullable = 0x0001;
constexpr uint8_t kStatusOutputParameter = 0x01;
} // namespace

void TokenWriter::loginAck(const std::string& productVersion)
{
    const ProductVersion v = ProductVersion::parse(productVersion);
    ByteWriter body;
    body.u8(kInterfaceSqlTsql);
    body.u32be(m_tdsVersion); // LOGINACK carries the version in network byte order
    body.bVarChar("Microsoft SQL Server");
    body.u8(v.major);
    body.u8(v.minor);
    body.u8(static_cast<uint8_t>(v.build >> 8));
    body.u8(static_cast<uint8_t>(v.build & 0xFF));
    m_out.u8(LoginAck);
    m_out.u16(static_cast<uint16_t>(body.size()));
    m_out.raw(body.bytes());
}

void TokenWriter::envChange(EnvChangeType type, const std::string& newValue, const std::string& oldValue)
{
    ByteWriter body;
    body.u8(type);
    body.bVarChar(newValue);
    body.bVarChar(oldValue);
    m_out.u8(EnvChange);
    m_out.u16(static_cast<uint16_t>(body.size()));
    m_out.raw(body.bytes());
}

void TokenWriter::envChangeCollation()
{
    ByteWriter body;
    body.u8(EnvSqlCollation);
    body.u8(sizeof kCollation);
    body.raw(kCollation, sizeof kCollation);
    body.u8(0);
    m_out.u8(EnvChange);
    m_out.u16(static_cast<uint16_t>(body.size()));
    m_out.raw(body.bytes());
}

void TokenWriter::envChangeTransaction(EnvChangeType type, const Bytes& newDescriptor,
                                       const Bytes& oldDescriptor)
{
    ByteWriter body;
    body.u8(type);
    body.u8(static_cast<uint8_t>(newDescriptor.size()));
    body.raw(newDescriptor);
    body.u8(static_cast<uint8_t>(oldDescriptor.size()));
    body.raw(oldDescriptor);
    m_out.u8(EnvChange);
    m_out.u16(static_cast<uint16_t>(body.size()));
    m_out.raw(body.bytes());
}

void TokenWriter::message(const ServerMessage& message)
{
    ByteWriter body;
    body.i32(message.number);
    body.u8(message.state);
    body.u8(message.severity);
    body.usVarChar(message.text);
    body.bVarChar(m_serverName);
    body.bVarChar(message.procName);
    if (m_tdsVersion >= kTds72)
        body.i32(message.line);
    else
        body.u16(static_cast<uint16_t>(message.line));
    m_out.u8(message.severity > 10 ? Error : Info);
    m_out.u16(static_cast<uint16_t>(body.size()));
    m_out.raw(body.bytes());
}

void TokenWriter::columns(const std::vector<ColumnInfo>& columns)
{
    m_columns = columns;
    m_out.u8(ColMetadata);
    m_out.u16(static_cast<uint16_t>(columns.size()));
    for (const ColumnInfo& c : columns) {
        if (m_tdsVersion >= kTds72)
            m_out.u32(0); // user type
        else
            m_out.u16(0);
        m_out.u16(c.nullable ? kFlagNullable : 0);
        writeTypeInfo(m_out, c, m_tdsVersion, true);
        m_out.bVarChar(c.name);
    }
}

void TokenWriter::row(const std::vector<Value>& values)
{
    if (m_columns.empty())
        throw std::logic_error("a row was produced before its columns");
    if (values.size() != m_columns.size())
        throw std::logic_error("a row has " + std::to_string(values.size()) + " values for " +
                               std::to_string(m_columns.size()) + " columns");
    // Encode aside first: a value that cannot be converted must not leave half a row behind.
    ByteWriter row;
    const auto isNull = [](const Value& v) { return std::holds_alternative<std::monostate>(v); };
    // From TDS 7.3B a row with NULLs may send a bitmap of them and leave them out, as SQL
    // Server does.
    if (m_tdsVersion >= kTds73B && std::any_of(values.begin(), values.end(), isNull)) {
        row.u8(NbcRow);
        Bytes bitmap((values.size() + 7) / 8, 0);
        for (size_t i = 0; i < values.size(); ++i)
            if (isNull(values[i]))
                bitmap[i / 8] |= static_cast<uint8_t>(1u << (i % 8));
        row.raw(bitmap);
        for (size_t i = 0; i < values.size(); ++i)
            if (!isNull(values[i]))
                writeValue(row, m_columns[i], values[i], m_tdsVersion);
    } else {
        row.u8(Row);
        for (size_t i = 0; i < values.size(); ++i)
            writeValue(row, m_columns[i], values[i], m_tdsVersion);
    }
    m_out.raw(row.bytes());
}

void TokenWriter::done(DoneToken token, uint16_t status, uint16_t currentCommand, uint64_t rowCount)
{
    m_out.u8(token);
    m_out.u16(status);
    m_out.u16(currentCommand);
    if (m_tdsVersion >= kTds72)
        m_out.u64(rowCount);
    else
        m_out.u32(static_cast<uint32_t>(rowCount));
}

void TokenWriter::returnStatus(int32_t status)
{
    m_out.u8(ReturnStatus);
    m_out.i32(status);
}

void TokenWriter::returnValue(uint16_t ordinal, const std::string& name, const ColumnInfo& type,
                              const Value& value)
{
    ByteWriter body;
    body.u16(ordinal);
    body.bVarChar(name);
    body.u8(kStatusOutputParameter);
    if (m_tdsVersion >= kTds72)
        body.u32(0);
    else
        body.u16(0);
    body.u16(type.nullable ? kFlagNullable : 0);
    writeTypeInfo(body, type, m_tdsVersion, false);
    writeValue(body, type, value, m_tdsVersion);
    m_out.u8(ReturnValue);
    m_out.raw(body.bytes());
}

} // namespace standin::tds
