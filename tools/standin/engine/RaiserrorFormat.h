#pragma once

// RAISERROR's message text: the printf-like markers (%d %i %u %s %x %X %o, with flags, width
// and precision, '*' taken from the arguments) filled from the statement's arguments.

#include "StandinEngine.h"

#include <string>
#include <vector>

namespace standin {

// Throws SqlError 2786 when an argument does not suit its marker. A marker without an argument,
// or with a NULL one, reads "(null)". The result is cut to 2,047 characters, as SQL Server cuts
// its messages.
std::string formatRaiserror(const std::string& format, const std::vector<Value>& arguments);

} // namespace standin
