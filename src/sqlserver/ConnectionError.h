#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "LfError.h"
#include "ServerMessage.h"

namespace sqlserver {

// Error numbers the wizard's callers tell apart.
constexpr uint32_t kServerNotFound = 0x80040000u;   // the server does not exist or cannot be reached
constexpr uint32_t kLoginModeRefused = 0x80044814u; // SQL Server message 18452: login mode not allowed
constexpr uint32_t kClientFailure = 0x80004005u;    // the client failed without a server message
constexpr uint32_t kBackupAborted = 0x80040C84u;    // SQL Server message 3204: a backup or restore stopped
// SQL Server's closing message of every failed BACKUP or RESTORE: "... is terminating abnormally."
constexpr long kBackupTerminating = 3013;

// A server error number as the wizard raises it: the object-error base plus the server's
// message number (18452 gives 0x80044814); 0x80040000 when the server could not be reached;
// 0x80004005 for a failure of the client that carries no server number.
uint32_t errorNumberFor(const std::string& sqlState, long nativeError);

// The error for the diagnostics of a failed call: the first record that is an error (not an
// informational 01xxx one) decides the number; the description is its message text, with any
// other error texts appended and a backup's or restore's closing 3013 last.
LfError errorFromDiagnostics(const std::vector<ServerMessage>& diagnostics, const std::string& context = {});

// 0x80040000 for a server that cannot be reached, naming it.
LfError serverNotFound(const std::string& serverName, const std::string& detail);

// The message text without the driver's "[vendor][driver]" prefixes.
std::string stripDriverPrefixes(const std::string& text);

// An informational record (SQLSTATE class 01) rather than an error.
bool isInformational(const ServerMessage& m);

} // namespace sqlserver
