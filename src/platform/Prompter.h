#pragma once

#include <optional>
#include <string>

// Every message box, Yes/No question and input box of the wizard goes through a Prompter:
// Qt's dialogs in the product, a scripted one in tests.
enum class MsgButtons { OK, OKCancel, YesNo };
enum class MsgIcon { None, Information, Question, Exclamation, Critical };
enum class MsgAnswer { OK, Cancel, Yes, No };

class Prompter {
public:
    virtual ~Prompter() = default;
    virtual MsgAnswer messageBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                                 const std::string& title) = 0;
    // Empty optional when the user cancels.
    virtual std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                                const std::string& defaultText) = 0;
};
