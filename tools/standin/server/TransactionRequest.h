#pragma once

// Transaction-manager requests: how a TDS 7.2+ client (FreeTDS's ODBC driver with autocommit
// off, SQLEndTran) begins, commits and rolls back a transaction without sending T-SQL.

#include "TdsBytes.h"

namespace standin::tds {

struct TransactionRequest {
    enum Kind : uint16_t {
        GetDtcAddress = 0,
        PropagateTransaction = 1,
        Begin = 5,
        Promote = 6,
        Commit = 7,
        Rollback = 8,
        Save = 9,
    };
    uint16_t kind = 0;
    std::string name;
    // Commit and rollback: start a new transaction straight away.
    bool beginAnother = false;
};

// Throws ProtocolError for a malformed request. Distributed-transaction kinds are returned
// as they are (the caller refuses them).
TransactionRequest parseTransactionRequest(const Bytes& payload);

} // namespace standin::tds
