#pragma once

#include "Prompter.h"

#include <deque>
#include <string>
#include <vector>

// A Prompter that answers from a script and records every prompt it was shown.
class ScriptedPrompter : public Prompter {
public:
    struct Shown {
        std::string title;
        std::string text;
        MsgButtons buttons = MsgButtons::OK;
        MsgIcon icon = MsgIcon::None;
        bool isInput = false;
        std::string defaultText;
    };

    // Answers are used in order; with none left a message box answers its first button
    // (OK or Yes) and an input box confirms its default text.
    void queueAnswer(MsgAnswer answer) { m_answers.push_back(answer); }
    void queueInput(std::optional<std::string> text) { m_inputs.push_back(std::move(text)); }

    MsgAnswer messageBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                         const std::string& title) override
    {
        m_shown.push_back({title, text, buttons, icon, false, {}});
        if (!m_answers.empty()) {
            MsgAnswer a = m_answers.front();
            m_answers.pop_front();
            return a;
        }
        return buttons == MsgButtons::YesNo ? MsgAnswer::Yes : MsgAnswer::OK;
    }

    std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                        const std::string& defaultText) override
    {
        m_shown.push_back({title, prompt, MsgButtons::OKCancel, MsgIcon::None, true, defaultText});
        if (!m_inputs.empty()) {
            auto a = m_inputs.front();
            m_inputs.pop_front();
            return a;
        }
        return defaultText;
    }

    const std::vector<Shown>& shown() const { return m_shown; }
    void clear() { m_shown.clear(); }

private:
    std::deque<MsgAnswer> m_answers;
    std::deque<std::optional<std::string>> m_inputs;
    std::vector<Shown> m_shown;
};
