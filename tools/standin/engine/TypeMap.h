#pragma once

#include "StandinEngine.h"

#include <optional>
#include <string>

namespace standin {

// The SQL Server type a declared type text names ("nvarchar(50)", "int", "INTEGER" for an
// identity column that SQLite needs spelt so). Unknown texts report nvarchar(4000).
ColumnInfo columnInfoForType(const std::string& declaredType);

// True for the character types, whose columns compare without regard to case like the
// default SQL Server collation.
bool isCharacterType(const ColumnInfo& info);

// Converts an SQLite-side value to what a column of the given type carries on the wire.
Value normalizeValue(const Value& v, const ColumnInfo& type);

// "nvarchar(255)", "int": the type as T-SQL spells it, for messages.
std::string typeName(const ColumnInfo& info);

} // namespace standin
