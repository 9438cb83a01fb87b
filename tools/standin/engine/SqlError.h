#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace standin {

// A failure to report to the client as an ERROR token: SQL Server's number, severity and
// state, and the message text as SQL Server words it.
class SqlError : public std::runtime_error {
public:
    SqlError(int32_t number, uint8_t severity, std::string text, uint8_t state = 1)
        : std::runtime_error(text), m_number(number), m_severity(severity), m_state(state)
    {
    }
    int32_t number() const { return m_number; }
    uint8_t severity() const { return m_severity; }
    uint8_t state() const { return m_state; }

private:
    int32_t m_number;
    uint8_t m_severity;
    uint8_t m_state;
};

// Statement kinds or features that the stand-in does not implement. The number lies in the
// user-defined range so that clients can tell it apart from SQL Server's own errors.
inline SqlError unsupported(const std::string& what)
{
    return SqlError(50000, 16, "The SQL Server stand-in does not support " + what + ".");
}

// Any failure as the client sees it: SQL errors as they are, anything else (a library's
// exception on input nobody foresaw) as an internal error rather than a dropped connection.
inline SqlError asSqlError(const std::exception& e)
{
    if (auto sql = dynamic_cast<const SqlError*>(&e))
        return *sql;
    return SqlError(50002, 16,
                    std::string("The SQL Server stand-in failed on this statement: ") + e.what() + ".");
}

} // namespace standin
