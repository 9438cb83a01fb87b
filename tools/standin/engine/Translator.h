#pragma once

#include "Lexer.h"
#include "Statement.h"

#include <map>
#include <string>
#include <vector>

namespace standin {

// Turns a T-SQL batch into statements for the session: a recursive-descent parser over the
// tokens that writes SQLite text for queries as it goes (bracketed names, N'' literals, TOP,
// CONVERT/CAST, "+" on strings, IDENTITY, three-part names, system views) and recognises
// the statements that the session carries out itself. Statement boundaries follow T-SQL: a
// semicolon or simply the keyword that starts the next statement.
//
// variableTypes holds variables declared before the batch (sp_executesql parameters).
// Throws SqlError (102/156 for syntax) before anything runs: like SQL Server, a batch that
// does not compile runs no statement.
std::vector<Stmt> translateBatch(const std::string& sql,
                                 const std::map<std::string, ColumnInfo>& variableTypes = {});

// Parses a parameter definition list of sp_executesql ("@a int, @b nvarchar(10) OUTPUT").
// Also the parameter list of CREATE PROCEDURE, with defaults ("@n int = 0 OUTPUT").
struct ParameterDefinition {
    std::string name; // lower-case, with "@"
    ColumnInfo type;
    bool output = false;
    std::string defaultExpr; // SQLite expression; empty when the parameter has no default
};
std::vector<ParameterDefinition> parseParameterDefinitions(const std::string& text);

} // namespace standin
