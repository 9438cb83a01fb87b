#pragma once

#include "StandinEngine.h"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

// Records everything the engine delivers, in order, for tests to look at.
class RecordingSink : public standin::ResultSink {
public:
    struct Event {
        enum Kind { Columns, Row, Done, Message, DatabaseChanged, ReturnStatus, ReturnValue } kind = Done;
        std::vector<standin::ColumnInfo> columns;
        std::vector<standin::Value> row;
        standin::DoneInfo done;
        standin::ServerMessage message;
        std::string text;
        std::string text2;
        int32_t status = 0;
        standin::Value value;
    };

    std::vector<Event> events;
    bool cancel = false; // set by the test, typically from onMessage
    // Called for every message as it arrives, e.g. to cancel a backup mid-way.
    std::function<void(const standin::ServerMessage&)> onMessage;

    void columns(const std::vector<standin::ColumnInfo>& c) override
    {
        Event e = make(Event::Columns);
        e.columns = c;
        events.push_back(e);
    }
    void row(const std::vector<standin::Value>& r) override
    {
        Event e = make(Event::Row);
        e.row = r;
        events.push_back(e);
    }
    void statementDone(const standin::DoneInfo& d) override
    {
        Event e = make(Event::Done);
        e.done = d;
        events.push_back(e);
    }
    void message(const standin::ServerMessage& m) override
    {
        Event e = make(Event::Message);
        e.message = m;
        events.push_back(e);
        if (onMessage)
            onMessage(m);
    }
    void databaseChanged(const std::string& oldName, const std::string& newName) override
    {
        Event e = make(Event::DatabaseChanged);
        e.text = oldName;
        e.text2 = newName;
        events.push_back(e);
    }
    void returnStatus(int32_t status) override
    {
        Event e = make(Event::ReturnStatus);
        e.status = status;
        events.push_back(e);
    }
    void returnValue(const std::string& name, const standin::ColumnInfo& type,
                     const standin::Value& value) override
    {
        Event e = make(Event::ReturnValue);
        e.text = name;
        e.columns = {type};
        e.value = value;
        events.push_back(e);
    }
    bool cancelRequested() override { return cancel; }

    // Convenience views.
    std::vector<standin::ServerMessage> messages() const
    {
        std::vector<standin::ServerMessage> out;
        for (const auto& e : events)
            if (e.kind == Event::Message)
                out.push_back(e.message);
        return out;
    }
    std::vector<standin::ServerMessage> errors() const
    {
        std::vector<standin::ServerMessage> out;
        for (const auto& m : messages())
            if (m.severity > 10)
                out.push_back(m);
        return out;
    }
    std::vector<std::vector<standin::Value>> rows() const
    {
        std::vector<std::vector<standin::Value>> out;
        for (const auto& e : events)
            if (e.kind == Event::Row)
                out.push_back(e.row);
        return out;
    }
    // The columns of the n-th result set.
    std::vector<standin::ColumnInfo> columnsOf(size_t n = 0) const
    {
        for (const auto& e : events)
            if (e.kind == Event::Columns && n-- == 0)
                return e.columns;
        return {};
    }
    // The rows of the n-th result set.
    std::vector<std::vector<standin::Value>> rowsOf(size_t n) const
    {
        std::vector<std::vector<standin::Value>> out;
        long set = -1;
        for (const auto& e : events) {
            if (e.kind == Event::Columns)
                ++set;
            else if (e.kind == Event::Row && set == static_cast<long>(n))
                out.push_back(e.row);
        }
        return out;
    }
    void clear() { events.clear(); }

private:
    static Event make(Event::Kind kind)
    {
        Event e;
        e.kind = kind;
        return e;
    }
};
