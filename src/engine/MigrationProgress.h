#pragma once

#include <functional>
#include <string>

namespace engine {

// What the migration tells the page it runs on: the step text, the progress bar, and the end.
// setMessage and setProgressValue may be called from the thread that runs a blocking step (the
// server's backup and restore notifications arrive there); the page hands them to its window.
class MigrationProgress {
public:
    virtual ~MigrationProgress() = default;

    virtual void setMessage(const std::string& text) = 0;
    virtual void setProgressMaximum(int maximum) = 0;
    virtual void setProgressValue(int value) = 0;
    // The work is done; raised on the thread that called the operation.
    virtual void migrationFinished() = 0;

    // Runs one blocking step (a server call, a file copy) and returns when it is done, passing
    // its exception on. A page runs it on a worker thread and keeps its window alive meanwhile.
    virtual void runBlocking(const std::function<void()>& work) { work(); }
};

} // namespace engine
