#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "OdbcConnection.h"

namespace osql {

// A server message as osql writes it: errors under a "Msg N, Level L, State S, Server X,
// [Procedure P, ]Line N" heading, informational texts as they stand.
std::string formatMessage(const sqlserver::ServerMessage& m, bool isError, const std::string& serverName);

// A result set as a plain table: a blank-led column per field, as wide as its widest value,
// a line of dashes under the names, then "(N rows affected)".
std::string formatTable(const std::vector<std::string>& names,
                        const std::vector<std::vector<sqlserver::Value>>& rows);

// "(1 row affected)" / "(N rows affected)".
std::string rowsAffected(long count);

// Writes what one batch produces, in arrival order.
class OutputWriter : public sqlserver::BatchVisitor {
public:
    OutputWriter(std::ostream& out, std::string serverName) : m_out(out), m_server(std::move(serverName)) {}

    void columns(const std::vector<std::string>& names) override;
    void row(const std::vector<sqlserver::Value>& values) override;
    void rowCount(long count) override;
    void message(const sqlserver::ServerMessage& m, bool isError) override;

private:
    std::ostream& m_out;
    std::string m_server;
    bool m_inResult = false;
    std::vector<std::string> m_names;
    std::vector<std::vector<sqlserver::Value>> m_rows;
};

} // namespace osql
