#include "TdsConnection.h"

#include "Login7.h"
#include "PreLogin.h"
#include "CapturingSink.h"
#include "ResponseStream.h"
#include "TdsRequest.h"
#include "TdsResultSink.h"
#include "TdsTypes.h"
#include "TokenWriter.h"
#include "TransactionRequest.h"

#include <algorithm>
#include <cstdio>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace standin::tds {

namespace {

constexpr size_t kDefaultPacketSize = 4096;
constexpr size_t kMinPacketSize = 512;

ServerMessage makeMessage(int32_t number, uint8_t state, uint8_t severity, std::string text)
{
    ServerMessage m;
    m.number = number;
    m.state = state;
    m.severity = severity;
    m.text = std::move(text);
    return m;
}

} // namespace

TdsConnection::TdsConnection(int fd, Instance& instance, uint16_t spid,
                             std::chrono::milliseconds loginTimeout)
    : m_fd(fd), m_instance(instance), m_serverName(serverNameOf(instance.config())), m_writer(fd),
      m_reader(fd), m_loginTimeout(loginTimeout),
      m_loginDeadline(std::chrono::steady_clock::now() + loginTimeout)
{
    m_writer.setSpid(spid);
}

TdsConnection::~TdsConnection()
{
    stop();
    if (m_worker.joinable())
        m_worker.join();
}

std::string TdsConnection::serverNameOf(const InstanceConfig& config)
{
    if (config.instanceName.empty() || config.instanceName == "MSSQLSERVER")
        return config.machineName;
    return config.machineName + "\\" + config.instanceName;
}

void TdsConnection::start()
{
    m_worker = std::thread([this] { run(); });
}

void TdsConnection::stop()
{
    ::shutdown(m_fd, SHUT_RDWR);
}

void TdsConnection::readLoop()
{
    try {
        for (;;) {
            std::optional<Message> message = m_reader.read();
            if (!message)
                break;
            std::lock_guard lock(m_mutex);
            if (message->type == Attention) {
                m_attention = true;
                m_cancel = true;
            } else if (!(message->status & IgnoreEvent)) {
                m_queue.push_back(std::move(*message));
            }
            m_wake.notify_all();
        }
    } catch (const ProtocolError& e) {
        std::fprintf(stderr, "lf-standin (%s): closed a connection: %s\n", m_serverName.c_str(), e.what());
    } catch (const std::system_error&) {
        // The socket was shut down (server stopping) or reset by the client.
    }
    std::lock_guard lock(m_mutex);
    m_closed = true;
    m_cancel = true;
    m_wake.notify_all();
}

bool TdsConnection::nextMessage(Message& message, bool& attention)
{
    std::unique_lock lock(m_mutex);
    const auto ready = [&] { return m_closed || m_attention || !m_queue.empty(); };
    if (m_session || m_loginTimeout.count() == 0) {
        m_wake.wait(lock, ready);
    } else if (!m_wake.wait_until(lock, m_loginDeadline, ready)) {
        // A client that never completes its login would hold a thread and a socket for ever.
        std::fprintf(stderr, "lf-standin (%s): closed a connection that did not log in within %lld ms\n",
                     m_serverName.c_str(), static_cast<long long>(m_loginTimeout.count()));
        return false;
    }
    if (m_closed)
        return false;
    attention = m_attention;
    if (attention) {
        m_attention = false;
        m_cancel = false;
        return true;
    }
    message = std::move(m_queue.front());
    m_queue.pop_front();
    return true;
}

void TdsConnection::run()
{
    m_readerThread = std::thread([this] { readLoop(); });
    try {
        Message message;
        bool attention = false;
        while (!m_closeAfterResponse && nextMessage(message, attention)) {
            if (attention) {
                acknowledgeAttention();
                continue;
            }
            if (!m_session) {
                if (message.type == PreLogin)
                    handlePreLogin(message);
                else if (message.type == Login7)
                    handleLogin(message);
                else
                    throw ProtocolError("a request arrived before the login");
                continue;
            }
            switch (message.type) {
            case SqlBatch:
                handleBatch(message);
                break;
            case Rpc:
                handleRpc(message);
                break;
            case TransactionManager:
                handleTransaction(message);
                break;
            case BulkLoad:
                refuseBulkLoad();
                break;
            default:
                throw ProtocolError("a second login on a logged-in connection");
            }
        }
    } catch (const ProtocolError& e) {
        std::fprintf(stderr, "lf-standin (%s): closed a connection: %s\n", m_serverName.c_str(), e.what());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "lf-standin (%s): a connection failed: %s\n", m_serverName.c_str(), e.what());
    }
    ::shutdown(m_fd, SHUT_RDWR);
    m_readerThread.join();
    // The session (and whatever the engine holds for it) goes before the socket.
    m_session.reset();
    ::close(m_fd);
    m_finished = true;
}

void TdsConnection::handlePreLogin(const Message& message)
{
    const PreLoginRequest request = parsePreLogin(message.payload);
    (void)request; // encryption is never on: the answer says ENCRYPT_NOT_SUP whatever was asked
    m_writer.send(TabularResult, buildPreLoginResponse(m_instance.config().productVersion), true);
}

void TdsConnection::refuse(ResponseStream& stream, int32_t number, uint8_t state, const std::string& text)
{
    stream.tokens().message(makeMessage(number, state, 14, text));
    stream.tokens().done(Done, DoneError, 0, 0);
    stream.end();
    m_closeAfterResponse = true;
}

void TdsConnection::handleLogin(const Message& message)
{
    const Login7Request login = parseLogin7(message.payload);
    const uint32_t version = negotiateTdsVersion(login.tdsVersion);
    m_tdsVersion = version != 0 ? version : kTds71;
    TokenWriter tokens(m_tdsVersion, m_serverName);
    ResponseStream stream(tokens, m_writer);
    if (version == 0) {
        refuse(stream, 4002, 1, "The stand-in serves TDS 7.1 to 7.4 clients only.");
        return;
    }
    if (login.integratedSecurity) {
        refuse(stream, 18452, 1,
               "Login failed. The login is from an untrusted domain and cannot be used with Windows "
               "authentication.");
        return;
    }
    LoginRequest request;
    request.userName = login.userName;
    request.password = login.password;
    request.database = login.database;
    request.hostName = login.hostName;
    request.appName = login.appName;
    ServerMessage error;
    std::unique_ptr<Session> session = m_instance.login(request, error);
    if (!session) {
        tokens.message(error);
        tokens.done(Done, DoneError, 0, 0);
        stream.end();
        m_closeAfterResponse = true;
        return;
    }
    const size_t packetSize = login.packetSize == 0
                                  ? kDefaultPacketSize
                                  : std::clamp<size_t>(login.packetSize, kMinPacketSize, kMaxPacketSize);
    const std::string database = session->currentDatabase();
    tokens.envChange(EnvDatabase, database, "master");
    tokens.message(makeMessage(5701, 2, 0, "Changed database context to '" + database + "'."));
    tokens.envChangeCollation();
    tokens.envChange(EnvLanguage, "us_english", "");
    tokens.message(makeMessage(5703, 1, 0, "Changed language setting to us_english."));
    tokens.loginAck(m_instance.config().productVersion);
    tokens.envChange(EnvPacketSize, std::to_string(packetSize), std::to_string(packetSize));
    tokens.done(Done, DoneFinal, 0, 0);
    stream.end();
    m_writer.setPacketSize(packetSize);
    m_session = std::move(session);
}

void TdsConnection::endResponse(ResponseStream& stream)
{
    bool attention;
    {
        std::lock_guard lock(m_mutex);
        attention = m_attention;
        m_attention = false;
        m_cancel = false;
    }
    if (!attention) {
        stream.end();
        return;
    }
    // The acknowledgement travels in a message of its own, as SQL Server sends it: some clients
    // skip the rest of the interrupted response and wait for the next message. A response that
    // has begun is finished first (what is left of it holds whole tokens only); one that has
    // not is dropped.
    if (stream.started())
        stream.end();
    else
        stream.discard();
    acknowledgeAttention();
}

void TdsConnection::acknowledgeAttention()
{
    // The request had already ended when the attention came: the client still waits for its
    // acknowledgement.
    TokenWriter tokens(m_tdsVersion, m_serverName);
    ResponseStream stream(tokens, m_writer);
    tokens.done(Done, DoneAttention, 0, 0);
    stream.end();
}

void TdsConnection::handleBatch(const Message& message)
{
    const std::string sql = parseSqlBatch(message.payload, m_tdsVersion);
    TokenWriter tokens(m_tdsVersion, m_serverName);
    ResponseStream stream(tokens, m_writer);
    TdsResultSink sink(stream, m_cancel, TdsResultSink::Scope::Batch);
    try {
        m_session->executeBatch(sql, sink);
    } catch (const std::exception& e) {
        sink.internalError(std::string("The stand-in failed to run the batch: ") + e.what());
    }
    sink.finishBatch();
    endResponse(stream);
}

void TdsConnection::handleRpc(const Message& message)
{
    TokenWriter tokens(m_tdsVersion, m_serverName);
    ResponseStream stream(tokens, m_writer);
    std::vector<RpcCall> calls;
    try {
        calls = parseRpc(message.payload, m_tdsVersion);
    } catch (const UnsupportedType& e) {
        tokens.message(makeMessage(8016, 1, 16, e.what()));
        tokens.done(Done, DoneError, 0, 0);
        endResponse(stream);
        return;
    }
    for (size_t i = 0; i < calls.size(); ++i) {
        TdsResultSink sink(stream, m_cancel, TdsResultSink::Scope::Procedure);
        try {
            m_session->executeRpc(calls[i].procedure, calls[i].parameters, sink);
        } catch (const std::exception& e) {
            sink.internalError("The stand-in failed to run " + calls[i].procedure + ": " + e.what());
        }
        const bool last = i + 1 == calls.size() || m_cancel.load();
        sink.finishProcedure(calls[i].parameters, !last);
        if (last)
            break;
    }
    endResponse(stream);
}

bool TdsConnection::runQuietly(const std::string& sql, TokenWriter& tokens)
{
    CapturingSink sink;
    m_session->executeBatch(sql, sink);
    for (const ServerMessage& m : sink.messages)
        tokens.message(m);
    return !sink.failed;
}

int64_t TdsConnection::transactionCount()
{
    CapturingSink sink;
    m_session->executeBatch("SELECT @@TRANCOUNT", sink);
    if (sink.rows.empty() || sink.rows[0].empty())
        return 0;
    const auto* n = std::get_if<int64_t>(&sink.rows[0][0]);
    return n ? *n : 0;
}

void TdsConnection::handleTransaction(const Message& message)
{
    const TransactionRequest request = parseTransactionRequest(message.payload);
    TokenWriter tokens(m_tdsVersion, m_serverName);
    ResponseStream stream(tokens, m_writer);
    auto begin = [&] {
        if (!runQuietly("BEGIN TRANSACTION", tokens))
            return false;
        // The client quotes this descriptor in later requests; any unique value will do.
        ByteWriter descriptor;
        descriptor.u64(++m_transactionCounter);
        m_transaction = descriptor.bytes();
        tokens.envChangeTransaction(EnvBeginTransaction, m_transaction, {});
        return true;
    };
    std::string named;
    if (!request.name.empty()) {
        named = " [";
        for (char c : request.name)
            named += c == ']' ? std::string("]]") : std::string(1, c);
        named += ']';
    }
    bool ok = true;
    switch (request.kind) {
    case TransactionRequest::Begin:
        ok = begin();
        break;
    case TransactionRequest::Commit:
    case TransactionRequest::Rollback: {
        const bool commit = request.kind == TransactionRequest::Commit;
        // The driver ends a transaction on every SQLEndTran, whether or not one is open (a
        // failed statement may have rolled it back already).
        if (transactionCount() > 0) {
            ok = runQuietly(std::string(commit ? "COMMIT" : "ROLLBACK") + " TRANSACTION" + named, tokens);
            // A rollback to a savepoint leaves the transaction open, and its descriptor valid.
            if (ok && transactionCount() > 0)
                break;
            if (ok)
                tokens.envChangeTransaction(commit ? EnvCommitTransaction : EnvRollbackTransaction, {},
                                            m_transaction);
        }
        m_transaction.clear();
        if (ok && request.beginAnother)
            ok = begin();
        break;
    }
    case TransactionRequest::Save:
        ok = runQuietly("SAVE TRANSACTION" + named, tokens);
        break;
    default:
        tokens.message(
            makeMessage(8525, 1, 16, "The stand-in does not take part in distributed transactions."));
        ok = false;
        break;
    }
    tokens.done(Done, ok ? DoneFinal : DoneError, 0, 0);
    endResponse(stream);
}

void TdsConnection::refuseBulkLoad()
{
    TokenWriter tokens(m_tdsVersion, m_serverName);
    ResponseStream stream(tokens, m_writer);
    tokens.message(makeMessage(40000, 1, 16, "The stand-in does not support bulk load."));
    tokens.done(Done, DoneError, 0, 0);
    endResponse(stream);
}

} // namespace standin::tds
