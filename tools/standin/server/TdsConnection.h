#pragma once

// One client connection. A worker thread runs the session (PRELOGIN, LOGIN7, then requests);
// a reader thread keeps reading the socket meanwhile, so that an ATTENTION arriving during a
// long BACKUP sets the flag the engine polls.

#include "StandinEngine.h"
#include "TdsPacket.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace standin::tds {

class ResponseStream;
class TokenWriter;

class TdsConnection {
public:
    // Takes ownership of the connected socket fd. A client that has not logged in within
    // loginTimeout of connecting is disconnected (zero: never).
    TdsConnection(int fd, Instance& instance, uint16_t spid,
                  std::chrono::milliseconds loginTimeout = std::chrono::seconds(60));
    ~TdsConnection();
    TdsConnection(const TdsConnection&) = delete;
    TdsConnection& operator=(const TdsConnection&) = delete;

    void start();
    // Ends the connection from the server's side (shutdown): both threads wind down.
    void stop();
    bool finished() const { return m_finished.load(); }

    // The name SQL Server reports as @@SERVERNAME: MACHINE for a default instance,
    // MACHINE\INSTANCE for a named one.
    static std::string serverNameOf(const InstanceConfig& config);

private:
    void run();
    void readLoop();
    // Waits for the next request; false when the connection is over.
    bool nextMessage(Message& message, bool& attention);
    void handlePreLogin(const Message& message);
    void handleLogin(const Message& message);
    void handleBatch(const Message& message);
    void handleRpc(const Message& message);
    void handleTransaction(const Message& message);
    void refuseBulkLoad();
    // Runs T-SQL for the server's own purposes; the engine's messages go to the client.
    bool runQuietly(const std::string& sql, TokenWriter& tokens);
    int64_t transactionCount();
    // Ends the response to a request: the final packet, followed by an attention acknowledgement
    // when the client cancelled meanwhile.
    void endResponse(ResponseStream& stream);
    void acknowledgeAttention();
    void refuse(ResponseStream& stream, int32_t number, uint8_t state, const std::string& text);

    int m_fd;
    Instance& m_instance;
    std::string m_serverName;
    PacketWriter m_writer;
    PacketReader m_reader;
    std::unique_ptr<Session> m_session;
    std::chrono::milliseconds m_loginTimeout;
    std::chrono::steady_clock::time_point m_loginDeadline;
    uint32_t m_tdsVersion = 0x74000004;
    bool m_closeAfterResponse = false;
    // The descriptor of the transaction a transaction-manager request began (empty: none).
    Bytes m_transaction;
    uint64_t m_transactionCounter = 0;

    std::thread m_worker;
    std::thread m_readerThread;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Message> m_queue;
    bool m_attention = false;
    bool m_closed = false;
    std::atomic<bool> m_cancel{false};
    std::atomic<bool> m_finished{false};
};

} // namespace standin::tds
