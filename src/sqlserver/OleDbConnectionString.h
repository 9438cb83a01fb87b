#pragma once

#include <optional>
#include <string>

namespace sqlserver {

// What the two OLE DB connection strings of the product say (see SQLServerUtils'
// BuildTrustedConnectionString and BuildLoginConnectionString).
struct OleDbConnectionInfo {
    std::string server;   // Data Source
    std::string database; // Initial Catalog
    // Integrated Security=SSPI: both forms carry it, so both authenticate with the Windows
    // identity; the login form's User ID and Password ride along unused, as with SQLOLEDB.
    bool integrated = true;
    std::string user;     // User ID (login form only)
    std::string password; // Password (login form only)
};

// Reads one of the two forms; empty when the text is neither (another provider, other keys,
// other order). Values run to the next ";" as the product writes them, unquoted.
std::optional<OleDbConnectionInfo> parseOleDbConnectionString(const std::string& text);

} // namespace sqlserver
