#include "OdbcConnection.h"

// Stopping a running statement: the Stop button and Ctrl-C reach a statement from another
// thread, and the server's answer to the cancel must still reach the statement's caller.
#include <algorithm>
#include <mutex>
#include <thread>
#include <utility>

#include "ConnectionError.h"

namespace sqlserver {

OdbcConnection::Running::Running(OdbcConnection& c, bool stepped)
    : m_c(c), m_stmt(SQL_HANDLE_STMT, c.handle())
{
    std::lock_guard lock(m_c.m_cancelMutex);
    m_c.m_running = m_stmt.get();
    m_c.m_runningThread = std::this_thread::get_id();
    m_c.m_cancelPending = false;
    m_c.m_stepped = stepped;
    m_c.m_inDriverCall = false;
    m_c.m_cancelSent = false;
}

OdbcConnection::Running::~Running()
{
    std::lock_guard lock(m_c.m_cancelMutex);
    m_c.m_running = SQL_NULL_HSTMT;
    m_c.m_cancelPending = false;
    m_stmt.reset();
}

void OdbcConnection::Cancel()
{
    std::lock_guard lock(m_cancelMutex);
    if (m_running == SQL_NULL_HSTMT || m_cancelSent)
        return;
    // FreeTDS interrupts a call that waits for the server by sending the attention and leaves
    // the answer to the waiting call. Between two calls it reads the whole answer on the
    // cancelling thread instead, and the statement's next call throws the server's message
    // away. The statement loop therefore cancels by itself between two results, where it reads
    // that message; only a wait for the server is interrupted from another thread.
    if (std::this_thread::get_id() == m_runningThread || (m_stepped && !m_inDriverCall)) {
        m_cancelPending = true;
        return;
    }
    m_cancelSent = true;
    SQLCancel(m_running);
}

bool OdbcConnection::takeCancelPending()
{
    std::lock_guard lock(m_cancelMutex);
    return std::exchange(m_cancelPending, false);
}

bool OdbcConnection::cancelSent()
{
    std::lock_guard lock(m_cancelMutex);
    return m_cancelSent;
}

SQLRETURN OdbcConnection::waitForServer(SQLHSTMT stmt, const std::function<SQLRETURN()>& call)
{
    {
        std::lock_guard lock(m_cancelMutex);
        // A cancel that came from another thread while the loop was between two calls: the
        // server's answer is read here, on the statement's own thread, rather than waited for.
        if (m_stepped && std::exchange(m_cancelPending, false)) {
            m_cancelSent = true;
            SQLCancel(stmt);
            return SQL_ERROR;
        }
        m_inDriverCall = true;
    }
    const SQLRETURN rc = call();
    std::lock_guard lock(m_cancelMutex);
    m_inDriverCall = false;
    return rc;
}

bool OdbcConnection::cancelFromWithin(SQLHSTMT stmt, BatchVisitor& visitor, bool errorsAsMessages)
{
    // What the last call read first: after an interrupted wait it may hold the server's answer.
    auto errors = drainDiagnostics(stmt, &visitor);
    {
        std::lock_guard lock(m_cancelMutex);
        m_cancelSent = true;
        // FreeTDS stops the request here, or reads the rest of an interrupted one, up to the
        // server's acknowledgement; drivers that take a cancel between results as doing nothing
        // stop it when the results are closed.
        SQLCancel(stmt);
    }
    auto rest = drainDiagnostics(stmt, &visitor);
    SQLFreeStmt(stmt, SQL_CLOSE);
    errors.insert(errors.end(), rest.begin(), rest.end());
    // The server's own errors tell why the statement ended; the driver's records of the cancel
    // ("Operation canceled", or a placeholder when the answer had been read already) do not.
    std::erase_if(errors, [](const ServerMessage& m) { return m.number <= 0; });
    if (errors.empty())
        errors.push_back(ServerMessage{"HY008", 0, 16, 0, 0, {}, {}, "Operation canceled"});
    if (!errorsAsMessages)
        throw errorFromDiagnostics(errors);
    for (const ServerMessage& m : errors)
        visitor.message(m, true);
    return false;
}

} // namespace sqlserver
