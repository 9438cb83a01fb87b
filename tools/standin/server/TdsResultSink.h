#pragma once

// Turns the engine's output for one batch or one procedure call into tokens on the wire.

#include "ResponseStream.h"
#include "StandinEngine.h"

#include <atomic>
#include <optional>
#include <vector>

namespace standin::tds {

class TdsResultSink : public ResultSink {
public:
    enum class Scope { Batch, Procedure };

    TdsResultSink(ResponseStream& stream, const std::atomic<bool>& cancel, Scope scope)
        : m_stream(stream), m_tokens(stream.tokens()), m_cancel(cancel), m_scope(scope)
    {
    }

    void columns(const std::vector<ColumnInfo>& columns) override;
    void row(const std::vector<Value>& values) override;
    void statementDone(const DoneInfo& done) override;
    void message(const ServerMessage& message) override;
    void databaseChanged(const std::string& oldName, const std::string& newName) override;
    void returnStatus(int32_t status) override;
    void returnValue(const std::string& parameterName, const ColumnInfo& type, const Value& value) override;
    bool cancelRequested() override;

    // A fault outside SQL (an exception out of the engine): an ERROR for the client.
    void internalError(const std::string& text);
    // Closes a batch: its last DONE goes out without the "more" bit (an empty batch still
    // answers with one DONE). moreFollows is for a batch that is not the request's last part.
    void finishBatch();
    // Closes a procedure call: RETURNSTATUS, a RETURNVALUE per output parameter (the engine's
    // report, or the parameter as the engine left it), then DONEPROC.
    void finishProcedure(const std::vector<RpcParameter>& parameters, bool moreFollows);

private:
    void writePendingDone(bool more);
    void afterToken() { m_stream.spill(); }

    ResponseStream& m_stream;
    TokenWriter& m_tokens;
    const std::atomic<bool>& m_cancel;
    Scope m_scope;
    std::optional<DoneInfo> m_pendingDone;
    bool m_anyError = false;
    std::optional<int32_t> m_returnStatus;
    struct Reported {
        std::string name;
        ColumnInfo type;
        Value value;
    };
    std::vector<Reported> m_returnValues;
};

} // namespace standin::tds
