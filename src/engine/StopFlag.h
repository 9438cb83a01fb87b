#pragma once

#include <atomic>
#include <mutex>

namespace sqlserver {
class OperationControl;
}

namespace engine {

// The page's Stop request, shared with the thread that runs a step. A request also aborts the
// server operation that is attached at that moment, so that a server which reports its progress
// late still stops at once; copies poll requested() between chunks.
class StopFlag {
public:
    void request();
    void clear() { m_requested.store(false); }
    bool requested() const { return m_requested.load(); }

    // The backup or restore that a request aborts while it runs.
    void attach(sqlserver::OperationControl* control);
    void detach() { attach(nullptr); }

    // Attaches a control for one server operation's duration.
    class Attachment {
    public:
        Attachment(StopFlag& flag, sqlserver::OperationControl& control) : m_flag(flag)
        {
            flag.attach(&control);
        }
        ~Attachment() { m_flag.detach(); }
        Attachment(const Attachment&) = delete;
        Attachment& operator=(const Attachment&) = delete;

    private:
        StopFlag& m_flag;
    };

private:
    std::atomic<bool> m_requested{false};
    std::mutex m_mutex;
    sqlserver::OperationControl* m_control = nullptr;
};

} // namespace engine
