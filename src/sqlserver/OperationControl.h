#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>

namespace sqlserver {

// Progress and abort of one long server operation (backup, restore). The operation may run on a
// worker thread: it calls onProgress on that thread for every percent notification the server
// sends ("10 percent processed."), and the user-interface thread may call Abort() at any time.
// Abort sets the stop flag and cancels the statement on the server, which then ends the
// operation with its own abort error. A progress callback may also call Abort() itself, which
// is how a page that only polls its Stop flag inside the notification aborts.
class OperationControl {
public:
    // percent 0..100 and the server's message text.
    std::function<void(int percent, const std::string& message)> onProgress;
    // Every other informational message of the operation, in arrival order.
    std::function<void(const std::string& message)> onMessage;

    void Abort()
    {
        m_stop.store(true);
        std::function<void()> cancel;
        {
            std::lock_guard lock(m_mutex);
            cancel = m_cancel;
        }
        if (cancel)
            cancel();
    }
    bool AbortRequested() const { return m_stop.load(); }

    // Used by the implementation: what Abort() calls while the operation runs.
    void setCanceller(std::function<void()> cancel)
    {
        std::lock_guard lock(m_mutex);
        m_cancel = std::move(cancel);
    }

private:
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::function<void()> m_cancel;
};

} // namespace sqlserver
