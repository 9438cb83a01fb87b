#pragma once

#include <string>

namespace sqlserver {

// One message of the server (an error or an informational text such as PRINT output or a
// backup's "10 percent processed."), with what the ODBC driver reports of it.
struct ServerMessage {
    std::string sqlState; // "01000" for informational texts
    long number = 0;      // the server's message number (native error)
    int severity = 0;     // level: 0..10 informational, 11 and above errors
    int state = 0;        // 0 when the driver does not report it
    int line = 0;
    std::string server;
    std::string procedure;
    std::string text; // the message without the driver's "[FreeTDS][SQL Server]" prefixes
};

} // namespace sqlserver
