#pragma once

#include "Prompter.h"

#include <optional>
#include <string>

namespace cli {

class Terminal;

// The wizard's message boxes on a terminal. A check's message is printed with its title; a
// Yes/No question is asked when someone is there to answer, answered Yes by --yes, and taken
// as No without a terminal; the one input box (the offline users' group) takes --group.
class TerminalPrompter : public Prompter {
public:
    struct Answers {
        bool yes = false;
        bool dryRun = false; // questions are shown, not asked, and taken as Yes: nothing is changed
        std::optional<std::string> group = std::nullopt;
    };

    TerminalPrompter(Terminal& terminal, Answers answers);

    MsgAnswer messageBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                         const std::string& title) override;
    std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                        const std::string& defaultText) override;

private:
    MsgAnswer askYesNo(const std::string& question);

    Terminal& m_terminal;
    Answers m_answers;
};

} // namespace cli
