#pragma once

// Collects what the engine produces for a batch the server runs on its own behalf (creating a
// configured login, carrying out a transaction-manager request), instead of sending it.

#include "StandinEngine.h"

#include <vector>

namespace standin::tds {

class CapturingSink : public ResultSink {
public:
    void columns(const std::vector<ColumnInfo>&) override {}
    void row(const std::vector<Value>& values) override { rows.push_back(values); }
    void statementDone(const DoneInfo& done) override { failed = failed || done.error; }
    void message(const ServerMessage& m) override
    {
        messages.push_back(m);
        failed = failed || m.severity > 10;
    }
    void databaseChanged(const std::string&, const std::string&) override {}
    void returnStatus(int32_t) override {}
    void returnValue(const std::string&, const ColumnInfo&, const Value&) override {}
    bool cancelRequested() override { return false; }

    std::vector<std::vector<Value>> rows;
    std::vector<ServerMessage> messages;
    bool failed = false;
};

} // namespace standin::tds
