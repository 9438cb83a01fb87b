#pragma once

#include "Prompter.h"

class QWidget;

// Message boxes and the input box as Qt dialogs, owned by the wizard's window.
class QtPrompter : public Prompter {
public:
    explicit QtPrompter(QWidget* owner = nullptr) : m_owner(owner) {}
    void setOwner(QWidget* owner) { m_owner = owner; }

    MsgAnswer messageBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                         const std::string& title) override;
    std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                        const std::string& defaultText) override;

private:
    QWidget* m_owner;
};
