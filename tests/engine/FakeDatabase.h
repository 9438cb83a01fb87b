#pragma once

#include "Connection.h"
#include "LfError.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// ADO connections the test scripts: what they answer, and a record of what they were asked.
// Installed for a test's scope with install().
class FakeDatabase {
public:
    // Opening fails with this error.
    std::optional<LfError> openError;
    // Queries fail with this error (after the connection opened).
    std::optional<LfError> queryError;
    // The answer to SELECT COUNT(*) ... ELN_people.
    long long peopleCount = 1;
    // The answer to SERVERPROPERTY('ProductVersion'); empty: the query fails.
    std::string productVersion = "9.00.5000.00";
    int sessionKey = 77;

    struct Call {
        std::string name;
        std::vector<sqlserver::IntParam> params;
    };

    std::vector<std::string> connectionStrings() const { return locked(m_connectionStrings); }
    std::vector<std::string> statements() const { return locked(m_statements); }
    std::vector<Call> calls() const { return locked(m_calls); }
    int opened() const { return static_cast<int>(connectionStrings().size()); }
    int closed() const
    {
        std::lock_guard lock(m_mutex);
        return m_closed;
    }

    sqlserver::ScopedConnectionOpenerOverride install()
    {
        return sqlserver::ScopedConnectionOpenerOverride(
            [this](const std::string& cs, const std::string&, const std::string&,
                   int) -> std::unique_ptr<sqlserver::Connection> {
                {
                    std::lock_guard lock(m_mutex);
                    m_connectionStrings.push_back(cs);
                }
                if (openError)
                    throw *openError;
                return std::make_unique<FakeConnection>(*this);
            });
    }

private:
    class OneValue : public sqlserver::RecordSet {
    public:
        explicit OneValue(sqlserver::Value v) : m_value(std::move(v)) {}
        const std::vector<std::string>& ColumnNames() const override { return m_names; }
        bool IsEOF() const override { return m_eof; }
        void MoveNext() override { m_eof = true; }
        const sqlserver::Value& Field(int) const override { return m_value; }
        const sqlserver::Value& Field(const std::string&) const override { return m_value; }
        void SetField(const std::string&, const sqlserver::Value&) override {}
        int UpdateBatch() override { return 0; }
        long RecordCount() const override { return 1; }
        void Close() override {}

    private:
        std::vector<std::string> m_names{""};
        sqlserver::Value m_value;
        bool m_eof = false;
    };

    class FakeConnection : public sqlserver::Connection {
    public:
        explicit FakeConnection(FakeDatabase& db) : m_db(db) {}
        ~FakeConnection() override { Close(); }
        long Execute(const std::string& sql) override
        {
            record(sql);
            return 1;
        }
        std::unique_ptr<sqlserver::RecordSet> OpenForward(const std::string& sql) override
        {
            record(sql);
            if (sql.find("ProductVersion") != std::string::npos) {
                if (m_db.productVersion.empty())
                    throw LfError(0x80040000u + 195, "",
                                  "'SERVERPROPERTY' is not a recognized function name.");
                return std::make_unique<OneValue>(m_db.productVersion);
            }
            if (m_db.queryError)
                throw *m_db.queryError;
            return std::make_unique<OneValue>(static_cast<int64_t>(m_db.peopleCount));
        }
        std::unique_ptr<sqlserver::RecordSet> OpenStatic(const std::string& sql,
                                                         const sqlserver::UpdateTarget&) override
        {
            return OpenForward(sql);
        }
        void CallProcedure(const std::string& name, std::vector<sqlserver::IntParam>& params) override
        {
            if (name == "start_session")
                params[0].value = m_db.sessionKey;
            std::lock_guard lock(m_db.m_mutex);
            m_db.m_calls.push_back({name, params});
        }
        void SetMessageHandler(std::function<void(const sqlserver::ServerMessage&)>) override {}
        void Cancel() override {}
        void Close() override
        {
            if (m_open) {
                m_open = false;
                std::lock_guard lock(m_db.m_mutex);
                ++m_db.m_closed;
            }
        }

    private:
        void record(const std::string& sql)
        {
            std::lock_guard lock(m_db.m_mutex);
            m_db.m_statements.push_back(sql);
        }
        FakeDatabase& m_db;
        bool m_open = true;
    };

    template <class T> T locked(const T& v) const
    {
        std::lock_guard lock(m_mutex);
        return v;
    }

    mutable std::mutex m_mutex;
    std::vector<std::string> m_connectionStrings;
    std::vector<std::string> m_statements;
    std::vector<Call> m_calls;
    int m_closed = 0;
};
