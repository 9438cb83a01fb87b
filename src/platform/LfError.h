#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

// The error object every operation raises and the frame reports: a 32-bit number, the
// component and operation that raised it (prefixed "Caller/" when passed on), and a
// description that begins in lower case and is shown after "Sorry, ".
class LfError : public std::runtime_error {
public:
    static constexpr uint32_t kObjectErrorBase = 0x80040000u;    // the base itself
    static constexpr uint32_t kObjectError513 = 0x80040201u;     // base + 513, the system's own errors

    LfError(uint32_t number, std::string source, std::string description)
        : std::runtime_error(description), m_number(number), m_source(std::move(source)),
          m_description(std::move(description))
    {
    }

    uint32_t number() const noexcept { return m_number; }
    const std::string& source() const noexcept { return m_source; }
    const std::string& description() const noexcept { return m_description; }

    // The same error passed on by an outer procedure: "Outer/" + inner source.
    LfError withSourcePrefix(const std::string& outer) const
    {
        return LfError(m_number, m_source.empty() ? outer : outer + "/" + m_source, m_description);
    }

private:
    uint32_t m_number;
    std::string m_source;
    std::string m_description;
};
