#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Connection.h"
#include "OdbcConnectionString.h"
#include "OdbcHandles.h"

namespace sqlserver {

// What a batch produces, handed over in arrival order.
class BatchVisitor {
public:
    virtual ~BatchVisitor() = default;
    virtual void columns(const std::vector<std::string>& /*names*/) {}
    virtual void row(const std::vector<Value>& /*values*/) {}
    // The end of one result: the rows it affected or returned (-1 when not known).
    virtual void rowCount(long /*count*/) {}
    // An informational message, or an error when errors are delivered rather than raised.
    virtual void message(const ServerMessage& /*m*/, bool /*isError*/) {}
};

// A Connection over an ODBC connection handle, also the engine of the server-management model
// and the osql tool.
class OdbcConnection : public Connection {
public:
    // Connects to the target; serverName is the name the user gave, for error texts.
    static std::unique_ptr<OdbcConnection> connect(const OdbcTarget& target, int loginTimeoutSeconds,
                                                   const std::string& serverName);
    ~OdbcConnection() override;

    long Execute(const std::string& sql) override;
    std::unique_ptr<RecordSet> OpenForward(const std::string& sql) override;
    std::unique_ptr<RecordSet> OpenStatic(const std::string& sql, const UpdateTarget& target = {}) override;
    void CallProcedure(const std::string& name, std::vector<IntParam>& params) override;
    void SetMessageHandler(std::function<void(const ServerMessage&)> handler) override;
    void Cancel() override;
    void Close() override;

    // Runs a batch to its end. With errorsAsMessages, server errors go to the visitor and the
    // batch goes on to its later results (the result is false when any error came); otherwise
    // the first error is raised. Informational messages always go to the visitor and then to
    // the message handler.
    // abortRequested is asked once the statement can be cancelled and before it is sent: a stop
    // that came earlier ends the batch there with the cancel error.
    bool runBatch(const std::string& sql, BatchVisitor& visitor, bool errorsAsMessages = false,
                  const std::function<bool()>& abortRequested = {});
    // Every row of every result of the batch.
    std::vector<std::vector<Value>> query(const std::string& sql);
    // The first column of the first row; NULL when there is none.
    Value scalar(const std::string& sql);

    SQLHDBC handle() const { return m_dbc.get(); }

    // Registers a statement as the one Cancel() interrupts while it lives. A statement that the
    // statement loop steps through (stepped) is cancelled by that loop between two results when
    // no call to the driver is under way.
    class Running {
    public:
        explicit Running(OdbcConnection& c, bool stepped = false);
        ~Running();
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        SQLHSTMT get() const { return m_stmt.get(); }

    private:
        OdbcConnection& m_c;
        OdbcHandle m_stmt;
    };

    // Stops the running statement from its own thread and raises the error the server answered
    // with (or delivers it, when errors are messages).
    bool cancelFromWithin(SQLHSTMT stmt, BatchVisitor& visitor, bool errorsAsMessages);
    bool takeCancelPending();
    bool cancelSent();
    // A driver call of the statement that waits for the server, during which Cancel() may
    // interrupt it from another thread.
    SQLRETURN waitForServer(SQLHSTMT stmt, const std::function<SQLRETURN()>& call);

    // Delivers the informational records of the statement's last call (and its errors too, in
    // their order, when deliverErrors) and returns its errors.
    std::vector<ServerMessage> drainDiagnostics(SQLHSTMT stmt, BatchVisitor* visitor,
                                                bool deliverErrors = false);

private:
    OdbcConnection() = default;
    void requireOpen() const;

    OdbcHandle m_dbc;
    // FreeTDS reports a message's level in the field meant for its state, and no state.
    bool m_levelInStateField = false;
    std::function<void(const ServerMessage&)> m_messageHandler;
    std::mutex m_cancelMutex;
    SQLHSTMT m_running = SQL_NULL_HSTMT;
    std::thread::id m_runningThread;
    // A cancel asked for on the thread that runs the statement (from a message callback), or
    // from another thread while the statement loop was between two driver calls: carried out by
    // the statement loop between two results.
    bool m_cancelPending = false;
    bool m_stepped = false;
    bool m_inDriverCall = false;
    // The driver has been told to cancel the running statement; once is enough, and a second
    // cancel while the first is processed makes FreeTDS fail without the server's message.
    bool m_cancelSent = false;
};

// Reads the current row of a statement after a successful fetch.
std::vector<Value> readRow(SQLHSTMT stmt, const std::vector<SQLSMALLINT>& sqlTypes);
// The names and SQL types of a statement's result columns.
void describeColumns(SQLHSTMT stmt, std::vector<std::string>& names, std::vector<SQLSMALLINT>& sqlTypes);

// [name] with "]" doubled, for identifiers built into statements.
std::string quoteIdentifier(const std::string& name);
// N'text' with "'" doubled, for texts built into statements.
std::string quoteText(const std::string& text);
// A value as a T-SQL literal.
std::string sqlLiteral(const Value& v);

} // namespace sqlserver
