#pragma once

#include <string>

// Names and paths of the service files. Names read from a service or server configuration file
// may be Windows paths whatever the platform, so both '\\' and '/' count as separators.
namespace engine {

// The longest file name, and the longest service name, the wizard accepts (in bytes).
constexpr std::size_t kMaxNameLength = 255;

bool HasPathSeparator(const std::string& path);
// The text after the last separator; the whole text when there is none.
std::string FileNameOf(const std::string& path);
// The named file in the folder of `path`, joined with the separator the path itself uses; a name
// that holds its own path is returned as it stands.
std::string Beside(const std::string& path, const std::string& name);
// Paths compared as text, ignoring the case of ASCII letters.
bool SamePathText(const std::string& a, const std::string& b);

// A local copy's name that tells services from several machines apart: the name cut before its
// extension (ignoring case; the whole name when it has none), "_", the machine and the extension.
// An empty machine leaves the name as it is.
std::string WithMachineSuffix(const std::string& name, const std::string& extension,
                              const std::string& machine);

// Raises 0x80040201 when the last part of the path cannot be a file name on either platform:
// empty, ".", "..", longer than kMaxNameLength, not UTF-8, or holding a control character or
// one of < > : " | ? *. `what` names the file in the message, e.g. "server configuration file".
void CheckFileName(const std::string& path, const std::string& what, const std::string& source);

// Raises 0x80040201 when a service name is empty, too long, not UTF-8 or holds a control
// character: the name goes into the service list, which the client must be able to read back.
void CheckServiceName(const std::string& name, const std::string& source);

// A name as an error message quotes it: long names are shortened so the message stays readable.
std::string ShortenedForMessage(const std::string& name);

} // namespace engine
