#include "TdsResultSink.h"

#include <algorithm>
#include <cctype>
#include <regex>

namespace standin::tds {

namespace {

constexpr int32_t kProgressMessage = 3211; // "%d percent processed."
constexpr uint16_t kCommandExecute = 0xE0;

bool isProgress(const ServerMessage& m)
{
    static const std::regex pattern(R"(^\d+ percent processed\.$)");
    return m.number == kProgressMessage || std::regex_match(m.text, pattern);
}

bool sameName(const std::string& a, const std::string& b)
{
    auto bare = [](const std::string& s) {
        std::string t = s.empty() || s[0] == '@' || s[0] == ':' ? s.substr(s.empty() ? 0 : 1) : s;
        std::transform(t.begin(), t.end(), t.begin(), [](unsigned char c) { return std::tolower(c); });
        return t;
    };
    return bare(a) == bare(b);
}

} // namespace

void TdsResultSink::writePendingDone(bool more)
{
    if (!m_pendingDone)
        return;
    const DoneInfo& d = *m_pendingDone;
    uint16_t status = more ? DoneMore : DoneFinal;
    if (d.hasRowCount)
        status |= DoneCount;
    if (d.error)
        status |= DoneError;
    m_tokens.done(Done, status, d.currentCommand, d.hasRowCount ? d.rowCount : 0);
    m_pendingDone.reset();
}

void TdsResultSink::columns(const std::vector<ColumnInfo>& columns)
{
    writePendingDone(true);
    m_tokens.columns(columns);
    afterToken();
}

void TdsResultSink::row(const std::vector<Value>& values)
{
    try {
        m_tokens.row(values);
    } catch (const std::exception& e) {
        internalError(std::string("The stand-in could not send a row: ") + e.what());
        return;
    }
    afterToken();
}

void TdsResultSink::statementDone(const DoneInfo& done)
{
    m_anyError = m_anyError || done.error;
    if (m_scope == Scope::Procedure) {
        // Inside a procedure DONEPROC always follows, so every DONEINPROC has "more".
        uint16_t status = DoneMore;
        if (done.hasRowCount)
            status |= DoneCount;
        if (done.error)
            status |= DoneError;
        m_tokens.done(DoneInProc, status, done.currentCommand, done.hasRowCount ? done.rowCount : 0);
        afterToken();
        return;
    }
    // Whether this DONE is the batch's last is known only when the next output arrives.
    writePendingDone(true);
    m_pendingDone = done;
}

void TdsResultSink::message(const ServerMessage& message)
{
    writePendingDone(true);
    if (message.severity > 10)
        m_anyError = true;
    m_tokens.message(message);
    if (isProgress(message)) {
        // A progress report ends a result of its own, so that a client stepping through
        // results (ODBC's SQLMoreResults) gets each one while the BACKUP or RESTORE still runs
        // rather than all of them with its final DONE.
        m_tokens.done(m_scope == Scope::Procedure ? DoneInProc : Done, DoneMore, 0, 0);
    }
    m_stream.flush();
}

void TdsResultSink::databaseChanged(const std::string& oldName, const std::string& newName)
{
    writePendingDone(true);
    // The engine follows this with its own 5701 message, as SQL Server does.
    m_tokens.envChange(EnvDatabase, newName, oldName);
    afterToken();
}

void TdsResultSink::returnStatus(int32_t status)
{
    m_returnStatus = status;
}

void TdsResultSink::returnValue(const std::string& parameterName, const ColumnInfo& type, const Value& value)
{
    m_returnValues.push_back({parameterName, type, value});
}

bool TdsResultSink::cancelRequested()
{
    return m_cancel.load() || !m_stream.healthy();
}

void TdsResultSink::internalError(const std::string& text)
{
    ServerMessage m;
    m.number = 50000;
    m.state = 1;
    m.severity = 16;
    m.text = text;
    message(m);
}

void TdsResultSink::finishBatch()
{
    if (!m_pendingDone)
        m_pendingDone = DoneInfo{};
    writePendingDone(false);
}

void TdsResultSink::finishProcedure(const std::vector<RpcParameter>& parameters, bool moreFollows)
{
    // No status when the engine gives none: SQL Server answers a call to a procedure that does
    // not exist with the error alone.
    if (m_returnStatus)
        m_tokens.returnStatus(*m_returnStatus);
    uint16_t ordinal = 0;
    for (const RpcParameter& p : parameters) {
        if (p.output) {
            auto reported = std::find_if(m_returnValues.begin(), m_returnValues.end(),
                                         [&](const Reported& r) { return sameName(r.name, p.name); });
            try {
                if (reported != m_returnValues.end())
                    m_tokens.returnValue(ordinal, p.name, reported->type, reported->value);
                else
                    m_tokens.returnValue(ordinal, p.name, p.type, p.value);
            } catch (const std::exception& e) {
                internalError("The stand-in could not send output parameter " + p.name + ": " + e.what());
            }
        }
        ++ordinal;
    }
    uint16_t status = moreFollows ? DoneMore : DoneFinal;
    if (m_anyError)
        status |= DoneError;
    m_tokens.done(DoneProc, status, kCommandExecute, 0);
    afterToken();
}

} // namespace standin::tds
