#include "EngineInstance.h"
#include "EngineSession.h"
#include "Translator.h"
#include "TypeMap.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

// Stored procedures: the system procedures that manage logins, users and roles, sp_executesql
// and the prepared-statement procedures that ODBC drivers use, and the product's own
// start_session / end_session, which the stand-in carries out itself on databases that hold
// the product's session table.

namespace standin {
namespace {

std::string upper(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

std::string lower(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

// "[dbo].[start_session]", "LFDesktop10.dbo.start_session" -> "start_session"
std::string procedureKey(const std::string& name)
{
    std::string s;
    for (char c : name)
        if (c != '[' && c != ']')
            s += c;
    if (auto dot = s.rfind('.'); dot != std::string::npos)
        s = s.substr(dot + 1);
    return lower(s);
}

// Parameter names are matched without their "@" or ":" and without regard to case.
std::string parameterKey(const std::string& name)
{
    std::string s = lower(name);
    while (!s.empty() && (s[0] == '@' || s[0] == ':'))
        s.erase(0, 1);
    return s;
}

std::string textOf(const Value& v)
{
    ColumnInfo t;
    t.type = SqlType::NVarChar;
    Value n = normalizeValue(v, t);
    return std::holds_alternative<std::string>(n) ? std::get<std::string>(n) : std::string();
}

bool isNull(const Value& v)
{
    return std::holds_alternative<std::monostate>(v);
}

// Finds a procedure argument by name, or by position when the caller passed it unnamed.
class Arguments {
public:
    Arguments(std::vector<RpcParameter>& params, std::string procedure)
        : m_params(params), m_procedure(std::move(procedure))
    {
    }

    RpcParameter* find(size_t position, const char* name)
    {
        for (auto& p : m_params)
            if (!p.name.empty() && parameterKey(p.name) == name)
                return &p;
        if (position < m_params.size() && m_params[position].name.empty())
            return &m_params[position];
        // Named in a different spelling, e.g. ":sessionKey" for "sessionkey": fall back on
        // position only when no argument is named.
        if (position < m_params.size() && std::none_of(m_params.begin(), m_params.end(),
                                                       [](const RpcParameter& p) { return !p.name.empty(); }))
            return &m_params[position];
        return nullptr;
    }
    std::string text(size_t position, const char* name, bool required = true)
    {
        RpcParameter* p = find(position, name);
        if (!p || isNull(p->value)) {
            if (required)
                throw SqlError(201, 16,
                               "Procedure or function '" + m_procedure + "' expects parameter '@" +
                                   std::string(name) + "', which was not supplied.");
            return "";
        }
        return textOf(p->value);
    }
    int64_t integer(size_t position, const char* name)
    {
        RpcParameter* p = find(position, name);
        if (!p || isNull(p->value))
            throw SqlError(201, 16,
                           "Procedure or function '" + m_procedure + "' expects parameter '@" +
                               std::string(name) + "', which was not supplied.");
        return std::get<int64_t>(
            normalizeValue(convertValue(p->value, "bigint"), columnInfoForType("bigint")));
    }

private:
    std::vector<RpcParameter>& m_params;
    std::string m_procedure;
};

bool hasSessionTable(sqlite3* db)
{
    SqliteStmt s(
        db, "SELECT 1 FROM main.sqlite_master WHERE type = 'table' AND name = 'ELN_sessions' COLLATE NOCASE");
    return s.step();
}

} // namespace

void EngineSession::executeRpc(const std::string& procedure, std::vector<RpcParameter>& parameters,
                               ResultSink& sink)
{
    int status = 0;
    m_userCache.reset();
    try {
        status = callProcedure(procedure, parameters, sink);
    } catch (const std::exception& ex) {
        const SqlError e = asSqlError(ex);
        m_lastError = e.number();
        ServerMessage m{e.number(), e.state(), e.severity(), e.what(), procedureKey(procedure), 1};
        sink.message(m);
        status = e.number() == 2812 ? 0 : 1;
        if (e.number() == 2812) {
            // SQL Server answers an unknown procedure with the error alone.
            DoneInfo d;
            d.error = true;
            sink.statementDone(d);
            return;
        }
    }
    for (const auto& p : parameters)
        if (p.output)
            sink.returnValue(p.name, p.type, p.value);
    sink.returnStatus(status);
}

void EngineSession::execStatement(const Stmt& s, ResultSink& sink)
{
    std::vector<RpcParameter> params;
    for (const auto& a : s.args) {
        RpcParameter p;
        p.name = a.name;
        p.output = a.output;
        if (!a.isDefault) {
            p.value = evaluate(a.expr);
            auto v = m_variables.find(a.expr);
            p.type = v != m_variables.end() ? v->second.type : columnInfoForType("nvarchar(4000)");
        }
        params.push_back(std::move(p));
    }
    std::string procedure = s.name;
    if (!s.name2.empty() && lower(s.name2) != lower(m_database.name))
        throw unsupported("calling procedures in another database");
    const int status = callProcedure(procedure, params, sink);
    for (size_t i = 0; i < s.args.size(); ++i) {
        if (s.args[i].output && !s.args[i].expr.empty() && s.args[i].expr[0] == '@')
            assign(s.args[i].expr, params[i].value);
    }
    if (!s.returnTarget.empty())
        assign(s.returnTarget, int64_t(status));
    done(sink, 0xE0, false, 0);
}

int EngineSession::callProcedure(const std::string& procedure, std::vector<RpcParameter>& params,
                                 ResultSink& sink)
{
    const std::string key = procedureKey(procedure);
    Arguments args(params, key);
    if (key == "sp_executesql")
        return executeSql(params, sink);
    if (key == "sp_prepare" || key == "sp_prepexec") {
        // handle OUTPUT, params, stmt [, values...]
        const int handle = m_nextHandle++;
        const std::string definitions = params.size() > 1 ? textOf(params[1].value) : "";
        const std::string statement = params.size() > 2 ? textOf(params[2].value) : "";
        m_prepared[handle] = {statement, definitions};
        if (!params.empty())
            params[0].value = int64_t(handle);
        if (key == "sp_prepare")
            return 0;
        std::vector<RpcParameter> call;
        call.push_back(RpcParameter{"@stmt", columnInfoForType("nvarchar(max)"), statement, false});
        call.push_back(RpcParameter{"@params", columnInfoForType("nvarchar(max)"), definitions, false});
        call.insert(call.end(), params.begin() + std::min<size_t>(3, params.size()), params.end());
        const int status = executeSql(call, sink);
        std::copy(call.begin() + 2, call.end(), params.begin() + std::min<size_t>(3, params.size()));
        return status;
    }
    if (key == "sp_execute") {
        const int handle = static_cast<int>(args.integer(0, "handle"));
        auto it = m_prepared.find(handle);
        if (it == m_prepared.end())
            throw SqlError(8179, 16,
                           "Could not find prepared statement with handle " + std::to_string(handle) + ".");
        std::vector<RpcParameter> call;
        call.push_back(RpcParameter{"@stmt", columnInfoForType("nvarchar(max)"), it->second.first, false});
        call.push_back(RpcParameter{"@params", columnInfoForType("nvarchar(max)"), it->second.second, false});
        call.insert(call.end(), params.begin() + 1, params.end());
        const int status = executeSql(call, sink);
        std::copy(call.begin() + 2, call.end(), params.begin() + 1);
        return status;
    }
    if (key == "sp_unprepare") {
        m_prepared.erase(static_cast<int>(args.integer(0, "handle")));
        return 0;
    }
    if (key == "sp_grantlogin") {
        const std::string login = args.text(0, "loginame");
        auto existing = m_instance.catalog().login(login);
        if (existing) {
            requireServerRole("securityadmin");
            m_instance.catalog().setLoginDisabled(existing->id, false);
        } else {
            createLogin(login, true, nullptr, "");
        }
        return 0;
    }
    if (key == "sp_revokelogin") {
        dropLogin(args.text(0, "loginame"), true);
        return 0;
    }
    if (key == "sp_denylogin") {
        requireServerRole("securityadmin");
        const std::string name = args.text(0, "loginame");
        auto login = m_instance.catalog().login(name);
        if (!login)
            login = m_instance.catalog().createLogin(name, name.rfind("BUILTIN\\", 0) == 0 ? 'G' : 'U',
                                                     nullptr, "");
        m_instance.catalog().setLoginDisabled(login->id, true);
        return 0;
    }
    if (key == "sp_addlogin") {
        std::string password = args.text(1, "passwd", false);
        createLogin(args.text(0, "loginame"), false, &password, args.text(2, "defdb", false));
        return 0;
    }
    if (key == "sp_droplogin") {
        dropLogin(args.text(0, "loginame"), false);
        return 0;
    }
    if (key == "sp_password") {
        const std::string newPassword = args.text(1, "new", false);
        RpcParameter* who = args.find(2, "loginame");
        const std::string name = who && !isNull(who->value) ? textOf(who->value) : m_login.name;
        auto login = m_instance.catalog().login(name);
        if (!login || login->type != 'S')
            throw SqlError(15151, 16,
                           "Cannot alter the login '" + name +
                               "', because it does not exist or you do not have permission.");
        if (login->id != m_login.id)
            requireServerRole("securityadmin");
        m_instance.catalog().setPassword(login->id, newPassword);
        return 0;
    }
    if (key == "sp_defaultdb") {
        const std::string name = args.text(0, "loginame");
        auto login = m_instance.catalog().login(name);
        if (!login)
            throw SqlError(15151, 16,
                           "Cannot alter the login '" + name +
                               "', because it does not exist or you do not have permission.");
        if (login->id != m_login.id)
            requireServerRole("securityadmin");
        m_instance.catalog().setDefaultDatabase(login->id, args.text(1, "defdb"));
        return 0;
    }
    if (key == "sp_grantdbaccess") {
        const std::string login = args.text(0, "loginame");
        std::string user = args.text(1, "name_in_db", false);
        createUser(user.empty() ? login : user, login, false);
        return 0;
    }
    if (key == "sp_adduser") {
        const std::string login = args.text(0, "loginame");
        std::string user = args.text(1, "name_in_db", false);
        if (user.empty())
            user = login;
        createUser(user, login, false);
        const std::string role = args.text(2, "grpname", false);
        if (!role.empty())
            setRoleMember(role, user, true);
        return 0;
    }
    if (key == "sp_revokedbaccess" || key == "sp_dropuser") {
        dropUser(args.text(0, "name_in_db"));
        return 0;
    }
    if (key == "sp_addrole") {
        createRole(args.text(0, "rolename"));
        return 0;
    }
    if (key == "sp_droprole") {
        dropRole(args.text(0, "rolename"));
        return 0;
    }
    if (key == "sp_addrolemember" || key == "sp_droprolemember") {
        setRoleMember(args.text(0, "rolename"), args.text(1, "membername"), key == "sp_addrolemember");
        return 0;
    }
    if (key == "sp_addsrvrolemember" || key == "sp_dropsrvrolemember") {
        setServerRoleMember(args.text(1, "rolename"), args.text(0, "loginame"), key == "sp_addsrvrolemember");
        return 0;
    }
    if (key == "sp_databases") {
        ColumnInfo name = columnInfoForType("sysname"), size = columnInfoForType("int"),
                   remarks = columnInfoForType("varchar(254)");
        name.name = "DATABASE_NAME";
        size.name = "DATABASE_SIZE";
        remarks.name = "REMARKS";
        sink.columns({name, size, remarks});
        uint64_t count = 0;
        for (const auto& db : m_instance.catalog().databases()) {
            if (!databaseUserFor(m_instance, m_login, m_groups, db))
                continue;
            uint64_t bytes = 0;
            for (const auto& f : db.files) {
                std::error_code ec;
                const auto n = std::filesystem::file_size(f.physicalName, ec);
                bytes += ec ? 0 : n;
            }
            sink.row({db.name, static_cast<int64_t>(bytes / 1024), Value()});
            ++count;
        }
        done(sink, 0xC1, true, count);
        return 0;
    }
    if (key == "sp_helpfile") {
        // The current database's files, as SQL Server 2000's tools read them.
        auto column = [](const char* name, const char* type) {
            ColumnInfo c = columnInfoForType(type);
            c.name = name;
            return c;
        };
        sink.columns({column("name", "sysname"), column("fileid", "smallint"),
                      column("filename", "nchar(260)"), column("filegroup", "sysname"),
                      column("size", "nvarchar(18)"), column("maxsize", "nvarchar(18)"),
                      column("growth", "nvarchar(18)"), column("usage", "varchar(9)")});
        auto db = m_instance.catalog().database(m_database.id);
        const std::string only = args.text(0, "filename", false);
        uint64_t count = 0;
        for (const auto& f : db ? db->files : std::vector<FileRecord>{}) {
            if (!only.empty() && upper(only) != upper(f.name))
                continue;
            std::error_code ec;
            const auto bytes = std::filesystem::file_size(f.physicalName, ec);
            sink.row({f.name, int64_t(f.fileId), f.physicalName,
                      f.type == 0 ? Value(std::string("PRIMARY")) : Value(),
                      std::to_string((ec ? 0 : bytes) / 1024) + " KB", std::string("Unlimited"),
                      std::string("10%"), std::string(f.type == 0 ? "data only" : "log only")});
            ++count;
        }
        done(sink, 0xC1, true, count);
        return 0;
    }
    if (key == "start_session" && hasSessionTable(m_db.get())) {
        startSession(params);
        return 0;
    }
    if (key == "end_session" && hasSessionTable(m_db.get())) {
        endSession(params);
        return 0;
    }
    std::string definition, body;
    if (findProcedure(key, definition, body)) {
        if (m_ownershipChain == 0) {
            Stmt call;
            call.access.push_back({"EXECUTE", "", key});
            checkAccess(call);
        }
        return runProcedure(key, definition, body, params, sink);
    }
    throw SqlError(2812, 16, "Could not find stored procedure '" + procedure + "'.");
}

bool EngineSession::findProcedure(const std::string& name, std::string& parameters, std::string& body)
{
    SqliteStmt table(m_db.get(), "SELECT 1 FROM main.sqlite_master WHERE name = 'lf_procedures'");
    if (!table.step())
        return false;
    SqliteStmt s(m_db.get(), "SELECT parameters, body FROM main.lf_procedures WHERE name = ?");
    s.bind(1, name);
    if (!s.step())
        return false;
    parameters = s.text(0);
    body = s.text(1);
    return true;
}

void EngineSession::createProcedure(const Stmt& s)
{
    requireDbRole("db_ddladmin");
    m_db.exec("CREATE TABLE IF NOT EXISTS main.lf_procedures (name nvarchar(128) COLLATE NOCASE PRIMARY KEY, "
              "parameters nvarchar(-1), body nvarchar(-1), create_date datetime, modify_date datetime)");
    std::string existingParams, existingBody;
    const bool exists = findProcedure(s.name, existingParams, existingBody);
    if (exists && !s.flag)
        throw SqlError(2714, 16, "There is already an object named '" + s.name + "' in the database.");
    if (!exists && s.flag)
        throw SqlError(208, 16, "Invalid object name '" + s.name + "'.");
    const std::string now = currentDateTime();
    SqliteStmt ins(m_db.get(), "INSERT OR REPLACE INTO main.lf_procedures VALUES (?, ?, ?, ?, ?)");
    ins.bind(1, s.name).bind(2, s.name2).bind(3, s.body).bind(4, now).bind(5, now).step();
}

void EngineSession::dropProcedures(const Stmt& s)
{
    requireDbRole("db_ddladmin");
    for (const auto& name : s.targets) {
        std::string p, b;
        if (!findProcedure(name, p, b)) {
            if (s.flag)
                continue;
            throw SqlError(3701, 11,
                           "Cannot drop the procedure '" + name +
                               "', because it does not exist or you do not have permission.");
        }
        SqliteStmt d(m_db.get(), "DELETE FROM main.lf_procedures WHERE name = ?");
        d.bind(1, name).step();
    }
}

int EngineSession::runProcedure(const std::string& name, const std::string& definition,
                                const std::string& body, std::vector<RpcParameter>& params, ResultSink& sink)
{
    const std::vector<ParameterDefinition> defs = parseParameterDefinitions(definition);
    auto isDefinedName = [&](const std::string& n) {
        return std::any_of(defs.begin(), defs.end(), [&](const ParameterDefinition& d) {
            return parameterKey(d.name) == parameterKey(n);
        });
    };
    // The procedure runs in a scope of its own: its parameters are its only variables.
    std::map<std::string, Variable> outer = std::move(m_variables);
    m_variables.clear();
    std::vector<RpcParameter*> bound(defs.size(), nullptr);
    try {
        for (size_t i = 0; i < defs.size(); ++i) {
            RpcParameter* arg = nullptr;
            for (auto& p : params)
                if (!p.name.empty() && parameterKey(p.name) == parameterKey(defs[i].name))
                    arg = &p;
            // Drivers may pass arguments unnamed or under names of their own (@P1...): those
            // count by position.
            if (!arg && i < params.size() && (params[i].name.empty() || !isDefinedName(params[i].name)))
                arg = &params[i];
            bound[i] = arg;
            Variable v{defs[i].type, std::monostate{}};
            if (arg && !(arg->output && std::holds_alternative<std::monostate>(arg->value) &&
                         !defs[i].defaultExpr.empty()))
                v.value = convertValue(arg->value, typeName(defs[i].type));
            else if (!defs[i].defaultExpr.empty())
                v.value = convertValue(evaluate(defs[i].defaultExpr), typeName(defs[i].type));
            else if (!arg)
                throw SqlError(201, 16,
                               "Procedure or function '" + name + "' expects parameter '" + defs[i].name +
                                   "', which was not supplied.");
            m_variables[defs[i].name] = v;
        }
        std::map<std::string, ColumnInfo> types;
        for (const auto& d : defs)
            types[d.name] = d.type;
        std::vector<Stmt> statements = translateBatch(body, types);
        m_returnStatus.reset();
        ++m_ownershipChain;
        try {
            runStatements(statements, sink, name);
        } catch (...) {
            --m_ownershipChain;
            throw;
        }
        --m_ownershipChain;
    } catch (...) {
        m_variables = std::move(outer);
        throw;
    }
    for (size_t i = 0; i < defs.size(); ++i) {
        if (bound[i] && bound[i]->output && defs[i].output)
            bound[i]->value = m_variables[defs[i].name].value;
    }
    m_variables = std::move(outer);
    const int status = static_cast<int>(m_returnStatus.value_or(0));
    m_returnStatus.reset();
    return status;
}

int EngineSession::executeSql(std::vector<RpcParameter>& params, ResultSink& sink)
{
    // The statement and its parameter list are bound by position whatever the client calls
    // them: drivers name them as they like ("@stmt", "@statement", "@P0"...).
    if (params.empty() || isNull(params[0].value))
        throw SqlError(
            201, 16,
            "Procedure or function 'sp_executesql' expects parameter '@stmt', which was not supplied.");
    const std::string statement = textOf(params[0].value);
    RpcParameter* definitionArg = params.size() > 1 ? &params[1] : nullptr;
    const std::string definitionText =
        definitionArg && !isNull(definitionArg->value) ? textOf(definitionArg->value) : "";
    const std::vector<ParameterDefinition> definitions = parseParameterDefinitions(definitionText);

    // The statement sees only its parameters, as a separate scope; the caller's variables
    // come back afterwards.
    std::map<std::string, Variable> outer = std::move(m_variables);
    m_variables.clear();
    const size_t firstValue = definitionArg ? 2 : 1;
    std::vector<RpcParameter*> bound(definitions.size(), nullptr);
    for (size_t i = 0; i < definitions.size(); ++i) {
        RpcParameter* value = nullptr;
        for (size_t k = firstValue; k < params.size(); ++k)
            if (!params[k].name.empty() && parameterKey(params[k].name) == parameterKey(definitions[i].name))
                value = &params[k];
        if (!value && firstValue + i < params.size() && params[firstValue + i].name.empty())
            value = &params[firstValue + i];
        bound[i] = value;
        Variable v{definitions[i].type, std::monostate{}};
        if (value)
            v.value = convertValue(value->value, typeName(definitions[i].type));
        else if (!definitions[i].output) {
            m_variables = std::move(outer);
            throw SqlError(8178, 16,
                           "The parameterized query '(" + definitionText + ")' expects the parameter '" +
                               definitions[i].name + "', which was not supplied.");
        }
        m_variables[definitions[i].name] = v;
    }
    try {
        std::vector<Stmt> statements = translateBatch(statement, variableTypes());
        runStatements(statements, sink, "");
    } catch (...) {
        m_variables = std::move(outer);
        throw;
    }
    for (size_t i = 0; i < definitions.size(); ++i) {
        if (definitions[i].output && bound[i]) {
            bound[i]->value = m_variables[definitions[i].name].value;
            if (bound[i]->type.name.empty())
                bound[i]->type = definitions[i].type;
        }
    }
    m_variables = std::move(outer);
    return 0;
}

void EngineSession::startSession(std::vector<RpcParameter>& params)
{
    Arguments args(params, "start_session");
    RpcParameter* key = args.find(0, "sessionkey");
    const int64_t owner = args.integer(1, "ownerkey");
    RpcParameter* biasArg = args.find(2, "clientbias");
    const Value bias = biasArg ? convertValue(biasArg->value, "int") : Value();
    // The key is taken as the next number whether or not the table numbers its rows itself.
    SqliteStmt insert(m_db.get(),
                      "INSERT INTO main.ELN_sessions (session_key, owner_key, client_bias, started) "
                      "VALUES ((SELECT ifnull(max(session_key), 0) + 1 FROM main.ELN_sessions), ?, ?, "
                      "lf_getdate())");
    insert.bind(1, owner).bind(2, bias).step();
    SqliteStmt read(m_db.get(),
                    "SELECT session_key FROM main.ELN_sessions WHERE rowid = last_insert_rowid()");
    read.step();
    if (key) {
        key->value = read.integer(0);
        key->type = columnInfoForType("int");
    }
}

void EngineSession::endSession(std::vector<RpcParameter>& params)
{
    Arguments args(params, "end_session");
    const int64_t key = args.integer(0, "sessionkey");
    SqliteStmt update(m_db.get(), "UPDATE main.ELN_sessions SET ended = lf_getdate() WHERE session_key = ?");
    update.bind(1, key).step();
}

} // namespace standin
