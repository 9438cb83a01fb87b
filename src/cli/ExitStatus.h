#pragma once

namespace cli {

// What a command's exit status tells a script.
enum ExitStatus : int {
    kDone = 0,
    kFailed = 1,  // the operation failed: "Sorry, " and why on standard error
    kRefused = 2, // bad arguments, or a check refused them
    kStopped = 130,
};

} // namespace cli
