#include "TerminalPrompter.h"

#include "Terminal.h"

#include <algorithm>
#include <cctype>

namespace cli {
namespace {

std::string lowered(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string titled(const std::string& title, const std::string& text)
{
    return title.empty() ? text : title + ": " + text;
}

} // namespace

TerminalPrompter::TerminalPrompter(Terminal& terminal, Answers answers)
    : m_terminal(terminal), m_answers(std::move(answers))
{
}

MsgAnswer TerminalPrompter::messageBox(const std::string& text, MsgButtons buttons, MsgIcon /*icon*/,
                                       const std::string& title)
{
    if (buttons == MsgButtons::YesNo)
        return askYesNo(titled(title, text));
    // An OK box, or OK and Cancel where the wizard acts the same on both: a message to read.
    m_terminal.err(titled(title, text) + "\n");
    return MsgAnswer::OK;
}

MsgAnswer TerminalPrompter::askYesNo(const std::string& question)
{
    if (m_answers.dryRun) {
        m_terminal.err(question + " (dry run: not asked)\n");
        return MsgAnswer::Yes;
    }
    if (m_answers.yes) {
        m_terminal.err(question + " Yes (--yes)\n");
        return MsgAnswer::Yes;
    }
    if (!m_terminal.interactive()) {
        m_terminal.err(question + "\nNo one is here to answer, so the answer is No; add --yes to answer "
                                  "Yes.\n");
        return MsgAnswer::No;
    }
    for (;;) {
        const std::optional<std::string> answer = m_terminal.ask(question + " [y/N] ", false);
        if (!answer)
            return MsgAnswer::No;
        const std::string a = lowered(*answer);
        if (a == "y" || a == "yes")
            return MsgAnswer::Yes;
        if (a.empty() || a == "n" || a == "no")
            return MsgAnswer::No;
    }
}

std::optional<std::string> TerminalPrompter::inputBox(const std::string& prompt, const std::string& title,
                                                      const std::string& defaultText)
{
    if (m_answers.group)
        return m_answers.group;
    if (!m_terminal.interactive()) {
        m_terminal.err(titled(title, prompt) + "\nNo one is here to answer and --group is not given: "
                                               "taken as Cancel.\n");
        return std::nullopt;
    }
    const std::optional<std::string> answer =
        m_terminal.ask(titled(title, prompt) + " [" + defaultText + "] ", false);
    if (!answer)
        return std::nullopt;
    return answer->empty() ? defaultText : *answer;
}

} // namespace cli
