#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Connection.h"
#include "LfError.h"

// Stands in for the database connections a test's operation opens: records the connection
// strings, the statements run on them and whether they were closed; a statement may be made to
// fail with the server's error.
class RecordingConnections {
public:
    struct Opened {
        std::string connectionString;
        std::vector<std::string> statements;
        bool closed = false;
    };

    // The statement with this text fails with this error.
    std::optional<std::pair<std::string, LfError>> failing;

    std::vector<Opened> opened() const
    {
        std::lock_guard lock(m_mutex);
        return m_opened;
    }

    // Replaces OpenConnection for the scope of the returned object.
    std::unique_ptr<sqlserver::ScopedConnectionOpenerOverride> install()
    {
        return std::make_unique<sqlserver::ScopedConnectionOpenerOverride>(
            [this](const std::string& cs, const std::string&, const std::string&, int) {
                std::lock_guard lock(m_mutex);
                m_opened.push_back({cs, {}, false});
                return std::unique_ptr<sqlserver::Connection>(new Recorder(*this, m_opened.size() - 1));
            });
    }

private:
    class Recorder : public sqlserver::Connection {
    public:
        Recorder(RecordingConnections& owner, size_t index) : m_owner(owner), m_index(index) {}

        long Execute(const std::string& sql) override
        {
            std::lock_guard lock(m_owner.m_mutex);
            m_owner.m_opened[m_index].statements.push_back(sql);
            if (m_owner.failing && m_owner.failing->first == sql)
                throw m_owner.failing->second;
            return 0;
        }
        std::unique_ptr<sqlserver::RecordSet> OpenForward(const std::string&) override { return unused(); }
        std::unique_ptr<sqlserver::RecordSet> OpenStatic(const std::string&,
                                                         const sqlserver::UpdateTarget&) override
        {
            return unused();
        }
        void CallProcedure(const std::string&, std::vector<sqlserver::IntParam>&) override { unused(); }
        void SetMessageHandler(std::function<void(const sqlserver::ServerMessage&)>) override {}
        void Cancel() override {}
        void Close() override
        {
            std::lock_guard lock(m_owner.m_mutex);
            m_owner.m_opened[m_index].closed = true;
        }

    private:
        static std::unique_ptr<sqlserver::RecordSet> unused()
        {
            throw LfError(LfError::kObjectError513, "RecordingConnections", "record sets are not used here");
        }

        RecordingConnections& m_owner;
        size_t m_index;
    };

    mutable std::mutex m_mutex;
    std::vector<Opened> m_opened;
};
