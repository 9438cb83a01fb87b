#include "OdbcConnection.h"

// Values to and from statements: the columns and rows of a result, and literals built into
// statement texts.
#include <utility>

#include "ConnectionError.h"

namespace sqlserver {
namespace {

std::string getText(SQLHSTMT s, SQLUSMALLINT col, SQLSMALLINT cType, bool& isNull)
{
    std::string out;
    char buf[8192];
    const size_t terminator = cType == SQL_C_CHAR ? 1 : 0;
    isNull = false;
    for (;;) {
        SQLLEN ind = 0;
        const SQLRETURN rc = SQLGetData(s, col, cType, buf, sizeof buf, &ind);
        if (rc == SQL_NO_DATA)
            break;
        if (!SQL_SUCCEEDED(rc))
            throwDiagnostics(SQL_HANDLE_STMT, s);
        if (ind == SQL_NULL_DATA) {
            isNull = true;
            return {};
        }
        const size_t room = sizeof buf - terminator;
        const size_t got =
            (ind == SQL_NO_TOTAL || static_cast<size_t>(ind) > room) ? room : static_cast<size_t>(ind);
        out.append(buf, got);
        if (rc == SQL_SUCCESS)
            break;
    }
    return out;
}

} // namespace

std::string quoteIdentifier(const std::string& name)
{
    std::string out = "[";
    for (char c : name) {
        out += c;
        if (c == ']')
            out += ']';
    }
    return out + "]";
}

std::string quoteText(const std::string& text)
{
    std::string out = "N'";
    for (char c : text) {
        out += c;
        if (c == '\'')
            out += '\'';
    }
    return out + "'";
}

std::string sqlLiteral(const Value& v)
{
    if (v.isNull())
        return "NULL";
    if (v.isInt() || v.isDouble())
        return v.toText();
    return quoteText(v.toText());
}

void describeColumns(SQLHSTMT s, std::vector<std::string>& names, std::vector<SQLSMALLINT>& types)
{
    SQLSMALLINT cols = 0;
    SQLNumResultCols(s, &cols);
    names.clear();
    types.clear();
    for (SQLUSMALLINT i = 1; i <= static_cast<SQLUSMALLINT>(cols); ++i) {
        SQLCHAR name[512] = {0};
        SQLSMALLINT nameLen = 0, type = 0, digits = 0, nullable = 0;
        SQLULEN size = 0;
        SQLDescribeCol(s, i, name, sizeof name, &nameLen, &type, &size, &digits, &nullable);
        names.emplace_back(reinterpret_cast<char*>(name));
        types.push_back(type);
    }
}

std::vector<Value> readRow(SQLHSTMT s, const std::vector<SQLSMALLINT>& types)
{
    std::vector<Value> row;
    row.reserve(types.size());
    for (size_t i = 0; i < types.size(); ++i) {
        const auto col = static_cast<SQLUSMALLINT>(i + 1);
        SQLLEN ind = 0;
        switch (types[i]) {
        case SQL_BIT:
        case SQL_TINYINT:
        case SQL_SMALLINT:
        case SQL_INTEGER:
        case SQL_BIGINT: {
            SQLBIGINT v = 0;
            if (!SQL_SUCCEEDED(SQLGetData(s, col, SQL_C_SBIGINT, &v, 0, &ind)))
                throwDiagnostics(SQL_HANDLE_STMT, s);
            row.push_back(ind == SQL_NULL_DATA ? Value() : Value(static_cast<int64_t>(v)));
            break;
        }
        case SQL_REAL:
        case SQL_FLOAT:
        case SQL_DOUBLE: {
            double v = 0;
            if (!SQL_SUCCEEDED(SQLGetData(s, col, SQL_C_DOUBLE, &v, 0, &ind)))
                throwDiagnostics(SQL_HANDLE_STMT, s);
            row.push_back(ind == SQL_NULL_DATA ? Value() : Value(v));
            break;
        }
        case SQL_BINARY:
        case SQL_VARBINARY:
        case SQL_LONGVARBINARY: {
            bool isNull = false;
            std::string bytes = getText(s, col, SQL_C_BINARY, isNull);
            row.push_back(isNull ? Value() : Value(std::move(bytes)));
            break;
        }
        default: {
            bool isNull = false;
            std::string text = getText(s, col, SQL_C_CHAR, isNull);
            row.push_back(isNull ? Value() : Value(std::move(text)));
            break;
        }
        }
    }
    return row;
}

} // namespace sqlserver
