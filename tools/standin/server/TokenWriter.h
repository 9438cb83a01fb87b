#pragma once

// Encodes the tokens of a tabular-result message for one negotiated TDS version.

#include "StandinEngine.h"
#include "TdsBytes.h"

#include <string>
#include <vector>

namespace standin::tds {

enum DoneToken : uint8_t {
    Done = 0xFD,
    DoneProc = 0xFE,
    DoneInProc = 0xFF,
};

enum DoneStatus : uint16_t {
    DoneFinal = 0x0000,
    DoneMore = 0x0001,
    DoneError = 0x0002,
    DoneCount = 0x0010,
    DoneAttention = 0x0020,
    DoneServerError = 0x0100,
};

enum EnvChangeType : uint8_t {
    EnvDatabase = 1,
    EnvLanguage = 2,
    EnvPacketSize = 4,
    EnvSqlCollation = 7,
    EnvBeginTransaction = 8,
    EnvCommitTransaction = 9,
    EnvRollbackTransaction = 10,
};

class TokenWriter {
public:
    TokenWriter(uint32_t tdsVersion, std::string serverName)
        : m_tdsVersion(tdsVersion), m_serverName(std::move(serverName))
    {
    }

    ByteWriter& out() { return m_out; }
    uint32_t tdsVersion() const { return m_tdsVersion; }

    void loginAck(const std::string& productVersion);
    void envChange(EnvChangeType type, const std::string& newValue, const std::string& oldValue);
    void envChangeCollation();
    // Begin (new descriptor, no old one), commit and rollback (old descriptor, no new one).
    void envChangeTransaction(EnvChangeType type, const Bytes& newDescriptor, const Bytes& oldDescriptor);
    // INFO for severity 10 and below, ERROR above, as SQL Server decides.
    void message(const ServerMessage& message);
    void columns(const std::vector<ColumnInfo>& columns);
    // A row of the columns last announced. Throws std::logic_error when there are none or the
    // count differs (an engine fault, reported to the client as an error).
    void row(const std::vector<Value>& values);
    void done(DoneToken token, uint16_t status, uint16_t currentCommand, uint64_t rowCount);
    void returnStatus(int32_t status);
    void returnValue(uint16_t ordinal, const std::string& name, const ColumnInfo& type, const Value& value);

private:
    ByteWriter m_out;
    uint32_t m_tdsVersion;
    std::string m_serverName;
    std::vector<ColumnInfo> m_columns;
};

} // namespace standin::tds
