#pragma once

#include <QApplication>
#include <QDialog>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <deque>
#include <functional>

// Answers the modal dialogs that the code under test opens, one scripted action per dialog in
// the order they come up. A dialog that comes up after the script has run out is rejected and
// counted, so that a test never hangs on a dialog it did not expect.
class ModalScript {
public:
    using Action = std::function<void(QWidget*)>;

    explicit ModalScript(std::deque<Action> actions) : m_actions(std::move(actions))
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { poll(); });
        m_timer.start(10);
    }

    int unexpectedDialogs() const { return m_unexpected; }
    bool finished() const { return m_actions.empty(); }

private:
    void poll()
    {
        QWidget* modal = QApplication::activeModalWidget();
        // The dialog handled last is left alone until it closes or another one comes up
        // (a dialog that is shown again after closing counts as a new one).
        if (m_handled && (modal != m_handled || !m_handled->isVisible()))
            m_handled = nullptr;
        if (!modal || !modal->isVisible() || modal == m_handled)
            return;
        m_handled = modal;
        if (m_actions.empty()) {
            ++m_unexpected;
            if (auto* dialog = qobject_cast<QDialog*>(modal))
                dialog->reject();
            return;
        }
        Action action = std::move(m_actions.front());
        m_actions.pop_front();
        action(modal);
    }

    std::deque<Action> m_actions;
    QTimer m_timer;
    QPointer<QWidget> m_handled;
    int m_unexpected = 0;
};
