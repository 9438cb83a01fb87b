#include "OdbcConnection.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "ConnectionError.h"
#include "LfError.h"

namespace sqlserver {
namespace {

bool equalsNoCase(const std::string& a, const std::string& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

// Collects the rows of every result of a batch.
class RowCollector : public BatchVisitor {
public:
    std::vector<std::string> names;
    std::vector<std::vector<Value>> rows;
    bool sawColumns = false;
    void columns(const std::vector<std::string>& n) override
    {
        if (!sawColumns)
            names = n;
        sawColumns = true;
    }
    void row(const std::vector<Value>& v) override { rows.push_back(v); }
};

// A snapshot of all rows, changed in memory and written back by key.
class StaticRecordSet : public RecordSet {
public:
    StaticRecordSet(OdbcConnection& c, std::vector<std::string> names, std::vector<std::vector<Value>> rows,
                    UpdateTarget target)
        : m_c(c), m_names(std::move(names)), m_rows(std::move(rows)), m_dirty(m_rows.size()),
          m_target(std::move(target))
    {
    }

    const std::vector<std::string>& ColumnNames() const override { return m_names; }
    bool IsEOF() const override { return m_pos >= m_rows.size(); }
    void MoveNext() override
    {
        if (IsEOF())
            throw LfError(kClientFailure, "",
                          "either BOF or EOF is True, or the current record has been deleted");
        ++m_pos;
    }
    const Value& Field(int index) const override
    {
        requireRow();
        if (index < 0 || static_cast<size_t>(index) >= m_names.size())
            throw LfError(
                kClientFailure, "",
                "item cannot be found in the collection corresponding to the requested name or ordinal");
        return m_rows[m_pos][static_cast<size_t>(index)];
    }
    const Value& Field(const std::string& name) const override { return Field(indexOf(name)); }

    void SetField(const std::string& name, const Value& value) override
    {
        if (m_target.table.empty())
            throw LfError(kClientFailure, "", "the record set cannot be updated");
        requireRow();
        m_rows[m_pos][static_cast<size_t>(indexOf(name))] = value;
        m_dirty[m_pos].push_back(indexOf(name));
    }

    int UpdateBatch() override
    {
        if (m_target.table.empty())
            return 0;
        const int key = indexOf(m_target.keyColumn);
        std::string batch;
        int written = 0, inBatch = 0;
        for (size_t r = 0; r < m_rows.size(); ++r) {
            if (m_dirty[r].empty())
                continue;
            std::vector<int> cols = m_dirty[r];
            std::sort(cols.begin(), cols.end());
            cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
            std::string set;
            for (int c : cols)
                set += (set.empty() ? "" : ", ") + quoteIdentifier(m_names[static_cast<size_t>(c)]) + " = " +
                       sqlLiteral(m_rows[r][static_cast<size_t>(c)]);
            batch += "UPDATE " + quoteIdentifier(m_target.table) + " SET " + set + " WHERE " +
                     quoteIdentifier(m_target.keyColumn) + " = " +
                     sqlLiteral(m_rows[r][static_cast<size_t>(key)]) + ";\n";
            ++written;
            // A few hundred statements per round trip keep batches small for the server.
            if (++inBatch == 200) {
                m_c.Execute(batch);
                batch.clear();
                inBatch = 0;
            }
            m_dirty[r].clear();
        }
        if (!batch.empty())
            m_c.Execute(batch);
        return written;
    }

    long RecordCount() const override { return static_cast<long>(m_rows.size()); }
    void Close() override
    {
        m_rows.clear();
        m_dirty.clear();
        m_pos = 0;
    }

private:
    void requireRow() const
    {
        if (IsEOF())
            throw LfError(kClientFailure, "",
                          "either BOF or EOF is True, or the current record has been deleted");
    }
    int indexOf(const std::string& name) const
    {
        for (size_t i = 0; i < m_names.size(); ++i)
            if (equalsNoCase(m_names[i], name))
                return static_cast<int>(i);
        throw LfError(
            kClientFailure, "",
            "item cannot be found in the collection corresponding to the requested name or ordinal (\"" +
                name + "\")");
    }

    OdbcConnection& m_c;
    std::vector<std::string> m_names;
    std::vector<std::vector<Value>> m_rows;
    std::vector<std::vector<int>> m_dirty;
    UpdateTarget m_target;
    size_t m_pos = 0;
};

// Rows read from the server one fetch at a time; holds the connection's statement.
class ForwardRecordSet : public RecordSet {
public:
    ForwardRecordSet(OdbcConnection& c, const std::string& sql)
        : m_c(c), m_running(std::make_unique<OdbcConnection::Running>(c))
    {
        SQLHSTMT s = m_running->get();
        SQLRETURN rc = SQLExecDirectA(s, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())), SQL_NTS);
        for (;;) {
            if (rc == SQL_ERROR)
                throw errorFromDiagnostics(m_c.drainDiagnostics(s, nullptr));
            const auto errors = m_c.drainDiagnostics(s, nullptr);
            if (!errors.empty())
                throw errorFromDiagnostics(errors);
            // The rows are those of the first result that has columns; statements before it
            // (an UPDATE that touched nothing reports "no data") are passed over.
            if (rc != SQL_NO_DATA) {
                SQLSMALLINT cols = 0;
                SQLNumResultCols(s, &cols);
                if (cols > 0) {
                    describeColumns(s, m_names, m_types);
                    fetch();
                    return;
                }
            }
            rc = SQLMoreResults(s);
            if (rc == SQL_NO_DATA)
                break;
        }
        m_eof = true;
    }

    const std::vector<std::string>& ColumnNames() const override { return m_names; }
    bool IsEOF() const override { return m_eof; }
    void MoveNext() override
    {
        if (m_eof)
            throw LfError(kClientFailure, "",
                          "either BOF or EOF is True, or the current record has been deleted");
        fetch();
    }
    const Value& Field(int index) const override
    {
        if (m_eof || index < 0 || static_cast<size_t>(index) >= m_row.size())
            throw LfError(
                kClientFailure, "",
                "item cannot be found in the collection corresponding to the requested name or ordinal");
        return m_row[static_cast<size_t>(index)];
    }
    const Value& Field(const std::string& name) const override
    {
        for (size_t i = 0; i < m_names.size(); ++i)
            if (equalsNoCase(m_names[i], name))
                return Field(static_cast<int>(i));
        throw LfError(
            kClientFailure, "",
            "item cannot be found in the collection corresponding to the requested name or ordinal (\"" +
                name + "\")");
    }
    void SetField(const std::string&, const Value&) override
    {
        throw LfError(kClientFailure, "", "the record set cannot be updated");
    }
    int UpdateBatch() override { return 0; }
    long RecordCount() const override { return -1; }
    void Close() override
    {
        m_running.reset();
        m_eof = true;
    }

private:
    void fetch()
    {
        if (!m_running) {
            m_eof = true;
            return;
        }
        SQLHSTMT s = m_running->get();
        const SQLRETURN rc = SQLFetch(s);
        if (rc == SQL_NO_DATA) {
            m_eof = true;
            m_row.clear();
            return;
        }
        if (rc == SQL_ERROR)
            throw errorFromDiagnostics(m_c.drainDiagnostics(s, nullptr));
        m_row = readRow(s, m_types);
    }

    OdbcConnection& m_c;
    std::unique_ptr<OdbcConnection::Running> m_running;
    std::vector<std::string> m_names;
    std::vector<SQLSMALLINT> m_types;
    std::vector<Value> m_row;
    bool m_eof = false;
};

std::string getText(SQLHSTMT s, SQLUSMALLINT col, SQLSMALLINT cType, bool& isNull)
{
    std::string out;
    char buf[8192];
    const size_t terminator = cType == SQL_C_CHAR ? 1 : 0;
    isNull = false;
    for (;;) {
        SQLLEN ind = 0;
        const SQLRETURN rc = SQLGetData(s, col, cType, buf, sizeof buf, &ind);
        if (rc == SQL_NO_DATA)
            break;
        if (!SQL_SUCCEEDED(rc))
            throwDiagnostics(SQL_HANDLE_STMT, s);
        if (ind == SQL_NULL_DATA) {
            isNull = true;
            return {};
        }
        const size_t room = sizeof buf - terminator;
        const size_t got =
            (ind == SQL_NO_TOTAL || static_cast<size_t>(ind) > room) ? room : static_cast<size_t>(ind);
        out.append(buf, got);
        if (rc == SQL_SUCCESS)
            break;
    }
    return out;
}

} // namespace

std::string quoteIdentifier(const std::string& name)
{
    std::string out = "[";
    for (char c : name) {
        out += c;
        if (c == ']')
            out += ']';
    }
    return out + "]";
}

std::string quoteText(const std::string& text)
{
    std::string out = "N'";
    for (char c : text) {
        out += c;
        if (c == '\'')
            out += '\'';
    }
    return out + "'";
}

std::string sqlLiteral(const Value& v)
{
    if (v.isNull())
        return "NULL";
    if (v.isInt() || v.isDouble())
        return v.toText();
    return quoteText(v.toText());
}

void describeColumns(SQLHSTMT s, std::vector<std::string>& names, std::vector<SQLSMALLINT>& types)
{
    SQLSMALLINT cols = 0;
    SQLNumResultCols(s, &cols);
    names.clear();
    types.clear();
    for (SQLUSMALLINT i = 1; i <= static_cast<SQLUSMALLINT>(cols); ++i) {
        SQLCHAR name[512] = {0};
        SQLSMALLINT nameLen = 0, type = 0, digits = 0, nullable = 0;
        SQLULEN size = 0;
        SQLDescribeCol(s, i, name, sizeof name, &nameLen, &type, &size, &digits, &nullable);
        names.emplace_back(reinterpret_cast<char*>(name));
        types.push_back(type);
    }
}

std::vector<Value> readRow(SQLHSTMT s, const std::vector<SQLSMALLINT>& types)
{
    std::vector<Value> row;
    row.reserve(types.size());
    for (size_t i = 0; i < types.size(); ++i) {
        const auto col = static_cast<SQLUSMALLINT>(i + 1);
        SQLLEN ind = 0;
        switch (types[i]) {
        case SQL_BIT:
        case SQL_TINYINT:
        case SQL_SMALLINT:
        case SQL_INTEGER:
        case SQL_BIGINT: {
            SQLBIGINT v = 0;
            if (!SQL_SUCCEEDED(SQLGetData(s, col, SQL_C_SBIGINT, &v, 0, &ind)))
                throwDiagnostics(SQL_HANDLE_STMT, s);
            row.push_back(ind == SQL_NULL_DATA ? Value() : Value(static_cast<int64_t>(v)));
            break;
        }
        case SQL_REAL:
        case SQL_FLOAT:
        case SQL_DOUBLE: {
            double v = 0;
            if (!SQL_SUCCEEDED(SQLGetData(s, col, SQL_C_DOUBLE, &v, 0, &ind)))
                throwDiagnostics(SQL_HANDLE_STMT, s);
            row.push_back(ind == SQL_NULL_DATA ? Value() : Value(v));
            break;
        }
        case SQL_BINARY:
        case SQL_VARBINARY:
        case SQL_LONGVARBINARY: {
            bool isNull = false;
            std::string bytes = getText(s, col, SQL_C_BINARY, isNull);
            row.push_back(isNull ? Value() : Value(std::move(bytes)));
            break;
        }
        default: {
            bool isNull = false;
            std::string text = getText(s, col, SQL_C_CHAR, isNull);
            row.push_back(isNull ? Value() : Value(std::move(text)));
            break;
        }
        }
    }
    return row;
}

std::unique_ptr<OdbcConnection> OdbcConnection::connect(const OdbcTarget& target, int loginTimeoutSeconds,
                                                        const std::string& serverName)
{
    std::unique_ptr<OdbcConnection> c(new OdbcConnection);
    c->m_dbc = OdbcHandle(SQL_HANDLE_DBC, odbcEnvironment());
    if (loginTimeoutSeconds > 0)
        SQLSetConnectAttr(c->m_dbc.get(), SQL_ATTR_LOGIN_TIMEOUT,
                          reinterpret_cast<SQLPOINTER>(static_cast<intptr_t>(loginTimeoutSeconds)), 0);
    const std::string text = buildOdbcConnectionString(target);
    const SQLRETURN rc = SQLDriverConnectA(c->m_dbc.get(), nullptr,
                                           reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str())),
                                           SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(rc)) {
        const LfError e = errorFromDiagnostics(readDiagnostics(SQL_HANDLE_DBC, c->m_dbc.get()));
        if (e.number() == kServerNotFound)
            throw serverNotFound(serverName, e.description());
        throw e;
    }
    char driver[256] = {0};
    SQLSMALLINT len = 0;
    if (SQL_SUCCEEDED(SQLGetInfoA(c->m_dbc.get(), SQL_DRIVER_NAME, driver, sizeof driver, &len)))
        c->m_levelInStateField = std::string(driver).find("tdsodbc") != std::string::npos;
    return c;
}

OdbcConnection::~OdbcConnection() = default;

void OdbcConnection::requireOpen() const
{
    if (!m_dbc)
        throw LfError(kClientFailure, "", "the operation is not allowed when the connection is closed");
}

std::vector<ServerMessage> OdbcConnection::drainDiagnostics(SQLHSTMT stmt, BatchVisitor* visitor,
                                                            bool deliverErrors)
{
    std::vector<ServerMessage> errors;
    const ServerMessage* previous = nullptr;
    auto records = readDiagnostics(SQL_HANDLE_STMT, stmt);
    for (auto& m : records) {
        // FreeTDS repeats the server's "Changed database (or language) context" with one of
        // its own; the user sees it once, as with SQL Server's own clients.
        const bool repeat = previous && (m.number == 5701 || m.number == 5703) &&
                            m.number == previous->number && m.text == previous->text;
        previous = &m;
        if (repeat)
            continue;
        if (m_levelInStateField) {
            if (m.state > 0)
                m.severity = m.state;
            m.state = 0; // not reported
        }
        if (isInformational(m)) {
            if (visitor)
                visitor->message(m, false);
            if (m_messageHandler)
                m_messageHandler(m);
        } else {
            if (visitor && deliverErrors)
                visitor->message(m, true);
            errors.push_back(std::move(m));
        }
    }
    return errors;
}

bool OdbcConnection::runBatch(const std::string& sql, BatchVisitor& visitor, bool errorsAsMessages,
                              const std::function<bool()>& abortRequested)
{
    requireOpen();
    Running running(*this, true);
    SQLHSTMT s = running.get();
    if (abortRequested && abortRequested())
        throw LfError(kClientFailure, "", "operation canceled");
    bool ok = true;
    SQLRETURN rc = waitForServer(s, [&] {
        return SQLExecDirectA(s, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())), SQL_NTS);
    });
    for (;;) {
        // Interrupted from another thread: the rest of the answer is the cancel's.
        if (cancelSent())
            return cancelFromWithin(s, visitor, errorsAsMessages);
        auto errors = drainDiagnostics(s, &visitor, errorsAsMessages);
        if (rc == SQL_ERROR || !errors.empty()) {
            if (rc == SQL_ERROR && errors.empty()) {
                errors.push_back(ServerMessage{"HY000", 0, 16, 0, 0, {}, {}, "the statement failed"});
                if (errorsAsMessages)
                    visitor.message(errors.back(), true);
            }
            if (!errorsAsMessages)
                throw errorFromDiagnostics(errors);
            ok = false;
            // An error the connection cannot go on from (cancel, lost link) ends the batch.
            if (rc == SQL_ERROR) {
                const std::string& st = errors.front().sqlState;
                if (st == "HY008" || st == "08S01" || st == "HY010")
                    break;
            }
        }
        if (rc == SQL_NO_DATA) {
            visitor.rowCount(0); // a searched UPDATE, INSERT or DELETE that touched no row
        } else if (rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO) {
            SQLSMALLINT cols = 0;
            SQLNumResultCols(s, &cols);
            if (cols > 0) {
                std::vector<std::string> names;
                std::vector<SQLSMALLINT> types;
                describeColumns(s, names, types);
                visitor.columns(names);
                long count = 0;
                for (;;) {
                    const SQLRETURN f = waitForServer(s, [s] { return SQLFetch(s); });
                    if (f == SQL_NO_DATA)
                        break;
                    if (f == SQL_ERROR) {
                        if (cancelSent())
                            return cancelFromWithin(s, visitor, errorsAsMessages);
                        auto fetchErrors = drainDiagnostics(s, &visitor, errorsAsMessages);
                        if (!errorsAsMessages)
                            throw errorFromDiagnostics(fetchErrors);
                        ok = false;
                        break;
                    }
                    if (f == SQL_SUCCESS_WITH_INFO)
                        drainDiagnostics(s, &visitor, errorsAsMessages);
                    visitor.row(readRow(s, types));
                    ++count;
                }
                visitor.rowCount(count);
            } else {
                SQLLEN count = -1;
                SQLRowCount(s, &count);
                visitor.rowCount(static_cast<long>(count));
            }
        }
        if (takeCancelPending() || (abortRequested && abortRequested())) {
            if (!cancelFromWithin(s, visitor, errorsAsMessages))
                ok = false;
            break;
        }
        rc = waitForServer(s, [s] { return SQLMoreResults(s); });
        if (rc == SQL_NO_DATA && !cancelSent()) {
            const auto last = drainDiagnostics(s, &visitor, errorsAsMessages);
            if (!last.empty()) {
                if (!errorsAsMessages)
                    throw errorFromDiagnostics(last);
                ok = false;
            }
            break;
        }
    }
    return ok;
}

long OdbcConnection::Execute(const std::string& sql)
{
    class LastCount : public BatchVisitor {
    public:
        long count = -1;
        void rowCount(long c) override
        {
            if (c >= 0)
                count = c;
        }
    } visitor;
    runBatch(sql, visitor);
    return visitor.count;
}

std::vector<std::vector<Value>> OdbcConnection::query(const std::string& sql)
{
    RowCollector rows;
    runBatch(sql, rows);
    return std::move(rows.rows);
}

Value OdbcConnection::scalar(const std::string& sql)
{
    auto rows = query(sql);
    if (rows.empty() || rows.front().empty())
        return {};
    return rows.front().front();
}

std::unique_ptr<RecordSet> OdbcConnection::OpenForward(const std::string& sql)
{
    requireOpen();
    return std::make_unique<ForwardRecordSet>(*this, sql);
}

std::unique_ptr<RecordSet> OdbcConnection::OpenStatic(const std::string& sql, const UpdateTarget& target)
{
    RowCollector rows;
    runBatch(sql, rows);
    return std::make_unique<StaticRecordSet>(*this, std::move(rows.names), std::move(rows.rows), target);
}

void OdbcConnection::CallProcedure(const std::string& name, std::vector<IntParam>& params)
{
    requireOpen();
    Running running(*this);
    SQLHSTMT s = running.get();
    std::string call = "{call " + name + "(";
    for (size_t i = 0; i < params.size(); ++i)
        call += i ? ", ?" : "?";
    call += ")}";

    std::vector<SQLINTEGER> values(params.size());
    std::vector<SQLLEN> indicators(params.size(), 0);
    for (size_t i = 0; i < params.size(); ++i) {
        values[i] = params[i].value;
        const SQLSMALLINT io = params[i].output ? SQL_PARAM_OUTPUT : SQL_PARAM_INPUT;
        if (!SQL_SUCCEEDED(SQLBindParameter(s, static_cast<SQLUSMALLINT>(i + 1), io, SQL_C_SLONG, SQL_INTEGER,
                                            0, 0, &values[i], 0, &indicators[i])))
            throwDiagnostics(SQL_HANDLE_STMT, s, "while binding the parameter \"" + params[i].name + "\", ");
    }
    BatchVisitor ignore;
    SQLRETURN rc = SQLExecDirectA(s, reinterpret_cast<SQLCHAR*>(call.data()), SQL_NTS);
    for (;;) {
        auto errors = drainDiagnostics(s, &ignore);
        if (rc == SQL_ERROR || !errors.empty())
            throw errorFromDiagnostics(errors, "while running the stored procedure \"" + name + "\", ");
        rc = SQLMoreResults(s);
        if (rc == SQL_NO_DATA)
            break;
    }
    for (size_t i = 0; i < params.size(); ++i)
        if (params[i].output)
            params[i].value = indicators[i] == SQL_NULL_DATA ? 0 : values[i];
}

void OdbcConnection::SetMessageHandler(std::function<void(const ServerMessage&)> handler)
{
    m_messageHandler = std::move(handler);
}

void OdbcConnection::Close()
{
    m_dbc.reset();
}

} // namespace sqlserver
