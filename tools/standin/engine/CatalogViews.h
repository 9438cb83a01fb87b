#pragma once

#include <string>

namespace standin {

// The SQLite query behind a system view (sys.databases, master..sysdatabases,
// INFORMATION_SCHEMA.TABLES...), or "" when the name is not one the stand-in offers.
// databaseSchema is the schema (or placeholder) of the database whose per-database views
// are meant; databaseName is "" for the current database.
std::string systemViewSql(const std::string& schemaUpper, const std::string& nameUpper,
                          const std::string& databaseSchema, const std::string& databaseName);

} // namespace standin
