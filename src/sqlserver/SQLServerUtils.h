#pragma once

#include <string>

#include "Registry.h"

// The one place that knows how SQL Server and MSDE instances are found and named on this
// machine.
namespace SQLServerUtils {

constexpr const char* kSqlServerKey = "SOFTWARE\\Microsoft\\Microsoft SQL Server";

// The registry's InstalledInstances multi-string: names separated by NULs, "" when unreadable.
std::string GetInstalledInstances();
// The InstalledInstances value can be read.
bool InstalledInstancesExist();
// The key opens for reading.
bool RegistryKeyExists(reg::Hive hive, const std::string& keyPath);
// This computer's name; a single space when the system cannot tell.
std::string GetLocalComputerName();

// String tokenizer with one shared remainder: a non-empty source replaces the remainder;
// leading delimiters are skipped, so an empty token is never returned; "" when exhausted.
std::string NextToken(std::string& source, std::string& delimiters);

// "(local)" for the default instance MSSQLSERVER (exact case), else computer\instance.
std::string ServerNameForInstance(const std::string& instance, const std::string& computerName);

}  // namespace SQLServerUtils
