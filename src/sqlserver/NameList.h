#pragma once

#include <string>
#include <utility>
#include <vector>

namespace sqlserver {

// The network server list as the server page walks it: Count() names at indices 1..Count();
// index 0 and any index past the count read as "" (the page skips empty items), so a walk
// from 0 to Count() inclusive sees every name exactly once.
class NameList {
public:
    NameList() = default;
    explicit NameList(std::vector<std::string> names) : m_names(std::move(names)) {}

    int Count() const { return static_cast<int>(m_names.size()); }
    std::string Item(int index) const
    {
        return index >= 1 && index <= Count() ? m_names[static_cast<size_t>(index - 1)] : std::string();
    }
    const std::vector<std::string>& names() const { return m_names; }

private:
    std::vector<std::string> m_names;
};

} // namespace sqlserver
