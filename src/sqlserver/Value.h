#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace sqlserver {

// One column value of a row: NULL, an integer, a floating-point number or text (binary columns
// arrive as their bytes in the text).
class Value {
public:
    Value() = default;
    Value(int64_t v) : m_v(v) {}
    Value(int v) : m_v(static_cast<int64_t>(v)) {}
    Value(double v) : m_v(v) {}
    Value(std::string v) : m_v(std::move(v)) {}
    Value(const char* v) : m_v(std::string(v)) {}

    bool isNull() const { return std::holds_alternative<std::monostate>(m_v); }
    bool isInt() const { return std::holds_alternative<int64_t>(m_v); }
    bool isDouble() const { return std::holds_alternative<double>(m_v); }
    bool isText() const { return std::holds_alternative<std::string>(m_v); }

    // Integer value; text is parsed, NULL is 0.
    int64_t toInt() const;
    double toDouble() const;
    // Text value; numbers are formatted, NULL is "".
    std::string toText() const;
    // The value's size in bytes as the server stores it; 0 for NULL.
    size_t actualSize() const;

    bool operator==(const Value&) const = default;

private:
    std::variant<std::monostate, int64_t, double, std::string> m_v;
};

} // namespace sqlserver
