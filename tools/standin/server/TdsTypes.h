#pragma once

// How the stand-in's column types travel: TYPE_INFO in COLMETADATA and RETURNVALUE, values in
// ROW and RETURNVALUE, and the reverse for the parameters of an RPC request.

#include "StandinEngine.h"
#include "TdsBytes.h"

#include <stdexcept>

namespace standin::tds {

// A parameter type the stand-in does not take (sql_variant, UDT, table-valued). Unlike a
// ProtocolError the request is answered with an error and the connection stays open.
class UnsupportedType : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The collation every character column and ENVCHANGE carries: SQL_Latin1_General_CP1_CI_AS.
extern const uint8_t kCollation[5];

// Clamps a column to what the wire can declare: (n)varchar and varbinary longer than a page,
// or of unknown length, are sent as (max).
ColumnInfo wireColumn(const ColumnInfo& column);

// TYPE_INFO for a column. Before TDS 7.2 there is no (max): those go as text, ntext, image,
// which in COLMETADATA carry a table name (withTableName).
void writeTypeInfo(ByteWriter& w, const ColumnInfo& column, uint32_t tdsVersion, bool withTableName);
// One value of that column, converted from whatever variant alternative the engine used.
// Throws std::invalid_argument for a value that cannot be shown in the column's type.
void writeValue(ByteWriter& w, const ColumnInfo& column, const Value& value, uint32_t tdsVersion);

// A parameter's TYPE_INFO as the client sent it.
struct WireType {
    uint8_t type = 0;
    uint32_t maxLength = 0; // bytes, from TYPE_INFO (0xFFFF for PLP)
    uint8_t precision = 0;
    uint8_t scale = 0;
    bool plp = false;
};

WireType readTypeInfo(ByteReader& r);
Value readValue(ByteReader& r, const WireType& type);
// The engine's view of a parameter type.
ColumnInfo columnInfoOf(const WireType& type);

// "YYYY-MM-DD hh:mm:ss.fff" <-> days and time as SQL Server's types count them.
std::string formatDateTime(int64_t daysSince1900, int64_t millisOfDay);
// Accepts "YYYY-MM-DD", "YYYY-MM-DD hh:mm[:ss[.fff]]" (or a 'T' between). Throws
// std::invalid_argument otherwise.
void parseDateTime(const std::string& text, int64_t& daysSince1900, int64_t& millisOfDay);

// "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX" <-> the 16 bytes SQL Server sends (the first three
// groups little-endian). Throws std::invalid_argument for anything else.
Bytes guidToBytes(const std::string& text);
std::string guidFromBytes(const uint8_t* bytes);

} // namespace standin::tds
