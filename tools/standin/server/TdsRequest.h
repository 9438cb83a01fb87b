#pragma once

// The two request kinds a logged-in client sends: a SQL batch (text) and RPC (procedure
// calls with typed parameters).

#include "StandinEngine.h"
#include "TdsBytes.h"

#include <string>
#include <vector>

namespace standin::tds {

struct RpcCall {
    std::string procedure; // by name, or the well-known name of a procedure id
    uint16_t options = 0;
    std::vector<RpcParameter> parameters;
};

// The batch's text, after the ALL_HEADERS block that TDS 7.2 and later put in front.
std::string parseSqlBatch(const Bytes& payload, uint32_t tdsVersion);

// Every call in an RPC request (clients may send several in one). Throws ProtocolError for a
// malformed request and UnsupportedType for a parameter type the stand-in does not take.
std::vector<RpcCall> parseRpc(const Bytes& payload, uint32_t tdsVersion);

// The procedures that an RPC may name by number instead of by name (sp_executesql is 10).
std::string procedureNameOfId(uint16_t id);

} // namespace standin::tds
