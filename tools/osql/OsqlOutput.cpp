#include "OsqlOutput.h"

namespace osql {
namespace {

// Characters, not bytes, so that names with accents line up.
size_t displayWidth(const std::string& s)
{
    size_t n = 0;
    for (unsigned char c : s)
        if ((c & 0xC0) != 0x80)
            ++n;
    return n;
}

std::string shown(const sqlserver::Value& v)
{
    return v.isNull() ? "NULL" : v.toText();
}

} // namespace

std::string formatMessage(const sqlserver::ServerMessage& m, bool isError, const std::string& serverName)
{
    if (!isError)
        return m.text + "\n";
    // FreeTDS does not pass the state on; most server errors carry state 1, which keeps the
    // heading in the shape that readers of osql logs know.
    const int state = m.state > 0 ? m.state : 1;
    std::string head = "Msg " + std::to_string(m.number) + ", Level " + std::to_string(m.severity) +
                       ", State " + std::to_string(state) + ", Server " +
                       (m.server.empty() ? serverName : m.server);
    if (!m.procedure.empty())
        head += ", Procedure " + m.procedure;
    head += ", Line " + std::to_string(m.line);
    return head + "\n" + m.text + "\n";
}

std::string formatTable(const std::vector<std::string>& names,
                        const std::vector<std::vector<sqlserver::Value>>& rows)
{
    std::vector<size_t> widths;
    for (const auto& n : names)
        widths.push_back(displayWidth(n));
    for (const auto& r : rows)
        for (size_t i = 0; i < r.size() && i < widths.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(shown(r[i])));
    auto cell = [&](const std::string& text, size_t i) {
        return " " + text + std::string(widths[i] - displayWidth(text), ' ');
    };
    std::string out;
    for (size_t i = 0; i < names.size(); ++i)
        out += cell(names[i], i);
    out += "\n";
    for (size_t i = 0; i < names.size(); ++i)
        out += " " + std::string(widths[i], '-');
    out += "\n";
    for (const auto& r : rows) {
        for (size_t i = 0; i < names.size(); ++i)
            out += cell(i < r.size() ? shown(r[i]) : std::string(), i);
        out += "\n";
    }
    out += "\n" + rowsAffected(static_cast<long>(rows.size()));
    return out;
}

std::string rowsAffected(long count)
{
    return "(" + std::to_string(count) + (count == 1 ? " row affected)\n" : " rows affected)\n");
}

void OutputWriter::columns(const std::vector<std::string>& names)
{
    m_inResult = true;
    m_names = names;
    m_rows.clear();
}

void OutputWriter::row(const std::vector<sqlserver::Value>& values)
{
    m_rows.push_back(values);
}

void OutputWriter::rowCount(long count)
{
    if (m_inResult) {
        m_out << formatTable(m_names, m_rows);
        m_inResult = false;
        m_rows.clear();
    } else if (count >= 0) {
        m_out << rowsAffected(count);
    }
    m_out.flush();
}

void OutputWriter::message(const sqlserver::ServerMessage& m, bool isError)
{
    m_out << formatMessage(m, isError, m_server);
    m_out.flush();
}

} // namespace osql
