#pragma once

#include <iosfwd>
#include <string>
#include <vector>

// The command labfolio-mst: what a structure index holds (info), whether it is whole (verify),
// and which structures hold a query (search); without a window. Results go to out, messages to
// err; the return value is the exit status.
int RunMstCommand(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

// The exit statuses, as "labfolio-mst --help" lists them.
namespace mststatus {
inline constexpr int kDone = 0;
inline constexpr int kDamaged = 1;
inline constexpr int kUsage = 2;
inline constexpr int kUnusable = 3;
inline constexpr int kBadQuery = 4;
inline constexpr int kNoMatch = 5;
} // namespace mststatus
