#include "Value.h"

#include <cstdio>
#include <cstdlib>

namespace sqlserver {

int64_t Value::toInt() const
{
    if (auto i = std::get_if<int64_t>(&m_v))
        return *i;
    if (auto d = std::get_if<double>(&m_v))
        return static_cast<int64_t>(*d);
    if (auto s = std::get_if<std::string>(&m_v))
        return std::strtoll(s->c_str(), nullptr, 10);
    return 0;
}

double Value::toDouble() const
{
    if (auto i = std::get_if<int64_t>(&m_v))
        return static_cast<double>(*i);
    if (auto d = std::get_if<double>(&m_v))
        return *d;
    if (auto s = std::get_if<std::string>(&m_v))
        return std::strtod(s->c_str(), nullptr);
    return 0.0;
}

std::string Value::toText() const
{
    if (auto i = std::get_if<int64_t>(&m_v))
        return std::to_string(*i);
    if (auto d = std::get_if<double>(&m_v)) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%.15g", *d);
        return buf;
    }
    if (auto s = std::get_if<std::string>(&m_v))
        return *s;
    return {};
}

size_t Value::actualSize() const
{
    if (std::holds_alternative<int64_t>(m_v) || std::holds_alternative<double>(m_v))
        return 8;
    if (auto s = std::get_if<std::string>(&m_v))
        return s->size();
    return 0;
}

} // namespace sqlserver
