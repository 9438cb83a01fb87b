#include "ConnectionError.h"

#include <algorithm>

namespace sqlserver {

uint32_t errorNumberFor(const std::string& sqlState, long nativeError)
{
    // Connection failures (08001 unable to connect, 08S01 link failure) and a login time-out
    // mean the server is not there for us, whatever number the driver attaches.
    // A refused login (18xxx) or an unknown database (4060) is the server answering, even when
    // the driver files it under a connection SQLSTATE.
    const bool serverAnswered = (nativeError >= 18000 && nativeError <= 18999) || nativeError == 4060;
    if ((sqlState == "08001" || sqlState == "08S01" || sqlState == "HYT00") && !serverAnswered)
        return kServerNotFound;
    if (nativeError > 0 && nativeError <= 0xFFFF)
        return LfError::kObjectErrorBase + static_cast<uint32_t>(nativeError);
    return kClientFailure;
}

std::string stripDriverPrefixes(const std::string& text)
{
    size_t pos = 0;
    while (pos < text.size() && text[pos] == '[') {
        const size_t close = text.find(']', pos);
        if (close == std::string::npos)
            break;
        pos = close + 1;
    }
    return text.substr(pos);
}

bool isInformational(const ServerMessage& m)
{
    return m.sqlState.rfind("01", 0) == 0;
}

LfError errorFromDiagnostics(const std::vector<ServerMessage>& records, const std::string& context)
{
    // SQL Server ends a failed BACKUP or RESTORE with 3013 ("... is terminating abnormally.")
    // after the message that tells why; FreeTDS ranks the records it hands over and may put the
    // summary first. It goes last, where the server sent it.
    std::vector<ServerMessage> diagnostics = records;
    std::stable_partition(diagnostics.begin(), diagnostics.end(),
                          [](const ServerMessage& m) { return m.number != kBackupTerminating; });
    const ServerMessage* first = nullptr;
    // A server message (native number) explains more than the driver's summary that follows it
    // ("08001 Unable to connect" after the server's 18456).
    for (const auto& m : diagnostics)
        if (!isInformational(m) && m.number > 0 && (!first || first->number <= 0)) {
            first = &m;
            break;
        }
    if (!first)
        for (const auto& m : diagnostics)
            if (!isInformational(m)) {
                first = &m;
                break;
            }
    if (!first)
        return LfError(kClientFailure, "",
                       context.empty() ? "the SQL Server client failed without a message" : context);

    const uint32_t number = errorNumberFor(first->sqlState, first->number);

    std::string description = first->text;
    for (const auto& m : diagnostics)
        if (&m != first && !isInformational(m) && !m.text.empty() &&
            description.find(m.text) == std::string::npos)
            description += (description.empty() || description.back() == '.' ? " " : ". ") + m.text;
    if (!context.empty())
        description = context + description;
    return LfError(number, "", description);
}

LfError serverNotFound(const std::string& serverName, const std::string& detail)
{
    return LfError(kServerNotFound, "",
                   "SQL Server \"" + serverName + "\" does not exist or access denied (" + detail + ")");
}

} // namespace sqlserver
