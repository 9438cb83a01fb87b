#pragma once

#include "Terminal.h"

#include <deque>
#include <optional>
#include <string>

// A terminal that records what was written and answers from a script.
class FakeTerminal : public cli::Terminal {
public:
    bool someoneThere = false;
    bool bar = false;
    std::deque<std::string> answers; // for ask(); none left: the end of the input
    std::string outText;
    std::string errText;
    std::string prompts;
    bool lastAskHidden = false;
    std::string lastErr;

    bool interactive() const override { return someoneThere; }
    bool drawsProgress() const override { return bar; }

protected:
    void writeOut(const std::string& text) override { outText += text; }
    void writeErr(const std::string& text) override
    {
        errText += text;
        lastErr = text;
    }
    std::optional<std::string> readLine(bool hidden) override
    {
        prompts += lastErr;
        lastAskHidden = hidden;
        if (answers.empty())
            return std::nullopt;
        std::string a = answers.front();
        answers.pop_front();
        return a;
    }
};
