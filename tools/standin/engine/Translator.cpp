#include "Translator.h"

#include "SqlError.h"
#include "TsqlParser.h"

namespace standin {

std::vector<Stmt> translateBatch(const std::string& sql,
                                 const std::map<std::string, ColumnInfo>& variableTypes)
{
    tsql::Parser p(sql, variableTypes);
    return p.parseBatch();
}

std::vector<ParameterDefinition> parseParameterDefinitions(const std::string& text)
{
    tsql::Parser p(text, {});
    auto defs = p.parameterList();
    if (!p.atEnd())
        throw SqlError(102, 15, "Incorrect syntax near '" + p.peek().text + "'.");
    return defs;
}

} // namespace standin
