#pragma once

#include <cstdint>
#include <optional>
#include <string>

// The texts the frame writes into its header band and Next button when it shows a page.
struct PageHeader {
    std::string top;                            // lblTop
    std::string header;                         // lblHeader
    std::optional<std::string> bottom;          // lblBottom; empty optional: left as it is
    std::optional<std::string> nextCaption;     // cmdNext; empty optional: left as it is
};

// page: the frame's page number; task: the task picker's code. The summary page's texts
// (which also depend on the values shown) are SummaryHeader's.
PageHeader HeaderFor(int16_t page, int32_t task);

// The summary page: lblBottom starts with "You specified the following parameters:" and the
// task decides the rest. serviceFilePath is shown for the connect-to-service task.
PageHeader SummaryHeader(int32_t task, const std::string& serviceFilePath);
