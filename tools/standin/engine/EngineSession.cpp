#include "EngineSession.h"

#include "EngineInstance.h"
#include "RaiserrorFormat.h"
#include "Translator.h"
#include "TypeMap.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdint>
#include <thread>

namespace standin {
namespace {

std::string upper(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

bool sameName(const std::string& a, const std::string& b)
{
    return upper(a) == upper(b);
}

ColumnInfo typeOfValue(const Value& v)
{
    ColumnInfo c;
    if (auto i = std::get_if<int64_t>(&v)) {
        c.type = (*i > INT32_MAX || *i < INT32_MIN) ? SqlType::BigInt : SqlType::Int;
        c.maxLength = c.type == SqlType::Int ? 4 : 8;
    } else if (std::holds_alternative<double>(v)) {
        c.type = SqlType::Float;
        c.maxLength = 8;
    } else if (auto b = std::get_if<std::vector<uint8_t>>(&v)) {
        c.type = SqlType::VarBinary;
        c.maxLength = b->size() > 8000 ? -1 : 8000;
    } else if (auto s = std::get_if<std::string>(&v)) {
        c.type = SqlType::NVarChar;
        c.maxLength = s->size() > 4000 ? -1 : 4000;
    } else {
        c.type = SqlType::Int; // an untyped NULL, as SQL Server types "SELECT NULL"
        c.maxLength = 4;
    }
    return c;
}

} // namespace

EngineSession::EngineSession(EngineInstance& instance, LoginRecord login, std::vector<LoginRecord> groups,
                             const DatabaseRecord& database, std::string hostName, std::string appName)
    : m_instance(instance), m_login(std::move(login)), m_groups(std::move(groups)),
      m_hostName(std::move(hostName)), m_appName(std::move(appName)), m_spid(instance.nextSpid())
{
    openDatabase(database);
}

EngineSession::~EngineSession()
{
    m_db.close();
    if (m_database.id)
        m_instance.leaveDatabase(m_database.id);
}

void EngineSession::openDatabase(const DatabaseRecord& db)
{
    if (db.files.empty())
        throw SqlError(945, 14, "Database '" + db.name + "' cannot be opened due to inaccessible files.");
    SqliteDb conn(db.files.front().physicalName, false);
    registerFunctions(conn.get(), this);
    // Database files made before procedures were kept lack their table.
    conn.exec("CREATE TABLE IF NOT EXISTS main.lf_procedures (name nvarchar(128) COLLATE NOCASE PRIMARY KEY, "
              "parameters nvarchar(-1), body nvarchar(-1), create_date datetime, modify_date datetime)");
    if (db.id != 1) {
        SqliteStmt attach(conn.get(), "ATTACH DATABASE ? AS master");
        attach.bind(1, m_instance.catalog().masterPath()).step();
    }
    if (m_inTransaction) {
        m_inTransaction = false; // switching databases ends the SQLite transaction with the connection
        m_savepoints.clear();
    }
    m_instance.enterDatabase(db.id);
    if (m_database.id)
        m_instance.leaveDatabase(m_database.id);
    m_db = std::move(conn);
    m_database = db;
    m_userCache.reset();
    m_attached.clear();
    m_generation = m_instance.generation();
}

std::map<std::string, ColumnInfo> EngineSession::variableTypes() const
{
    std::map<std::string, ColumnInfo> types;
    for (const auto& [name, v] : m_variables)
        types[name] = v.type;
    return types;
}

void EngineSession::executeBatch(const std::string& sql, ResultSink& sink)
{
    m_userCache.reset();
    std::vector<Stmt> statements;
    try {
        statements = translateBatch(sql, variableTypes());
    } catch (const std::exception& ex) {
        const SqlError e = asSqlError(ex);
        ServerMessage m{e.number(), e.state(), e.severity(), e.what(), "", 1};
        sink.message(m);
        DoneInfo d;
        d.error = true;
        sink.statementDone(d);
        return;
    }
    // Every batch ends with at least one DONE, as SQL Server's do, also when it held only
    // declarations or options.
    class CountingSink : public ResultSink {
    public:
        explicit CountingSink(ResultSink& inner) : m_inner(inner) {}
        int dones = 0;
        void columns(const std::vector<ColumnInfo>& c) override { m_inner.columns(c); }
        void row(const std::vector<Value>& r) override { m_inner.row(r); }
        void statementDone(const DoneInfo& d) override
        {
            ++dones;
            m_inner.statementDone(d);
        }
        void message(const ServerMessage& m) override { m_inner.message(m); }
        void databaseChanged(const std::string& o, const std::string& n) override
        {
            m_inner.databaseChanged(o, n);
        }
        void returnStatus(int32_t s) override { m_inner.returnStatus(s); }
        void returnValue(const std::string& n, const ColumnInfo& t, const Value& v) override
        {
            m_inner.returnValue(n, t, v);
        }
        bool cancelRequested() override { return m_inner.cancelRequested(); }

    private:
        ResultSink& m_inner;
    } counting(sink);
    runStatements(statements, counting, "");
    if (counting.dones == 0 && !sink.cancelRequested())
        sink.statementDone(DoneInfo{});
}

void EngineSession::runStatements(const std::vector<Stmt>& statements, ResultSink& sink,
                                  const std::string& procName)
{
    ++m_depth;
    size_t pc = 0;
    std::vector<size_t> catchTargets; // the CATCH blocks of the TRY blocks we are in
    while (pc < statements.size()) {
        if (sink.cancelRequested())
            break;
        const Stmt& s = statements[pc];
        size_t next = pc + 1;
        if (s.kind == StmtKind::TryBegin) {
            catchTargets.push_back(s.jumpTarget);
            pc = next;
            continue;
        }
        if (s.kind == StmtKind::TryEnd) {
            if (!catchTargets.empty())
                catchTargets.pop_back();
            pc = next;
            continue;
        }
        try {
            execute(s, sink, next);
            m_lastError = 0;
        } catch (const std::exception& ex) {
            const SqlError e = asSqlError(ex);
            m_lastError = e.number();
            ServerMessage m{e.number(), e.state(), e.severity(), e.what(), procName, s.line};
            if (!catchTargets.empty() && e.severity() > 10 && !sink.cancelRequested()) {
                // Caught: no message to the client; the CATCH block can read it.
                m_caughtError = m;
                pc = catchTargets.back();
                catchTargets.pop_back();
                continue;
            }
            sink.message(m);
            DoneInfo d;
            d.error = true;
            d.currentCommand = s.curCmd;
            sink.statementDone(d);
            // A cancelled BACKUP or RESTORE ends the batch, as an attention does.
            if (sink.cancelRequested())
                break;
        }
        if (next == SIZE_MAX) // RETURN
            break;
        pc = next;
    }
    --m_depth;
}

void EngineSession::done(ResultSink& sink, uint16_t curCmd, bool hasCount, uint64_t count)
{
    DoneInfo d;
    d.hasRowCount = hasCount && !m_noCount;
    d.rowCount = count;
    d.currentCommand = curCmd;
    sink.statementDone(d);
}

void EngineSession::info(ResultSink& sink, int32_t number, const std::string& text, int line)
{
    ServerMessage m;
    m.number = number;
    m.severity = number == 0 ? 0 : 10;
    m.text = text;
    m.line = line;
    sink.message(m);
}

void EngineSession::execute(const Stmt& s, ResultSink& sink, size_t& next)
{
    checkAccess(s);
    switch (s.kind) {
    case StmtKind::Query:
        runQuery(s, sink);
        return;
    case StmtKind::SelectAssign: {
        SqliteStmt st(m_db.get(), resolve(s.sql.front()));
        bindVariables(st);
        int64_t rows = 0;
        while (st.step()) {
            ++rows;
            for (size_t i = 0; i < s.targets.size(); ++i)
                assign(s.targets[i], st.column(static_cast<int>(i)));
        }
        m_rowCount = rows;
        done(sink, 0xC1, true, static_cast<uint64_t>(rows));
        return;
    }
    case StmtKind::Declare:
        for (size_t i = 0; i < s.targets.size(); ++i) {
            m_variables[s.targets[i]] = Variable{s.declaredTypes[i], std::monostate{}};
            if (!s.args[i].expr.empty())
                assign(s.targets[i], evaluate(s.args[i].expr));
        }
        return;
    case StmtKind::SetVariable:
        assign(s.targets[0], evaluate(s.args[0].expr));
        return;
    case StmtKind::SetOption: {
        if (s.name == "NOCOUNT")
            m_noCount = evaluateText(s.args[0].expr) == "ON";
        // Options that would change results the stand-in does not limit are refused rather
        // than ignored when they are switched on.
        if (s.name == "ROWCOUNT" && evaluateText(s.args[0].expr) != "0")
            throw unsupported("SET ROWCOUNT other than 0");
        if (s.name == "IMPLICIT_TRANSACTIONS" && evaluateText(s.args[0].expr) == "ON")
            throw unsupported("SET IMPLICIT_TRANSACTIONS ON");
        // The other session options (ANSI_NULLS, QUOTED_IDENTIFIER, TEXTSIZE, DATEFORMAT...)
        // that clients send on connecting describe behaviour the stand-in already has or
        // does not model; they are accepted without effect.
        return;
    }
    case StmtKind::Print: {
        Value v = evaluate(s.args[0].expr);
        ColumnInfo text;
        text.type = SqlType::NVarChar;
        Value t = normalizeValue(v, text);
        info(sink, 0, std::holds_alternative<std::string>(t) ? std::get<std::string>(t) : "", s.line);
        return;
    }
    case StmtKind::Raiserror: {
        std::vector<Value> substitutions;
        for (size_t a = 3; a < s.args.size(); ++a)
            substitutions.push_back(evaluate(s.args[a].expr));
        const std::string text = formatRaiserror(evaluateText(s.args[0].expr), substitutions);
        const int64_t severity =
            s.args.size() > 1
                ? std::get<int64_t>(normalizeValue(evaluate(s.args[1].expr), columnInfoForType("int")))
                : 16;
        const int64_t state =
            s.args.size() > 2
                ? std::get<int64_t>(normalizeValue(evaluate(s.args[2].expr), columnInfoForType("int")))
                : 1;
        if (severity <= 10) {
            ServerMessage m{50000, static_cast<uint8_t>(state), static_cast<uint8_t>(severity), text, "",
                            s.line};
            sink.message(m);
            return;
        }
        throw SqlError(50000, static_cast<uint8_t>(std::min<int64_t>(severity, 18)), text,
                       static_cast<uint8_t>(state));
    }
    case StmtKind::Use:
        useDatabase(s.name, sink, s.line);
        done(sink, 0, false, 0);
        return;
    case StmtKind::Exec:
        execStatement(s, sink);
        return;
    case StmtKind::ExecString: {
        const std::string sql = evaluateText(s.args[0].expr);
        std::vector<Stmt> inner = translateBatch(sql, variableTypes());
        runStatements(inner, sink, "");
        return;
    }
    case StmtKind::BeginTran:
        if (!m_inTransaction) {
            m_db.exec("BEGIN");
            m_inTransaction = true;
        }
        return;
    case StmtKind::CommitTran:
        if (!m_inTransaction)
            throw SqlError(3902, 16,
                           "The COMMIT TRANSACTION request has no corresponding BEGIN TRANSACTION.");
        m_db.exec("COMMIT");
        m_inTransaction = false;
        m_savepoints.clear();
        return;
    case StmtKind::RollbackTran:
        if (!m_inTransaction)
            throw SqlError(3903, 16,
                           "The ROLLBACK TRANSACTION request has no corresponding BEGIN TRANSACTION.");
        rollbackTransaction(s.name);
        return;
    case StmtKind::WaitFor:
        waitFor(evaluateText(s.args[0].expr), sink);
        return;
    case StmtKind::SaveTran:
        saveTransaction(s.name);
        return;
    case StmtKind::IfNot: {
        Value v = evaluate(s.args[0].expr);
        const bool truth = std::get<int64_t>(normalizeValue(v, columnInfoForType("bigint"))) != 0 &&
                           !std::holds_alternative<std::monostate>(v);
        if (!truth)
            next = s.jumpTarget;
        return;
    }
    case StmtKind::Jump:
        next = s.jumpTarget;
        return;
    case StmtKind::CreateDatabase:
        createDatabase(s, sink);
        done(sink, 0, false, 0);
        return;
    case StmtKind::DropDatabase:
        dropDatabases(s, sink);
        done(sink, 0, false, 0);
        return;
    case StmtKind::AlterDatabaseFile:
        alterDatabaseFile(s, sink);
        done(sink, 0, false, 0);
        return;
    case StmtKind::AlterDatabaseSet:
        alterDatabaseSet(s, sink);
        done(sink, 0, false, 0);
        return;
    case StmtKind::CreateLogin: {
        const std::string* pw = s.option("PASSWORD");
        std::string password = pw ? evaluateText(*pw) : "";
        const std::string* db = s.option("DEFAULT_DATABASE");
        createLogin(s.name, s.flag, pw ? &password : nullptr, db ? evaluateText(*db) : "");
        done(sink, 0, false, 0);
        return;
    }
    case StmtKind::DropLogin:
        dropLogin(s.name, false);
        done(sink, 0, false, 0);
        return;
    case StmtKind::AlterLogin:
        alterLogin(s);
        done(sink, 0, false, 0);
        return;
    case StmtKind::CreateUser:
        createUser(s.name, s.name2.empty() ? s.name : s.name2, s.flag);
        done(sink, 0, false, 0);
        return;
    case StmtKind::DropUser:
        dropUser(s.name);
        done(sink, 0, false, 0);
        return;
    case StmtKind::CreateRole:
        createRole(s.name);
        done(sink, 0, false, 0);
        return;
    case StmtKind::DropRole:
        dropRole(s.name);
        done(sink, 0, false, 0);
        return;
    case StmtKind::AlterRoleMember:
        setRoleMember(s.name, s.name2, s.flag);
        done(sink, 0, false, 0);
        return;
    case StmtKind::AlterServerRoleMember:
        setServerRoleMember(s.name, s.name2, s.flag);
        done(sink, 0, false, 0);
        return;
    case StmtKind::Permission:
        permission(s);
        done(sink, 0, false, 0);
        return;
    case StmtKind::Backup:
        backupDatabase(s, sink);
        return;
    case StmtKind::Restore:
        restore(s, sink);
        return;
    case StmtKind::CreateProcedure:
        createProcedure(s);
        done(sink, 0, false, 0);
        return;
    case StmtKind::DropProcedure:
        dropProcedures(s);
        done(sink, 0, false, 0);
        return;
    case StmtKind::Return:
        m_returnStatus = s.args.empty()
                             ? 0
                             : std::get<int64_t>(normalizeValue(convertValue(evaluate(s.args[0].expr), "int"),
                                                                columnInfoForType("int")));
        next = SIZE_MAX;
        return;
    case StmtKind::TryBegin:
    case StmtKind::TryEnd:
    case StmtKind::Nop:
        return;
    }
}

void EngineSession::runQuery(const Stmt& s, ResultSink& sink)
{
    uint64_t changes = 0;
    for (size_t i = 0; i < s.sql.size(); ++i) {
        SqliteStmt st(m_db.get(), resolve(s.sql[i]));
        bindVariables(st);
        if (i == 0 && s.returnsRows && sqlite3_column_count(st.get()) > 0) {
            streamRows(st, s, sink);
            return;
        }
        if (i == 1 && s.curCmd == 0xC2) { // SELECT ... INTO: the rows of the new table
            st.step();
            changes = static_cast<uint64_t>(st.integer(0));
            continue;
        }
        // Two autocommit writers on one file can each hold a read lock and want the write
        // lock; SQLite then refuses one of them at once instead of waiting. The refused
        // statement has changed nothing, so it is simply run again.
        for (int attempt = 0;; ++attempt) {
            try {
                while (st.step()) {
                }
                break;
            } catch (const SqlError& e) {
                if (e.number() != 1222 || m_inTransaction || attempt >= 3000)
                    throw;
                sqlite3_reset(st.get());
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        }
        if (i == 0)
            changes = static_cast<uint64_t>(sqlite3_changes(m_db.get()));
    }
    const bool dml = s.curCmd == 0xC2 || s.curCmd == 0xC3 || s.curCmd == 0xC4 || s.curCmd == 0xC5;
    m_rowCount = dml ? static_cast<int64_t>(changes) : 0;
    done(sink, s.curCmd, dml, dml ? changes : 0);
}

void EngineSession::streamRows(SqliteStmt& st, const Stmt& s, ResultSink& sink)
{
    const int n = sqlite3_column_count(st.get());
    bool have = st.step();
    std::vector<ColumnInfo> columns(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        ColumnInfo& c = columns[static_cast<size_t>(i)];
        std::string name = sqlite3_column_name(st.get(), i);
        std::optional<ColumnInfo> hinted;
        if (name.rfind("__lfc", 0) == 0) {
            const size_t index = std::stoul(name.substr(5));
            if (index < s.hints.size()) {
                name = s.hints[index].name;
                hinted = s.hints[index].type;
            }
        } else if (auto it = s.namedHints.find(name); it != s.namedHints.end()) {
            hinted = it->second.type;
        }
        const char* decl = sqlite3_column_decltype(st.get(), i);
        if (hinted)
            c = *hinted;
        else if (decl)
            c = columnInfoForType(decl);
        else
            c = have ? typeOfValue(columnValue(st.get(), i)) : typeOfValue(std::string());
        c.name = name;
        c.nullable = true;
    }
    sink.columns(columns);
    uint64_t count = 0;
    std::vector<Value> row(static_cast<size_t>(n));
    while (have) {
        for (int i = 0; i < n; ++i) {
            const ColumnInfo& c = columns[static_cast<size_t>(i)];
            Value v = columnValue(st.get(), i);
            if ((c.type == SqlType::DateTime || c.type == SqlType::Time ||
                 c.type == SqlType::DateTimeOffset) &&
                std::holds_alternative<std::string>(v)) {
                // Dates and times are stored as written; they leave in SQL Server's one format.
                try {
                    v = convertValue(v, typeName(c));
                } catch (const SqlError&) {
                    // A text that is no date (SQLite let it in) is passed on as it is.
                }
            }
            row[static_cast<size_t>(i)] = normalizeValue(v, c);
        }
        sink.row(row);
        ++count;
        if (count % 64 == 0 && sink.cancelRequested())
            break;
        have = st.step();
    }
    m_rowCount = static_cast<int64_t>(count);
    done(sink, 0xC1, true, count);
}

std::string EngineSession::resolve(const std::string& sql)
{
    if (sql.find(kSchemaMark) == std::string::npos)
        return sql;
    if (m_generation != m_instance.generation()) {
        // A database was dropped or restored: attached copies may be stale.
        for (const auto& [name, alias] : m_attached)
            sqlite3_exec(m_db.get(), ("DETACH DATABASE " + alias).c_str(), nullptr, nullptr, nullptr);
        m_attached.clear();
        m_generation = m_instance.generation();
    }
    std::string out;
    size_t i = 0;
    while (i < sql.size()) {
        const size_t a = sql.find(kSchemaMark, i);
        if (a == std::string::npos) {
            out += sql.substr(i);
            break;
        }
        const size_t b = sql.find(kSchemaMark, a + 1);
        out += sql.substr(i, a - i);
        const std::string mark = sql.substr(a + 1, b - a - 1);
        if (mark == "M") {
            out += m_database.id == 1 ? "main" : "master";
        } else {
            const std::string db = mark.substr(2);
            if (db.empty() || sameName(db, m_database.name)) {
                out += "main";
            } else if (sameName(db, "master")) {
                out += "master";
            } else {
                auto it = m_attached.find(upper(db));
                if (it == m_attached.end()) {
                    auto rec = m_instance.catalog().database(db);
                    if (!rec)
                        throw SqlError(911, 16,
                                       "Database '" + db +
                                           "' does not exist. Make sure that the name is entered correctly.");
                    if (!databaseUserFor(m_instance, m_login, m_groups, *rec))
                        throw SqlError(916, 14,
                                       "The server principal \"" + m_login.name +
                                           "\" is not able to access the database \"" + rec->name +
                                           "\" under the current security context.");
                    const std::string alias = "lfdb_" + std::to_string(rec->id);
                    SqliteStmt attach(m_db.get(), "ATTACH DATABASE ? AS " + alias);
                    attach.bind(1, rec->files.front().physicalName).step();
                    it = m_attached.emplace(upper(db), alias).first;
                }
                out += it->second;
            }
        }
        i = b + 1;
    }
    return out;
}

void EngineSession::bindVariables(SqliteStmt& st)
{
    const int count = sqlite3_bind_parameter_count(st.get());
    for (int i = 1; i <= count; ++i) {
        const char* name = sqlite3_bind_parameter_name(st.get(), i);
        if (!name)
            continue;
        auto it = m_variables.find(name);
        if (it == m_variables.end())
            throw SqlError(137, 15, std::string("Must declare the scalar variable \"") + name + "\".");
        st.bind(i, it->second.value);
    }
}

Value EngineSession::evaluate(const std::string& expr)
{
    SqliteStmt st(m_db.get(), "SELECT " + resolve(expr));
    bindVariables(st);
    if (!st.step())
        return std::monostate{};
    return st.column(0);
}

std::string EngineSession::evaluateText(const std::string& expr)
{
    ColumnInfo text;
    text.type = SqlType::NVarChar;
    Value v = normalizeValue(evaluate(expr), text);
    if (auto s = std::get_if<std::string>(&v))
        return *s;
    return "";
}

void EngineSession::assign(const std::string& variable, const Value& value)
{
    auto it = m_variables.find(variable);
    if (it == m_variables.end())
        throw SqlError(137, 15, "Must declare the scalar variable \"" + variable + "\".");
    it->second.value = convertValue(value, typeName(it->second.type));
}

void EngineSession::useDatabase(const std::string& name, ResultSink& sink, int line)
{
    auto db = m_instance.catalog().database(name);
    if (!db)
        throw SqlError(
            911, 16, "Database '" + name + "' does not exist. Make sure that the name is entered correctly.");
    if (!databaseUserFor(m_instance, m_login, m_groups, *db))
        throw SqlError(916, 14,
                       "The server principal \"" + m_login.name + "\" is not able to access the database \"" +
                           db->name + "\" under the current security context.");
    const std::string old = m_database.name;
    if (db->id != m_database.id)
        openDatabase(*db);
    sink.databaseChanged(old, db->name);
    info(sink, 5701, "Changed database context to '" + db->name + "'.", line);
}

std::optional<int> EngineSession::databaseUserFor(EngineInstance& instance, const LoginRecord& login,
                                                  const std::vector<LoginRecord>& groups,
                                                  const DatabaseRecord& db)
{
    auto& catalog = instance.catalog();
    if (catalog.isServerRoleMember(login.id, "sysadmin"))
        return 1;
    for (const auto& g : groups)
        if (catalog.isServerRoleMember(g.id, "sysadmin"))
            return 1;
    if (db.files.empty())
        return std::nullopt;
    SqliteDb conn(db.files.front().physicalName, false);
    SqliteStmt s(conn.get(), "SELECT principal_id FROM lf_database_principals WHERE sid = ? AND type <> 'R' "
                             "ORDER BY principal_id");
    std::vector<std::vector<uint8_t>> sids{login.sid};
    for (const auto& g : groups)
        sids.push_back(g.sid);
    for (const auto& sid : sids) {
        sqlite3_reset(s.get());
        s.bind(1, Value(sid));
        if (s.step())
            return static_cast<int>(s.integer(0));
    }
    // Without a user of its own a login comes in as guest where guest may connect: always in
    // master, elsewhere after GRANT CONNECT TO guest.
    if (db.id == 1)
        return 2;
    SqliteStmt guest(conn.get(), "SELECT 1 FROM lf_database_permissions WHERE grantee_principal_id = 2 AND "
                                 "permission_name = 'CONNECT' AND state = 'G'");
    if (guest.step())
        return 2;
    return std::nullopt;
}

} // namespace standin
