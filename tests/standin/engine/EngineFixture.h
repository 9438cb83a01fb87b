#pragma once

#include "RecordingSink.h"
#include "StandinEngine.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

// A fresh stand-in instance in a temporary folder for each test.
class EngineTest : public ::testing::Test {
protected:
    TempDir m_dir;
    std::unique_ptr<standin::Instance> m_instance;

    void SetUp() override { m_instance = standin::openInstance(config()); }

    standin::InstanceConfig config() const
    {
        standin::InstanceConfig c;
        c.instanceName = "VELDRIN";
        c.machineName = "LABPC";
        c.dataFolder = (m_dir.path() / "data").string();
        c.progressStepMillis = 1;
        return c;
    }

    static std::string saPassword()
    {
        const char* env = std::getenv("LABFOLIO_STANDIN_SA_PASSWORD");
        return env && *env ? env : "Labfolio-sa1";
    }

    std::unique_ptr<standin::Session> login(const std::string& user, const std::string& password,
                                            const std::string& database = "")
    {
        standin::LoginRequest r;
        r.userName = user;
        r.password = password;
        r.database = database;
        r.hostName = "WORKSTATION7";
        r.appName = "engine tests";
        standin::ServerMessage error;
        auto s = m_instance->login(r, error);
        if (!s)
            ADD_FAILURE() << "login of " << user << " failed: " << error.text;
        return s;
    }

    std::unique_ptr<standin::Session> sa(const std::string& database = "")
    {
        return login("sa", saPassword(), database);
    }

    static RecordingSink run(standin::Session& session, const std::string& sql)
    {
        RecordingSink sink;
        session.executeBatch(sql, sink);
        return sink;
    }

    // Runs a batch that must succeed and returns its sink.
    static RecordingSink ok(standin::Session& session, const std::string& sql)
    {
        RecordingSink sink = run(session, sql);
        for (const auto& e : sink.errors())
            ADD_FAILURE() << "batch failed: " << sql << "\n  " << e.number << ": " << e.text;
        return sink;
    }

    // The single value a one-row, one-column query returns.
    static standin::Value scalar(standin::Session& session, const std::string& sql)
    {
        auto sink = ok(session, sql);
        auto rows = sink.rows();
        if (rows.size() != 1 || rows[0].size() != 1) {
            ADD_FAILURE() << "expected one value from " << sql << ", got " << rows.size() << " rows";
            return {};
        }
        return rows[0][0];
    }
};

inline standin::Value V(const char* s)
{
    return std::string(s);
}
inline standin::Value V(int64_t n)
{
    return n;
}
inline standin::Value V(int n)
{
    return int64_t(n);
}
inline standin::Value V()
{
    return std::monostate{};
}
