#include "OdbcConnection.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "ConnectionError.h"
#include "LfError.h"
#include "OdbcRecordSets.h"

namespace sqlserver {
namespace {

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

} // namespace

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
    return OpenForwardRecordSet(*this, sql);
}

std::unique_ptr<RecordSet> OdbcConnection::OpenStatic(const std::string& sql, const UpdateTarget& target)
{
    RowCollector rows;
    runBatch(sql, rows);
    return MakeStaticRecordSet(*this, std::move(rows.names), std::move(rows.rows), target);
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
